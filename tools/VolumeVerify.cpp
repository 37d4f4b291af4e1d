#include "tools/VolumeVerify.h"

#include "cache/volume/VolumeCacheReader.h"
#include "imaging/ImageAdapter.h"
#include "platform/ExecutablePath.h"
#include "tools/VolumeDescription.h"

#include <chrono>
#include <ostream>
#include <string>
#include <variant>

namespace zorbel::tools {

namespace {

int printFailure(const LoadError& error, std::ostream& out) {
    out << jsonText(
               {{"severity", severityName(error.severity)},
                {"code", error.code},
                {"message", error.message},
                {"chunkIndex", error.chunkIndex}})
        << '\n';
    return 1;
}

} // namespace

int runVolumeVerify(std::span<const std::string> arguments, const Streams& streams) {
    std::string folder;
    std::string studyUid;
    VolumeCacheOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--require-sha256")
            options.sha256Policy = Sha256Policy::Required;
        else if (argument == "--uid" && i + 1 < arguments.size() && !arguments[i + 1].empty())
            studyUid = arguments[++i];
        else if (argument.starts_with('-') || !folder.empty())
            return 2;
        else
            folder = argument;
    }
    if (folder.empty())
        return 2;

    const auto schema =
        executablePath().parent_path() / "resources" / "contracts" / "volume-cache-manifest.v1.0.json";
    const auto begin = std::chrono::steady_clock::now();
    VolumeCacheResult result = VolumeCacheReader(folder, schema, options, studyUid).load();
    if (const auto* error = std::get_if<LoadError>(&result))
        return printFailure(*error, streams.out);
    const std::shared_ptr<const imaging::Image> image =
        imaging::ImageAdapter::adapt(std::get<ZorbelVolumeData>(result));
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    if (!image) {
        const auto code = static_cast<std::uint32_t>(CacheErrorCode::InvalidLayout);
        return printFailure(
            {severityOf(code), code, "The volume cannot be shown as an image", -1}, streams.out);
    }
    streams.out << jsonText(describeVolume(*image, {}, elapsed.count())) << '\n';
    return 0;
}

} // namespace zorbel::tools
