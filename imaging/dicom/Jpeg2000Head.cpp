#include "imaging/dicom/Jpeg2000Head.h"

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace zorbel::imaging {

namespace {

constexpr auto damaged = "the compressed pixel data is damaged";

/// Big-endian numbers, one after the other.
class Cursor {
public:
    explicit Cursor(std::span<const std::byte> bytes) : rest_(bytes) {}

    std::uint32_t number(std::size_t size) {
        std::uint32_t value = 0;
        for (const std::byte byte : take(size))
            value = value << 8 | std::to_integer<std::uint32_t>(byte);
        return value;
    }
    std::span<const std::byte> take(std::size_t size) {
        if (size > rest_.size())
            throw std::runtime_error(damaged);
        const auto taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }
    std::span<const std::byte> rest() const { return rest_; }

private:
    std::span<const std::byte> rest_;
};

constexpr std::uint32_t boxType(const char (&name)[5]) {
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<unsigned char>(name[i]);
    return type;
}

struct Box {
    std::uint32_t type = 0;
    std::span<const std::byte> content;
};

Box nextBox(Cursor& cursor) {
    const std::uint32_t length = cursor.number(4);
    Box box;
    box.type = cursor.number(4);
    if (length == 0) { // as far as there are bytes
        box.content = cursor.take(cursor.rest().size());
    } else if (length == 1) { // a long one, which no frame of a file is
        if (cursor.number(4) != 0)
            throw std::runtime_error(damaged);
        const std::uint32_t whole = cursor.number(4);
        box.content = cursor.take(whole < 16 ? std::numeric_limits<std::size_t>::max() : whole - 16);
    } else {
        box.content = cursor.take(length < 8 ? std::numeric_limits<std::size_t>::max() : length - 8);
    }
    return box;
}

void checkHeaderBoxes(std::span<const std::byte> bytes) {
    for (Cursor cursor(bytes); !cursor.rest().empty();)
        if (const Box box = nextBox(cursor); box.type == boxType("pclr") || box.type == boxType("cmap"))
            throw std::runtime_error("the compressed pixel data holds a palette of its own");
}

/// SIZ, A.5.1.
Jpeg2000Head readSize(Cursor segment) {
    segment.number(2); // capabilities
    std::uint32_t grid[8];
    for (std::uint32_t& value : grid)
        value = segment.number(4);
    const auto& [right, bottom, left, top, tileWidth, tileHeight, tileLeft, tileTop] = grid;
    const std::uint32_t components = segment.number(2);
    constexpr std::uint32_t largest = std::numeric_limits<std::int32_t>::max();
    if (right > largest || bottom > largest || left >= right || top >= bottom || tileLeft > left ||
        tileTop > top || tileWidth <= left - tileLeft || tileHeight <= top - tileTop || components == 0 ||
        components > 4)
        throw std::runtime_error(damaged);
    const auto tilesOf = [](std::uint64_t end, std::uint64_t begin, std::uint64_t size) {
        return (end - begin + size - 1) / size;
    };
    if (tilesOf(right, tileLeft, tileWidth) * tilesOf(bottom, tileTop, tileHeight) > 65535)
        throw std::runtime_error(damaged);
    for (std::uint32_t i = 0; i < components; ++i) {
        const std::uint32_t depth = (segment.number(1) & 0x7fU) + 1;
        // Samples for each pixel alike: nothing else is in DICOM.
        if (depth > 32 || segment.number(1) != 1 || segment.number(1) != 1)
            throw std::runtime_error(damaged);
    }
    if (!segment.rest().empty())
        throw std::runtime_error(damaged);
    return {static_cast<int>(bottom - top), static_cast<int>(right - left), components};
}

/// COD, A.6.1.
void checkCoding(Cursor segment, std::uint32_t components) {
    const std::uint32_t style = segment.number(1);
    const std::uint32_t progression = segment.number(1);
    const std::uint32_t layers = segment.number(2);
    const std::uint32_t transform = segment.number(1);
    const std::uint32_t levels = segment.number(1);
    const std::uint32_t blockWidth = segment.number(1);
    const std::uint32_t blockHeight = segment.number(1);
    segment.number(1);
    const std::uint32_t wavelet = segment.number(1);
    if (style > 7 || progression > 4 || layers == 0 || transform > 1 || (transform == 1 && components < 3) ||
        levels > 32 || blockWidth > 8 || blockHeight > 8 || blockWidth + blockHeight > 8 || wavelet > 1)
        throw std::runtime_error(damaged);
}

} // namespace

std::span<const std::byte> jpeg2000Codestream(std::span<const std::byte> bytes) {
    if (Cursor(bytes).number(2) == 0xff4fU)
        return bytes;
    Cursor cursor(bytes);
    while (!cursor.rest().empty()) {
        const Box box = nextBox(cursor);
        if (box.type == boxType("jp2h"))
            checkHeaderBoxes(box.content);
        else if (box.type == boxType("jp2c"))
            return box.content;
    }
    throw std::runtime_error(damaged);
}

Jpeg2000Head readJpeg2000Head(std::span<const std::byte> codestream) {
    constexpr std::uint32_t begin = 0xff4f;
    constexpr std::uint32_t size = 0xff51;
    constexpr std::uint32_t coding = 0xff52;
    constexpr std::uint32_t quantization = 0xff5c;
    constexpr std::uint32_t tile = 0xff90;
    Cursor cursor(codestream);
    if (cursor.number(2) != begin || cursor.number(2) != size)
        throw std::runtime_error(damaged);
    const auto segment = [&cursor] {
        const std::uint32_t length = cursor.number(2);
        return Cursor(cursor.take(length < 2 ? std::numeric_limits<std::size_t>::max() : length - 2));
    };
    const Jpeg2000Head head = readSize(segment());
    bool coded = false;
    bool quantized = false;
    for (;;) {
        const std::uint32_t marker = cursor.number(2);
        if (marker == tile)
            break;
        if (marker < 0xff50U || marker > 0xff6fU)
            throw std::runtime_error(damaged);
        const Cursor content = segment();
        if (marker == coding)
            checkCoding(content, head.components);
        coded = coded || marker == coding;
        quantized = quantized || marker == quantization;
    }
    if (!coded || !quantized)
        throw std::runtime_error(damaged);
    return head;
}

} // namespace zorbel::imaging
