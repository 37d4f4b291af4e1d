#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace zorbel {

/// The file's last whole lines, `most` bytes or fewer; a line that is just being written is left out. Throws
/// std::system_error, with the path in its text, where the file cannot be read. Any thread.
std::string lastBytesOfLog(const std::filesystem::path& file, std::size_t most);

} // namespace zorbel
