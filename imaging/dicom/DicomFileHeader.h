#pragma once

#include "imaging/ImageMetadata.h"
#include "imaging/dicom/PixelDataLocation.h"
#include "imaging/geometry/Vector3.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorbel::imaging {

/// How one sample lies in the pixel data, PS3.5 8.1.1.
struct StoredFormat {
    unsigned bitsAllocated = 16;
    unsigned bitsStored = 16;
    unsigned highBit = 15;
    bool isSigned = false;
    unsigned samples = 1;
    bool planar = false;     ///< all of the first sample, then all of the second, …
    bool halfChroma = false; ///< Y Y Cb Cr for each two pixels of a row

    friend bool operator==(const StoredFormat&, const StoredFormat&) = default;
};

enum class Photometric { Monochrome, Rgb, YbrFull, YbrPartial, Palette };

/// Grey values after a modality LUT sequence, from `firstMapped` upwards.
struct ModalityTable {
    std::int32_t firstMapped = 0;
    std::vector<std::uint16_t> entries;
};

/// Red, green and blue of the palette's entries, 8 bits each.
struct Palette {
    std::int32_t firstMapped = 0;
    std::array<std::vector<std::uint8_t>, 3> colors;
};

/// Unit vectors along a row and along a column, perpendicular to each other.
using Orientation = std::pair<Vector3, Vector3>;

/// What a file says about one of its frames, from the functional groups of an enhanced object or the file's
/// root.
struct FrameHeader {
    std::optional<Vector3> position;
    bool positionAssumed = false; ///< laid out by a distance that the file does not say to be one
    std::optional<Orientation> orientation;
    std::optional<std::pair<double, double>> pixelSpacing; ///< between columns, between rows
    std::optional<double> sliceSpacing;                    ///< SpacingBetweenSlices, else SliceThickness
    ModalityRescale rescale;
    std::string rescaleType;
    std::vector<LevelWindow> windows;
    /// Values by which acquisitions of the same positions may be told apart, the most telling first.
    std::vector<std::string> acquisitionKeys;
};

/// One file's header, as far as grouping and decoding need it. Shared read-only between threads.
struct DicomFileHeader {
    std::filesystem::path file;
    std::string sopInstanceUID;
    double instanceNumber = 0.0;

    int columns = 0;
    int rows = 0;
    StoredFormat format;
    Photometric photometric = Photometric::Monochrome;
    ModalityTable modalityTable; ///< entries empty: the linear rescale applies
    Palette palette;             ///< for Photometric::Palette
    PixelDataLocation pixelData;

    std::vector<FrameHeader> frames; ///< one a frame, never empty
    ImageMetadata metadata;          ///< without rescale, windows, minimum and maximum
    /// Stored values from first to second are padding; before the rescale.
    std::optional<std::pair<double, double>> storedPadding;
};

/// Reads a file's header, not its pixel data. Throws DicomReadError.
DicomFileHeader readDicomFileHeader(const std::filesystem::path& file);

} // namespace zorbel::imaging
