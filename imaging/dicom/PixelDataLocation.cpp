#include "imaging/dicom/PixelDataLocation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <istream>

namespace zorbel::imaging {

namespace {

constexpr std::uint32_t itemTag = 0xfffee000U;

bool readAt(std::istream& file, std::uint64_t position, void* to, std::size_t size) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(position));
    file.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(file.gcount()) == size;
}

std::uint32_t little(const unsigned char* from, int bytes) {
    std::uint32_t result = 0;
    for (int i = 0; i < bytes; ++i)
        result |= static_cast<std::uint32_t>(from[i]) << (8 * i);
    return result;
}

/// Items are little-endian in every encapsulated syntax.
bool locateFragments(
    std::istream& file, std::uint64_t fileSize, std::uint64_t position, PixelDataLocation& location) {
    bool first = true;
    std::array<unsigned char, 8> head{};
    while (readAt(file, position, head.data(), head.size())) {
        const std::uint32_t tag = little(head.data(), 2) << 16 | little(head.data() + 2, 2);
        if (tag != itemTag)
            break;
        const std::uint64_t length = little(head.data() + 4, 4);
        position += 8;
        // A fragment cut off by the end of the file is kept: decoding it then names the file.
        const std::uint64_t present = std::min(length, fileSize - std::min(position, fileSize));
        if (!first) {
            location.fragments.push_back({position, length});
        } else if (length >= 4 && present == length && length < (1U << 24)) {
            std::vector<unsigned char> table(length);
            if (!readAt(file, position, table.data(), table.size()))
                return false;
            for (std::size_t i = 0; i + 4 <= table.size(); i += 4)
                location.frameOffsets.push_back(little(table.data() + i, 4));
        }
        first = false;
        if (present < length)
            break;
        position += length;
    }
    return !location.fragments.empty();
}

std::optional<std::vector<std::vector<FileRange>>>
byOffsets(const PixelDataLocation& location, std::size_t frameCount) {
    if (location.frameOffsets.size() != frameCount)
        return std::nullopt;
    std::vector<std::vector<FileRange>> frames;
    const std::uint64_t base = location.fragments.front().offset;
    for (const FileRange& fragment : location.fragments) {
        const std::uint64_t offset = fragment.offset - base;
        if (frames.size() < frameCount && offset == location.frameOffsets[frames.size()])
            frames.emplace_back();
        if (frames.empty())
            return std::nullopt;
        frames.back().push_back(fragment);
    }
    return frames.size() == frameCount ? std::optional(frames) : std::nullopt;
}

bool startsImage(const std::array<unsigned char, 4>& head) {
    constexpr std::array<unsigned char, 4> codestream{0xff, 0x4f, 0xff, 0x51};
    return (head[0] == 0xff && head[1] == 0xd8 && head[2] == 0xff) || head == codestream;
}

} // namespace

std::optional<std::vector<std::vector<FileRange>>>
PixelDataLocation::framesOfFragments(std::istream& file, std::size_t frameCount) const {
    if (fragments.empty())
        return std::nullopt;
    if (frameCount == 1)
        return std::vector<std::vector<FileRange>>{fragments};
    if (auto frames = byOffsets(*this, frameCount))
        return frames;
    std::vector<std::vector<FileRange>> frames;
    if (fragments.size() == frameCount) {
        for (const FileRange& fragment : fragments)
            frames.push_back({fragment});
        return frames;
    }
    // No table: a frame begins where a code stream begins, right behind the end marker of the one before.
    bool ended = true;
    for (const FileRange& fragment : fragments) {
        std::array<unsigned char, 4> head{};
        std::array<unsigned char, 4> tail{};
        if (fragment.length < 4 || !readAt(file, fragment.offset, head.data(), 4) ||
            !readAt(file, fragment.offset + fragment.length - 4, tail.data(), 4))
            return std::nullopt;
        if (ended && startsImage(head))
            frames.emplace_back();
        if (frames.empty())
            return std::nullopt;
        frames.back().push_back(fragment);
        ended = false;
        for (std::size_t i = 0; i < 3; ++i)
            ended = ended || (tail[i] == 0xff && tail[i + 1] == 0xd9);
    }
    return frames.size() == frameCount ? std::optional(frames) : std::nullopt;
}

bool locatePixelData(std::istream& file, std::uint64_t fileSize, PixelDataLocation& location) {
    const auto here = file.tellg();
    if (here < std::streampos(12))
        return false;
    const auto position = static_cast<std::uint64_t>(here);
    std::array<unsigned char, 12> head{};
    if (!readAt(file, position - 12, head.data(), head.size()))
        return false;
    constexpr std::array<unsigned char, 4> littleTag{0xe0, 0x7f, 0x10, 0x00};
    constexpr std::array<unsigned char, 4> bigTag{0x7f, 0xe0, 0x00, 0x10};
    const auto is = [&head](std::size_t at, const std::array<unsigned char, 4>& tag) {
        return std::memcmp(head.data() + at, tag.data(), tag.size()) == 0;
    };
    std::uint32_t length = little(head.data() + 8, 4);
    if (is(0, bigTag)) {
        length = __builtin_bswap32(length);
        // PS3.5 A.3: only values of type OW are words; bytes stay in their order.
        location.swapWords = head[4] == 'O' && head[5] == 'W';
    } else if (!is(0, littleTag) && !is(4, littleTag)) {
        return false;
    }
    location.encapsulated = length == 0xffffffffU;
    if (location.encapsulated)
        return locateFragments(file, fileSize, position, location);
    location.native = {position, length};
    return length > 0;
}

} // namespace zorbel::imaging
