#include "tools/CommandLine.h"

#include "tools/ReportAppend.h"
#include "tools/VolumeInfo.h"
#include "tools/VolumePack.h"
#include "tools/VolumeVerify.h"

#include <algorithm>
#include <array>
#include <exception>
#include <ostream>
#include <string>
#include <string_view>

namespace zorbel::tools {

namespace {

struct Command {
    std::string_view group;
    std::string_view name;
    std::string_view usage; ///< of the arguments that follow
    std::string_view summary;
    int (*run)(std::span<const std::string> arguments, const Streams& streams); ///< exit status
};

constexpr std::array commands{
    Command{
        "volume", "info", "FOLDER [--json]",
        "groups and decodes a folder of DICOM files and prints the blocks; sha256 is that of the values\n"
        "      in voxel order as little-endian 64-bit floats, whatever the voxel type",
        runVolumeInfo},
    Command{
        "volume", "pack", "DICOM-FOLDER CACHE-FOLDER [--chunk-slices N] [--no-sha256]",
        "writes the one complete series below a folder of DICOM files as a volume cache", runVolumePack},
    Command{
        "volume", "verify", "CACHE-FOLDER [--uid UID] [--require-sha256]",
        "loads a volume cache as the viewer does; prints the volume as volume info --json does, or as JSON\n"
        "      why it was refused, with exit status 1",
        runVolumeVerify},
    Command{
        "report", "append", "IN.docx OUT.docx --packet PACKET.json [--table-grids]",
        "writes the Word document with the packet's findings, measurements and key images at the end of its\n"
        "      body; the packet's pictures are PNG files beside it",
        runReportAppend},
};

void printUsage(std::ostream& stream) {
    stream << "usage:\n";
    for (const Command& command : commands)
        stream << "  zorbel-tool " << command.group << ' ' << command.name << ' ' << command.usage
               << "\n      " << command.summary << '\n';
}

/// File names may hold anything.
std::string onOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
    return text;
}

} // namespace

int runCommandLine(std::span<const std::string> arguments, const Streams& streams) {
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        printUsage(streams.out);
        return 0;
    }
    const auto command = std::find_if(commands.begin(), commands.end(), [&](const Command& candidate) {
        return arguments.size() >= 2 && arguments[0] == candidate.group && arguments[1] == candidate.name;
    });
    if (command == commands.end()) {
        printUsage(streams.error);
        return 2;
    }
    int status = 1;
    try {
        status = command->run(arguments.subspan(2), streams);
    } catch (const std::bad_alloc&) {
        streams.error << "zorbel-tool: not enough memory\n";
    } catch (const std::exception& error) {
        streams.error << "zorbel-tool: " << onOneLine(error.what()) << '\n';
    }
    if (status == 2)
        streams.error << "usage: zorbel-tool " << command->group << ' ' << command->name << ' '
                      << command->usage << '\n';
    return status;
}

} // namespace zorbel::tools
