#include "tools/VolumePack.h"

#include "cache/rules/IncompleteDicomSeries.h"
#include "cache/writer/VolumeCacheWriter.h"
#include "platform/SilentStandardError.h"
#include "tools/DicomFolder.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel::tools {

namespace {

namespace fs = std::filesystem;
using imaging::ImageBlock;

struct Arguments {
    std::vector<std::string> folders;
    VolumeCacheWriter::Options options;
};

/// False on wrong usage.
bool readArguments(std::span<const std::string> arguments, Arguments& read) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--no-sha256") {
            read.options.sha256 = false;
        } else if (argument == "--chunk-slices" && i + 1 < arguments.size()) {
            const std::string& number = arguments[++i];
            const char* const end = number.data() + number.size();
            const auto [stop, error] = std::from_chars(number.data(), end, read.options.chunkSlices);
            if (error != std::errc() || stop != end || read.options.chunkSlices < 1)
                return false;
        } else if (argument.starts_with('-') || argument.empty()) {
            return false;
        } else {
            read.folders.push_back(argument);
        }
    }
    return read.folders.size() == 2;
}

/// The volume that the viewer would show of the largest series.
const ImageBlock& blockToPack(const std::vector<ImageBlock>& blocks) {
    const ImageBlock& largest = blocks.front();
    const std::string& series = largest.metadata.seriesInstanceUID;
    std::vector<ImageBlock> ofSeries;
    std::set<fs::path> files;
    for (const ImageBlock& block : blocks) {
        if (block.metadata.seriesInstanceUID == series) {
            ofSeries.push_back(block);
            for (const imaging::DicomFrame& frame : block.frames)
                files.insert(frame.file);
        } else if (block.frameCount() == largest.frameCount()) {
            throw std::runtime_error(
                "several series of " + std::to_string(block.frameCount()) +
                " frames: a cache holds one, so name a folder with one series");
        }
    }
    if (const auto incomplete = findIncompleteSeries(ofSeries, files.size()))
        throw std::runtime_error(
            "the series is not one complete volume: its largest part has " +
            std::to_string(incomplete->availableFrames) + " frames, about " +
            std::to_string(incomplete->estimatedMissingFrames) + " are missing or do not belong to it");
    if (!largest.members.empty())
        throw std::runtime_error(
            "the series is no volume: its " + std::to_string(largest.frameCount()) +
            " images have no place in space");
    if (ofSeries.size() > 1)
        throw std::runtime_error(
            "the series holds " + std::to_string(ofSeries.size()) + " volumes: a cache holds one");
    return largest;
}

/// The folder is made private, which must not happen to one that serves another purpose.
void refuseOtherFolder(const fs::path& folder) {
    std::error_code error;
    if (!fs::exists(folder, error))
        return;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        const std::string_view bare = std::string_view(name).substr(name.starts_with('.') ? 1 : 0);
        if (name != "series" && !bare.starts_with("manifest.json") && !bare.starts_with("chunk-"))
            throw std::runtime_error(
                "the cache folder holds other things than a volume cache: " + folder.string());
    }
}

} // namespace

int runVolumePack(std::span<const std::string> arguments, const Streams& streams) {
    Arguments read;
    if (!readArguments(arguments, read))
        return 2;
    const fs::path cache = read.folders[1];
    refuseOtherFolder(cache);
    const imaging::DicomAnalysis analysis = analyzeFolder(read.folders[0]);
    const ImageBlock& block = blockToPack(analysis.blocks);
    std::shared_ptr<const imaging::Image> image;
    {
        const SilentStandardError silence;
        image = imaging::DicomSeriesReader::load(block);
    }
    VolumeCacheWriter::write(*image, cache, read.options);
    for (const imaging::RejectedFile& rejected : analysis.rejected)
        streams.error << "left out: " << rejected.reason << '\n';
    streams.out << "packed " << block.frameCount() << " slices of series " << block.metadata.seriesInstanceUID
                << " into " << cache.string() << '\n';
    return 0;
}

} // namespace zorbel::tools
