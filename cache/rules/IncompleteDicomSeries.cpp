#include "cache/rules/IncompleteDicomSeries.h"

#include <algorithm>
#include <charconv>

namespace zorbel {

namespace {

/// The reason's details as an unsigned number; what is no number, or is zero, counts as one missing slice.
std::size_t missingSlices(const imaging::SplitReason& reason) {
    std::size_t missing = 0;
    const char* end = reason.details.data() + reason.details.size();
    const auto [stop, error] = std::from_chars(reason.details.data(), end, missing);
    return error == std::errc() && stop == end && missing > 0 ? missing : 1;
}

} // namespace

IncompleteDicomSeriesError::IncompleteDicomSeriesError(const IncompleteSeries& series)
    : std::runtime_error(
          "PACS supplied an incomplete DICOM series: " + std::to_string(series.availableFrames) +
          " frames are available and approximately " + std::to_string(series.estimatedMissingFrames) +
          " slices are missing.") {}

const imaging::ImageBlock* largestBlock(const std::vector<imaging::ImageBlock>& blocks) {
    const imaging::ImageBlock* largest = nullptr;
    for (const auto& block : blocks)
        if (!largest || block.frameCount() > largest->frameCount())
            largest = &block;
    return largest;
}

std::optional<IncompleteSeries>
findIncompleteSeries(const std::vector<imaging::ImageBlock>& blocks, std::size_t fileCount) {
    std::optional<IncompleteSeries> incomplete;
    for (const auto& block : blocks) {
        const auto* reason = block.findReason(imaging::SplitReasonType::MissingSlices);
        if (reason && (!incomplete || block.frameCount() > incomplete->availableFrames))
            incomplete = IncompleteSeries{block.frameCount(), missingSlices(*reason)};
    }
    const auto* largest = largestBlock(blocks);
    const std::size_t frames = largest ? largest->frameCount() : 0;
    if (frames < fileCount && (!incomplete || frames > incomplete->availableFrames))
        incomplete = IncompleteSeries{frames, fileCount - frames};
    return incomplete;
}

bool areUnlikeImages(const std::vector<imaging::ImageBlock>& blocks) {
    return blocks.size() > 1 && std::all_of(blocks.begin(), blocks.end(), [](const auto& block) {
               return std::none_of(block.frames.begin(), block.frames.end(), [](const auto& frame) {
                   return frame.position.has_value();
               });
           });
}

} // namespace zorbel
