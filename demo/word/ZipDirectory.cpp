#include "demo/word/ZipDirectory.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace zorbel::demo {

namespace {

constexpr std::size_t endRecordSize = 22;
constexpr std::size_t mostOfComment = 65535;

std::uint32_t number(std::string_view bytes, std::size_t at, int size) {
    std::uint32_t value = 0;
    for (int i = size; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
    }
    return value;
}

/// npos when there is none that ends with the bytes.
std::size_t endRecord(std::string_view bytes) {
    const std::size_t last = bytes.size() - std::min(bytes.size(), endRecordSize);
    const std::size_t first = last - std::min(last, mostOfComment);
    for (std::size_t at = last + 1; at-- > first;) {
        if (bytes.substr(at, 4) == "PK\5\6" && bytes.size() - at >= endRecordSize &&
            at + endRecordSize + number(bytes, at + 20, 2) == bytes.size()) {
            return at;
        }
    }
    return std::string_view::npos;
}

} // namespace

bool hasZipDirectory(std::string_view bytes) {
    const std::size_t end = endRecord(bytes);
    if (bytes.substr(0, 4) != "PK\3\4" || end == std::string_view::npos) {
        return false;
    }
    const std::size_t size = number(bytes, end + 12, 4);
    const std::size_t start = number(bytes, end + 16, 4);
    if (start == 0xffffffffU) {
        return end >= 20 && bytes.substr(end - 20, 4) == "PK\6\7"; // the larger form's directory
    }
    return start + size <= end && bytes.substr(start, 4) == "PK\1\2";
}

std::string withZipComment(const std::string& bytes, const std::string& comment) {
    const std::size_t end = endRecord(bytes);
    if (end == std::string::npos || comment.size() > mostOfComment) {
        throw std::invalid_argument("Not a zip file, or too long a comment.");
    }
    std::string changed = bytes.substr(0, end + 20);
    changed += static_cast<char>(comment.size() & 255);
    changed += static_cast<char>(comment.size() >> 8);
    return changed + comment;
}

} // namespace zorbel::demo
