#pragma once

#include "imaging/DicomSeriesReader.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <vector>

namespace zorbel {

/// How much of a series is there.
struct IncompleteSeries {
    std::size_t availableFrames = 0;
    std::size_t estimatedMissingFrames = 0;
    friend bool operator==(const IncompleteSeries&, const IncompleteSeries&) = default;
};

/// A series with missing slices, refused so that it is not shown as a misleading volume.
class IncompleteDicomSeriesError : public std::runtime_error {
public:
    explicit IncompleteDicomSeriesError(const IncompleteSeries& series);
};

/// The block with the most frames, the first of equals; null without blocks.
const imaging::ImageBlock* largestBlock(const std::vector<imaging::ImageBlock>& blocks);

/// Whether the blocks that `fileCount` downloaded files were grouped into are less than a complete series.
/// There is no tolerance: one missing slice makes it incomplete.
std::optional<IncompleteSeries>
findIncompleteSeries(const std::vector<imaging::ImageBlock>& blocks, std::size_t fileCount);

/// Whether the blocks are 2D images, none of them with a place in space, that are merely too unlike for one
/// set: nothing is missing then.
bool areUnlikeImages(const std::vector<imaging::ImageBlock>& blocks);

} // namespace zorbel
