#include "imaging/dicom/VoxelConversion.h"

#include "imaging/DicomSeriesReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace zorbel::imaging {

namespace {

constexpr std::size_t chunkSize = 2048;

bool isWhole(double value) {
    return std::nearbyint(value) == value && std::abs(value) < 1073741824.0;
}

template <class T>
ValueRange rangeOfType() {
    return {
        static_cast<double>(std::numeric_limits<T>::lowest()),
        static_cast<double>(std::numeric_limits<T>::max())};
}

ValueRange rangeOfType(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
        return rangeOfType<std::uint8_t>();
    case VoxelType::Int8:
        return rangeOfType<std::int8_t>();
    case VoxelType::UInt16:
        return rangeOfType<std::uint16_t>();
    case VoxelType::Int16:
        return rangeOfType<std::int16_t>();
    case VoxelType::UInt32:
        return rangeOfType<std::uint32_t>();
    case VoxelType::Int32:
        return rangeOfType<std::int32_t>();
    case VoxelType::Float32:
        break;
    }
    return rangeOfType<float>();
}

void widen(ValueRange& range, const ValueRange& other) {
    range.minimum = std::min(range.minimum, other.minimum);
    range.maximum = std::max(range.maximum, other.maximum);
}

/// Every value that a frame's stored bits could become.
ValueRange possibleRange(const DicomFileHeader& header, const ModalityRescale& rescale) {
    if (const auto& table = header.modalityTable.entries; !table.empty()) {
        const auto [low, high] = std::minmax_element(table.begin(), table.end());
        return {static_cast<double>(*low), static_cast<double>(*high)};
    }
    const StoredFormat& format = header.format;
    const double steps = std::ldexp(1.0, static_cast<int>(format.bitsStored));
    const double low = format.isSigned ? -steps / 2.0 : 0.0;
    const double a = low * rescale.slope + rescale.intercept;
    const double b = (low + steps - 1.0) * rescale.slope + rescale.intercept;
    return {std::min(a, b), std::max(a, b)};
}

template <class Raw, class Stored>
void loadStored(const std::byte* from, std::size_t count, const StoredFormat& format, Stored* to) {
    // Bits beside the stored ones may hold overlays: shifting up and down again drops them and extends the
    // sign.
    constexpr unsigned width = sizeof(Raw) * 8;
    const unsigned stored = std::min(format.bitsStored, width);
    const unsigned high = std::min(format.highBit, width - 1);
    const unsigned left = width - 1 - high;
    const unsigned right = width - stored;
    using Signed = std::make_signed_t<Raw>;
    for (std::size_t i = 0; i < count; ++i) {
        Raw raw;
        std::memcpy(&raw, from + i * sizeof(Raw), sizeof(Raw));
        raw = static_cast<Raw>(raw << left);
        to[i] = format.isSigned ? static_cast<Stored>(static_cast<Signed>(static_cast<Signed>(raw) >> right))
                                : static_cast<Stored>(static_cast<Raw>(raw >> right));
    }
}

/// Calls body(first, count, stored values) for pieces that stay in the processor's cache.
template <class Stored, class Body>
void forEachChunk(const DicomFileHeader& header, const DecodedFrame& frame, Body body) {
    const auto pixels = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
    const ModalityTable& table = header.modalityTable;
    std::array<Stored, chunkSize> stored;
    for (std::size_t first = 0; first < pixels; first += chunkSize) {
        const std::size_t count = std::min(chunkSize, pixels - first);
        if (frame.format.bitsAllocated <= 8)
            loadStored<std::uint8_t>(frame.bytes.data() + first, count, frame.format, stored.data());
        else if (frame.format.bitsAllocated <= 16)
            loadStored<std::uint16_t>(frame.bytes.data() + 2 * first, count, frame.format, stored.data());
        else
            loadStored<std::uint32_t>(frame.bytes.data() + 4 * first, count, frame.format, stored.data());
        if (!table.entries.empty())
            for (std::size_t i = 0; i < count; ++i) {
                const auto index = static_cast<std::int64_t>(stored[i]) - table.firstMapped;
                const auto last = static_cast<std::int64_t>(table.entries.size()) - 1;
                stored[i] = table.entries[static_cast<std::size_t>(std::clamp<std::int64_t>(index, 0, last))];
            }
        body(first, count, stored.data());
    }
}

template <class Stored, class Voxel>
ValueRange convertInteger(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, Voxel* to) {
    const auto slope = static_cast<Stored>(rescale.slope);
    const auto intercept = static_cast<Stored>(rescale.intercept);
    Stored minimum = std::numeric_limits<Stored>::max();
    Stored maximum = std::numeric_limits<Stored>::lowest();
    forEachChunk<Stored>(header, frame, [&](std::size_t first, std::size_t count, const Stored* stored) {
        Voxel* const target = to + first;
        for (std::size_t i = 0; i < count; ++i) {
            const Stored value = stored[i] * slope + intercept;
            minimum = std::min(minimum, value);
            maximum = std::max(maximum, value);
            target[i] = static_cast<Voxel>(value);
        }
    });
    return {static_cast<double>(minimum), static_cast<double>(maximum)};
}

ValueRange convertFloat(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, float* to) {
    float minimum = std::numeric_limits<float>::max();
    float maximum = std::numeric_limits<float>::lowest();
    forEachChunk<std::int64_t>(
        header, frame, [&](std::size_t first, std::size_t count, const std::int64_t* stored) {
            for (std::size_t i = 0; i < count; ++i) {
                const auto value =
                    static_cast<float>(static_cast<double>(stored[i]) * rescale.slope + rescale.intercept);
                minimum = std::min(minimum, value);
                maximum = std::max(maximum, value);
                to[first + i] = value;
            }
        });
    return {static_cast<double>(minimum), static_cast<double>(maximum)};
}

template <class Voxel>
ValueRange convertTo(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, std::byte* to) {
    auto* const target = reinterpret_cast<Voxel*>(to);
    // 32 bits hold the product of 16-bit values and factors.
    const bool narrow = frame.format.bitsAllocated <= 16 && std::abs(rescale.slope) <= 16384.0 &&
                        std::abs(rescale.intercept) <= 1073741824.0;
    return narrow ? convertInteger<std::int32_t>(header, rescale, frame, target)
                  : convertInteger<std::int64_t>(header, rescale, frame, target);
}

} // namespace

bool fits(const ValueRange& values, VoxelType type) {
    const ValueRange limits = rangeOfType(type);
    return values.minimum >= limits.minimum && values.maximum <= limits.maximum;
}

VoxelPlan planVoxelsFor(const ValueRange& values) {
    for (const VoxelType type :
         {VoxelType::UInt8, VoxelType::Int8, VoxelType::Int16, VoxelType::UInt16, VoxelType::Int32,
          VoxelType::UInt32})
        if (fits(values, type))
            return {type, 1, true, false};
    return {VoxelType::Float32, 1, false, false};
}

VoxelPlan planVoxels(const ImageBlock& block) {
    if (block.frames.front().header->photometric != Photometric::Monochrome)
        return {VoxelType::UInt8, 3, true, false};
    ValueRange possible{std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()};
    for (const DicomFrame& frame : block.frames) {
        if (!isWhole(frame.rescale.slope) || !isWhole(frame.rescale.intercept))
            return {VoxelType::Float32, 1, false, false};
        widen(possible, possibleRange(*frame.header, frame.rescale));
    }
    VoxelPlan plan = planVoxelsFor(possible);
    if (bytesPerComponent(plan.type) > 2)
        plan = {VoxelType::Int16, 1, true, true};
    return plan;
}

ValueRange convertGrey(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame,
    const VoxelPlan& plan, std::byte* to) {
    switch (plan.type) {
    case VoxelType::UInt8:
        return convertTo<std::uint8_t>(header, rescale, frame, to);
    case VoxelType::Int8:
        return convertTo<std::int8_t>(header, rescale, frame, to);
    case VoxelType::UInt16:
        return convertTo<std::uint16_t>(header, rescale, frame, to);
    case VoxelType::Int16:
        return convertTo<std::int16_t>(header, rescale, frame, to);
    case VoxelType::UInt32:
        return convertTo<std::uint32_t>(header, rescale, frame, to);
    case VoxelType::Int32:
        return convertTo<std::int32_t>(header, rescale, frame, to);
    case VoxelType::Float32:
        break;
    }
    return convertFloat(header, rescale, frame, reinterpret_cast<float*>(to));
}

} // namespace zorbel::imaging
