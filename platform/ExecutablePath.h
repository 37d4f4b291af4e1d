#pragma once

#include <filesystem>

namespace zorbel {

/// The file of the running program; resources lie beside it. Throws std::system_error.
std::filesystem::path executablePath();

} // namespace zorbel
