#pragma once

#include <filesystem>
#include <string_view>

#include <sys/types.h>

namespace zorbel {

/// Replaces or creates a file by way of a temporary one beside it, synchronised to the disk before it takes
/// the place. Throws std::system_error naming the file; the temporary file is gone then.
void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes, mode_t mode);

/// Whether the temporary file has such a name: ".", the file's name, "." and six characters.
bool isTemporaryName(std::string_view fileName);

} // namespace zorbel
