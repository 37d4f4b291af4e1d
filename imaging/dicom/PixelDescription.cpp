#include "imaging/dicom/DicomHeaderParts.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace zorbel::imaging {

namespace {

constexpr std::size_t largestFrameCount = 1U << 20;

StoredFormat readFormat(const DicomAttributes& root) {
    StoredFormat format;
    format.samples = root.unsignedShort({0x0028, 0x0002}).value_or(1);
    format.bitsAllocated = root.unsignedShort({0x0028, 0x0100}).value_or(16);
    format.bitsStored = root.unsignedShort({0x0028, 0x0101}).value_or(format.bitsAllocated);
    format.highBit = root.unsignedShort({0x0028, 0x0102}).value_or(format.bitsStored - 1);
    format.isSigned = root.unsignedShort({0x0028, 0x0103}).value_or(0) == 1;
    format.planar = root.unsignedShort({0x0028, 0x0006}).value_or(0) == 1 && format.samples > 1;

    constexpr std::array<unsigned, 5> known{1, 8, 12, 16, 32};
    if (std::find(known.begin(), known.end(), format.bitsAllocated) == known.end())
        throw std::runtime_error("unsupported number of bits allocated");
    if (format.bitsStored < 1 || format.bitsStored > format.bitsAllocated)
        format.bitsStored = format.bitsAllocated;
    if (format.highBit + 1 < format.bitsStored || format.highBit >= format.bitsAllocated)
        format.highBit = format.bitsStored - 1;
    if (format.samples != 1 && format.samples != 3)
        throw std::runtime_error("unsupported number of samples per pixel");
    if (format.samples == 3 && format.bitsAllocated != 8 && format.bitsAllocated != 16)
        throw std::runtime_error("unsupported colour depth");
    return format;
}

Photometric photometricOf(const std::string& name, unsigned samples) {
    if (samples == 1)
        return name == "PALETTE COLOR" ? Photometric::Palette : Photometric::Monochrome;
    if (name == "YBR_FULL" || name == "YBR_FULL_422")
        return Photometric::YbrFull;
    if (name == "YBR_PARTIAL_422" || name == "YBR_PARTIAL_420")
        return Photometric::YbrPartial;
    // The JPEG 2000 decoder undoes YBR_ICT and YBR_RCT itself.
    if (name.empty() || name == "RGB" || name == "YBR_ICT" || name == "YBR_RCT" ||
        name.starts_with("MONOCHROME"))
        return Photometric::Rgb;
    throw std::runtime_error("unsupported photometric interpretation");
}

std::vector<std::uint16_t> straightPalette(std::string_view data, std::size_t count) {
    std::vector<std::uint16_t> entries(count, 0);
    if (data.size() < count)
        throw std::runtime_error("palette shorter than its descriptor says");
    const bool words = data.size() >= 2 * count;
    for (std::size_t i = 0; i < count; ++i) {
        if (words)
            std::memcpy(&entries[i], data.data() + 2 * i, 2);
        else
            entries[i] = static_cast<unsigned char>(data[i]);
    }
    return entries;
}

/// PS3.3 C.7.9.2: runs of single values, straight lines, and repetitions of earlier runs.
class SegmentedPalette {
public:
    SegmentedPalette(std::string_view data, std::size_t count) : words_(data.size() / 2), count_(count) {
        std::memcpy(words_.data(), data.data(), words_.size() * 2);
        for (std::size_t at = 0; at < words_.size() && entries_.size() < count_;)
            at = expand(at, false);
    }

    std::vector<std::uint16_t> entries() && {
        if (entries_.size() != count_)
            throw std::runtime_error("unreadable segmented palette");
        return std::move(entries_);
    }

private:
    std::size_t word(std::size_t at) const {
        if (at >= words_.size())
            throw std::runtime_error("unreadable segmented palette");
        return words_[at];
    }

    /// Expands the segment at a word; returns where the next one begins.
    std::size_t expand(std::size_t at, bool repeated) {
        const std::size_t kind = word(at);
        const std::size_t length = word(at + 1);
        if (kind == 0) {
            for (std::size_t i = 0; i < length; ++i)
                add(static_cast<double>(word(at + 2 + i)));
            return at + 2 + length;
        }
        if (kind == 1 && !entries_.empty()) {
            const double from = entries_.back();
            const auto to = static_cast<double>(word(at + 2));
            for (std::size_t i = 1; i <= length; ++i)
                add(from + (to - from) * static_cast<double>(i) / static_cast<double>(length));
            return at + 3;
        }
        if (kind == 2 && !repeated) {
            // The offset counts bytes.
            std::size_t source = (word(at + 2) | word(at + 3) << 16) / 2;
            for (std::size_t i = 0; i < length; ++i)
                source = expand(source, true);
            return at + 4;
        }
        throw std::runtime_error("unreadable segmented palette");
    }

    void add(double value) {
        if (entries_.size() < count_)
            entries_.push_back(static_cast<std::uint16_t>(value + 0.5));
    }

    std::vector<std::uint16_t> words_;
    std::size_t count_;
    std::vector<std::uint16_t> entries_;
};

Palette readPalette(const DicomAttributes& root, bool signedIndex) {
    Palette palette;
    std::array<std::vector<std::uint16_t>, 3> tables;
    bool wide = false;
    std::uint16_t largest = 0;
    for (std::uint16_t color = 0; color < 3; ++color) {
        const Tag descriptorTag(0x0028, static_cast<std::uint16_t>(0x1101 + color));
        const Tag straight(0x0028, static_cast<std::uint16_t>(0x1201 + color));
        const Tag segmented(0x0028, static_cast<std::uint16_t>(0x1221 + color));
        const auto descriptor = root.shorts(descriptorTag);
        if (descriptor.size() < 3)
            throw std::runtime_error("palette image without palette");
        const std::size_t count = descriptor[0] == 0 ? 65536U : static_cast<std::size_t>(descriptor[0]);
        palette.firstMapped = root.shorts(descriptorTag, signedIndex)[1];
        tables[color] = root.has(straight) ? straightPalette(root.bytes(straight), count)
                                           : SegmentedPalette(root.bytes(segmented), count).entries();
        wide = wide || descriptor[2] > 8;
        largest = std::max(largest, *std::max_element(tables[color].begin(), tables[color].end()));
    }
    // Some writers announce 16 bits and store 8.
    const unsigned shift = wide && largest > 255 ? 8 : 0;
    for (std::size_t color = 0; color < 3; ++color)
        for (const std::uint16_t entry : tables[color])
            palette.colors[color].push_back(static_cast<std::uint8_t>(entry >> shift));
    return palette;
}

} // namespace

std::size_t readPixelDescription(const DicomAttributes& root, DicomFileHeader& header) {
    header.rows = static_cast<int>(root.unsignedShort({0x0028, 0x0010}).value_or(0));
    header.columns = static_cast<int>(root.unsignedShort({0x0028, 0x0011}).value_or(0));
    if (header.rows == 0 || header.columns == 0)
        throw std::runtime_error("the image has no size");
    header.format = readFormat(root);

    std::string& name = header.metadata.photometricInterpretation;
    name = root.text({0x0028, 0x0004});
    header.photometric = photometricOf(name, header.format.samples);
    if (name.empty())
        name = header.format.samples == 3 ? "RGB" : "MONOCHROME2";
    if (header.photometric == Photometric::Palette)
        header.palette = readPalette(root, header.format.isSigned);

    const double frames = root.number({0x0028, 0x0008}).value_or(1.0);
    if (frames > static_cast<double>(largestFrameCount))
        throw std::runtime_error("absurd number of frames");
    const std::size_t count = frames >= 1.0 ? static_cast<std::size_t>(frames) : 1;
    const auto pixels = static_cast<std::uint64_t>(header.rows) * static_cast<std::uint64_t>(header.columns);
    header.format.halfChroma = !header.pixelData.encapsulated && name.ends_with("_422") &&
                               header.format.bitsAllocated == 8 && header.columns % 2 == 0 &&
                               header.pixelData.native.length < 3 * pixels * count;
    if (header.format.halfChroma)
        header.format.planar = false;

    if (header.photometric == Photometric::Monochrome)
        for (const DicomAttributes& item : root.items({0x0028, 0x3000}))
            if (auto table = readLookupTable(item, header.format.isSigned)) {
                header.modalityTable = {table->firstMapped, std::move(table->entries)};
                break;
            }
    return count;
}

std::optional<LookupTableItem> readLookupTable(const DicomAttributes& item, bool signedInput) {
    const Tag descriptorTag(0x0028, 0x3002);
    const auto descriptor = item.shorts(descriptorTag);
    if (descriptor.size() < 3)
        return std::nullopt;
    LookupTableItem table;
    const std::size_t count = descriptor[0] == 0 ? 65536U : static_cast<std::size_t>(descriptor[0]);
    table.firstMapped = item.shorts(descriptorTag, item.isSignedShort(descriptorTag, signedInput))[1];
    table.bits = static_cast<unsigned>(std::clamp(descriptor[2], 1, 16));
    const std::string_view data = item.bytes({0x0028, 0x3006});
    if (data.size() < count)
        return std::nullopt;
    const bool words = data.size() >= 2 * count;
    if (!words && table.bits > 8)
        return std::nullopt;
    table.entries = straightPalette(data, count);
    return table;
}

} // namespace zorbel::imaging
