#pragma once

#include <filesystem>
#include <vector>

namespace zorbel::bench {

/// Writes the files anew as JPEG lossless (process 14, first-order prediction) under their names into a
/// folder. Throws std::runtime_error naming the file that could not be written.
void writeJpegLossless(const std::vector<std::filesystem::path>& files, const std::filesystem::path& folder);

} // namespace zorbel::bench
