#include "tools/VolumeInfo.h"

#include "platform/SilentStandardError.h"
#include "tools/DicomFolder.h"
#include "tools/VolumeDescription.h"

#include <chrono>
#include <ostream>
#include <string>

namespace zorbel::tools {

namespace {

using Json = nlohmann::ordered_json;

Json describe(const imaging::ImageBlock& block) {
    const auto begin = std::chrono::steady_clock::now();
    const std::shared_ptr<const imaging::Image> image = imaging::DicomSeriesReader::load(block);
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    return describeVolume(*image, block.splitReasons, elapsed.count());
}

void printText(const Json& block, std::ostream& out) {
    for (const auto& [name, value] : block.items())
        out << "  " << name << std::string(27 - std::min<std::size_t>(name.size(), 26), ' ')
            << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
}

} // namespace

int runVolumeInfo(std::span<const std::string> arguments, const Streams& streams) {
    std::string folder;
    bool json = false;
    for (const std::string& argument : arguments) {
        if (argument == "--json")
            json = true;
        else if (argument.starts_with('-') || !folder.empty())
            return 2;
        else
            folder = argument;
    }
    if (folder.empty())
        return 2;

    const imaging::DicomAnalysis analysis = analyzeFolder(folder);
    // Printed only once all blocks are decoded: half a list would look like a whole one.
    Json blocks = Json::array();
    std::vector<std::string> leftOut;
    for (const imaging::RejectedFile& rejected : analysis.rejected)
        leftOut.push_back(rejected.reason);
    {
        const SilentStandardError silence;
        for (const imaging::ImageBlock& block : analysis.blocks)
            try {
                blocks.push_back(describe(block));
            } catch (const imaging::DicomReadError& error) {
                leftOut.emplace_back(error.what());
                if (analysis.blocks.size() == leftOut.size() - analysis.rejected.size())
                    throw; // there is no other
            }
    }
    if (json) {
        streams.out << jsonText(blocks) << '\n';
    } else {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            streams.out << "block " << i + 1 << " of " << blocks.size() << '\n';
            printText(blocks[i], streams.out);
        }
    }
    std::ostream& notes = json ? streams.error : streams.out;
    for (const std::string& reason : leftOut)
        notes << "left out: " << reason << '\n';
    return 0;
}

} // namespace zorbel::tools
