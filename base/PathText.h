#pragma once

#include <filesystem>
#include <string>

namespace zorbel {

/// A path as UTF-8, whatever the system's own encoding is; for messages and the log.
inline std::string pathText(const std::filesystem::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace zorbel
