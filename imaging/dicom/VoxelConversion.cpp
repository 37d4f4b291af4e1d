#include "imaging/dicom/VoxelConversion.h"

#include "imaging/DicomSeriesReader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace zorbel::imaging {

namespace {

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

/// Calls each(i, stored value) for all samples of one width and sign. Bits beside the stored ones may hold
/// overlays: shifting up and down again drops them and extends the sign.
template <class Stored, class Each>
void forEachStored(const DecodedFrame& frame, std::size_t pixels, Each each) {
    using Raw = std::make_unsigned_t<Stored>;
    constexpr unsigned width = sizeof(Raw) * 8;
    const unsigned left = width - 1 - std::min(frame.format.highBit, width - 1);
    const unsigned right = width - std::min(frame.format.bitsStored, width);
    const std::byte* const from = frame.bytes.data();
    for (std::size_t i = 0; i < pixels; ++i) {
        Raw raw;
        std::memcpy(&raw, from + i * sizeof(Raw), sizeof(Raw));
        each(i, static_cast<Stored>(static_cast<Stored>(static_cast<Raw>(raw << left)) >> right));
    }
}

std::size_t pixelCount(const DicomFileHeader& header) {
    return static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
}

/// The range after a linear rescale, from the range before it.
ValueRange rescaled(double minimum, double maximum, const ModalityRescale& rescale) {
    const double a = minimum * rescale.slope + rescale.intercept;
    const double b = maximum * rescale.slope + rescale.intercept;
    return {std::min(a, b), std::max(a, b)};
}

/// Modulo the voxel's width: exact wherever the value fits, which the caller judges by the range. So 16-bit
/// data stay 16 bits wide throughout, and a vector register takes eight of them.
template <class Stored, class Voxel>
ValueRange convertInteger(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, Voxel* to) {
    const auto slope = static_cast<std::uint32_t>(static_cast<std::int64_t>(rescale.slope));
    const auto intercept = static_cast<std::uint32_t>(static_cast<std::int64_t>(rescale.intercept));
    Stored minimum = std::numeric_limits<Stored>::max();
    Stored maximum = std::numeric_limits<Stored>::lowest();
    forEachStored<Stored>(frame, pixelCount(header), [&](std::size_t i, Stored stored) {
        minimum = std::min(minimum, stored);
        maximum = std::max(maximum, stored);
        to[i] = static_cast<Voxel>(static_cast<std::uint32_t>(stored) * slope + intercept);
    });
    return rescaled(static_cast<double>(minimum), static_cast<double>(maximum), rescale);
}

template <class Stored>
ValueRange convertFloat(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, float* to) {
    float minimum = std::numeric_limits<float>::max();
    float maximum = std::numeric_limits<float>::lowest();
    forEachStored<Stored>(frame, pixelCount(header), [&](std::size_t i, Stored stored) {
        const auto value =
            static_cast<float>(static_cast<double>(stored) * rescale.slope + rescale.intercept);
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
        to[i] = value;
    });
    return {static_cast<double>(minimum), static_cast<double>(maximum)};
}

template <class Stored, class Voxel>
ValueRange convertTable(const DicomFileHeader& header, const DecodedFrame& frame, Voxel* to) {
    const ModalityTable& table = header.modalityTable;
    const auto last = static_cast<std::int64_t>(table.entries.size()) - 1;
    std::uint16_t minimum = 65535;
    std::uint16_t maximum = 0;
    forEachStored<Stored>(frame, pixelCount(header), [&](std::size_t i, Stored stored) {
        const auto index =
            std::clamp<std::int64_t>(static_cast<std::int64_t>(stored) - table.firstMapped, 0, last);
        const std::uint16_t value = table.entries[static_cast<std::size_t>(index)];
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
        to[i] = static_cast<Voxel>(value);
    });
    return {static_cast<double>(minimum), static_cast<double>(maximum)};
}

template <class Stored, class Voxel>
ValueRange convertStored(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, std::byte* to) {
    auto* const target = reinterpret_cast<Voxel*>(to);
    if (!header.modalityTable.entries.empty())
        return convertTable<Stored>(header, frame, target);
    if constexpr (std::is_same_v<Voxel, float>)
        return convertFloat<Stored>(header, rescale, frame, target);
    else
        return convertInteger<Stored>(header, rescale, frame, target);
}

template <class Voxel>
ValueRange convertTo(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame, std::byte* to) {
    const bool isSigned = frame.format.isSigned;
    if (frame.format.bitsAllocated <= 8)
        return isSigned ? convertStored<std::int8_t, Voxel>(header, rescale, frame, to)
                        : convertStored<std::uint8_t, Voxel>(header, rescale, frame, to);
    if (frame.format.bitsAllocated <= 16)
        return isSigned ? convertStored<std::int16_t, Voxel>(header, rescale, frame, to)
                        : convertStored<std::uint16_t, Voxel>(header, rescale, frame, to);
    return isSigned ? convertStored<std::int32_t, Voxel>(header, rescale, frame, to)
                    : convertStored<std::uint32_t, Voxel>(header, rescale, frame, to);
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
            return {type, 1, true};
    return {VoxelType::Float32, 1, false};
}

VoxelPlan planVoxels(const ImageBlock& block) {
    if (block.frames.front().header->photometric != Photometric::Monochrome)
        return {VoxelType::UInt8, 3, true};
    ValueRange possible{std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()};
    for (const DicomFrame& frame : block.frames) {
        if (!isWhole(frame.rescale.slope) || !isWhole(frame.rescale.intercept))
            return {VoxelType::Float32, 1, false};
        widen(possible, possibleRange(*frame.header, frame.rescale));
    }
    const VoxelPlan plan = planVoxelsFor(possible);
    return bytesPerComponent(plan.type) > 2 ? VoxelPlan{VoxelType::Int16, 1, true} : plan;
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
    return convertTo<float>(header, rescale, frame, to);
}

} // namespace zorbel::imaging
