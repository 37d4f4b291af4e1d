#include "app/log/LogTail.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace zorbel {

std::string lastBytesOfLog(const std::filesystem::path& file, std::size_t most) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    const auto end = static_cast<std::streamoff>(stream.tellg());
    // With the byte before them, which tells whether the first line is whole.
    const auto begin = std::max<std::streamoff>(end - static_cast<std::streamoff>(most) - 1, 0);
    std::string bytes(static_cast<std::size_t>(std::max<std::streamoff>(end - begin, 0)), '\0');
    stream.seekg(begin);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        const std::u8string path = file.u8string();
        throw std::system_error(
            EIO, std::generic_category(), "Cannot read " + std::string(path.begin(), path.end()));
    }
    bytes.resize(bytes.rfind('\n') + 1); // nothing of a file without any
    if (begin > 0)
        bytes.erase(0, bytes.find('\n') + 1);
    return bytes;
}

} // namespace zorbel
