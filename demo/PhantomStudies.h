#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace zorbel::demo {

/// Called with one line for the user.
using Notice = std::function<void(const std::string&)>;

/// The study that a demonstration also has as a volume cache, and the one that the Local Node also holds: the
/// names of their folders.
inline constexpr const char* preparedStudyName = "prepared";
inline constexpr const char* nodeStudyName = "on-site";

/// Writes the phantom studies as DICOM files, one sub-folder for each study and series: the jaw volume "jaw",
/// the panoramic image "panoramic", its inverted twin "panoramic-monochrome1", the lateral cephalogram
/// "cephalometric", a small volume without one of its slices "incomplete", a study of several series
/// "several-series", and two coarser volumes of the jaw, preparedStudyName and nodeStudyName. The same files,
/// UIDs included, at every call. Tells `notice` what it makes next; what `notice` throws ends it. Throws
/// std::runtime_error naming the file that cannot be written.
void writePhantomStudies(const std::filesystem::path& folder, const Notice& notice = {});

/// A folder that holds the phantom studies: made below cacheFolder if it is not there yet. An empty
/// cacheFolder means "zorbel-demo" under the user's cache folder.
std::filesystem::path phantomFolder(const std::filesystem::path& cacheFolder, const Notice& notice = {});

/// A CT series of `slices` images of size × size pixels, 16 bit, quick to write; for measuring transfer and
/// decoding. The pixels are noise upon a gradient, other in every slice.
void writeBenchSeries(const std::filesystem::path& folder, int slices = 400, int size = 512);

} // namespace zorbel::demo
