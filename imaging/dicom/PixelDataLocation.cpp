#include "imaging/dicom/PixelDataLocation.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zorbel::imaging {

namespace {

constexpr std::uint32_t itemTag = 0xfffee000U;

std::uint32_t little(const unsigned char* from, int bytes) {
    std::uint32_t result = 0;
    for (int i = 0; i < bytes; ++i)
        result |= static_cast<std::uint32_t>(from[i]) << (8 * i);
    return result;
}

/// Items are little-endian in every encapsulated syntax.
bool locateFragments(ByteSource& source, std::uint64_t position, PixelDataLocation& location) {
    bool first = true;
    std::array<unsigned char, 8> head{};
    while (source.read(position, head.data(), head.size())) {
        const std::uint32_t tag = little(head.data(), 2) << 16 | little(head.data() + 2, 2);
        if (tag != itemTag)
            break;
        const std::uint64_t length = little(head.data() + 4, 4);
        position += 8;
        // A fragment cut off by the end of the file is kept: decoding it then names the file.
        const std::uint64_t present = std::min(length, source.size() - std::min(position, source.size()));
        if (!first) {
            location.fragments.push_back({position, length});
        } else if (length >= 4 && present == length && length < (1U << 24)) {
            std::vector<unsigned char> table(length);
            if (!source.read(position, table.data(), table.size()))
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

/// A frame begins where a code stream begins right behind the end mark of the one before, whether in a
/// fragment of its own or not. Neither mark occurs within the compressed data of JPEG, JPEG-LS and JPEG 2000.
std::vector<std::vector<FileRange>> byMarkers(const PixelDataLocation& location, ByteSource& source) {
    std::vector<std::vector<FileRange>> frames;
    bool ended = true;
    std::vector<unsigned char> bytes;
    for (const FileRange& fragment : location.fragments) {
        if (fragment.length > source.size())
            return {};
        bytes.resize(fragment.length);
        if (!source.read(fragment.offset, bytes.data(), bytes.size()))
            return {};
        std::size_t begin = 0;
        const auto take = [&](std::size_t end) {
            if (end > begin && !frames.empty())
                frames.back().push_back({fragment.offset + begin, end - begin});
            begin = end;
        };
        for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
            const unsigned marker = static_cast<unsigned>(bytes[i]) << 8 | bytes[i + 1];
            if (ended && (marker == 0xffd8U || marker == 0xff4fU)) {
                take(i);
                frames.emplace_back();
                ended = false;
            } else if (marker == 0xffd9U) {
                ended = true;
            }
        }
        take(bytes.size());
    }
    return frames;
}

} // namespace

std::optional<std::vector<std::vector<FileRange>>>
PixelDataLocation::framesOfFragments(ByteSource& source, std::size_t frameCount) const {
    if (fragments.empty())
        return std::nullopt;
    if (frameCount == 1)
        return std::vector<std::vector<FileRange>>{fragments};
    if (auto frames = byOffsets(*this, frameCount))
        return frames;
    std::vector<std::vector<FileRange>> frames;
    if (fragments.size() == frameCount)
        for (const FileRange& fragment : fragments)
            frames.push_back({fragment});
    else
        frames = byMarkers(*this, source);
    return frames.size() == frameCount ? std::optional(frames) : std::nullopt;
}

bool locatePixelData(
    ByteSource& source, const ParsedFile& file, std::string_view offsetTable, PixelDataLocation& location) {
    if (!file.stop)
        return false;
    const StopElement& element = *file.stop;
    // PS3.5 A.3: only values of type OW are words; bytes stay in their order.
    location.swapWords = file.bigEndian && element.words;
    location.encapsulated = element.length == 0xffffffffU;
    if (!location.encapsulated) {
        location.native = {element.value, element.length};
        return element.length > 0;
    }
    if (!locateFragments(source, element.value, location))
        return false;
    if (!offsetTable.empty()) {
        location.frameOffsets.assign(offsetTable.size() / 8, 0);
        std::memcpy(location.frameOffsets.data(), offsetTable.data(), location.frameOffsets.size() * 8);
    }
    return true;
}

} // namespace zorbel::imaging
