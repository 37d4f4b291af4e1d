#pragma once

#include "base/WorkCancelled.h"
#include "imaging/DicomFrame.h"
#include "imaging/Image.h"
#include "imaging/SplitReason.h"

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zorbel::imaging {

/// A file that cannot be read as a DICOM image, or a block that cannot be decoded. what() names the file (its
/// name, not its folder) and the reason; it holds nothing of the patient.
class DicomReadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Frames that form one regular grid: same series, size, orientation, pixel format and distance, in ascending
/// order along the normal row × column. Or a set (see Image): images of one series without a position, grey
/// or colour, in the order of their numbers.
struct ImageBlock {
    /// One image of a set.
    struct Member {
        ImageGeometry geometry;
        ImageMetadata metadata;
    };

    std::vector<DicomFrame> frames;
    std::vector<Member> members; ///< of a set, one a frame
    /// Why this block is not the whole of its series, or not a plain stack; each reason at most once.
    std::vector<SplitReason> splitReasons;
    ImageGeometry geometry;
    ImageMetadata metadata; ///< minimum and maximum are filled by load()

    std::size_t frameCount() const { return frames.size(); }
    const SplitReason* findReason(SplitReasonType type) const;
};

/// A file that analyze() left out, and why; `reason` is a DicomReadError text.
struct RejectedFile {
    std::filesystem::path file;
    std::string reason;
};

struct DicomAnalysis {
    std::vector<ImageBlock> blocks; ///< largest first; equal sizes in the order of series UID and position
    std::vector<RejectedFile> rejected;
};

/// Groups DICOM files into blocks and decodes a block, on all cores. Stateless; any thread, both calls block.
class DicomSeriesReader {
public:
    /// done of total steps (files while analysing, frames while decoding); from any worker thread, one at a
    /// time.
    using Progress = std::function<void(std::size_t done, std::size_t total)>;

    /// Reads the headers of all files. A file that is no DICOM image (truncated header, no pixel data, not
    /// DICOM, a DICOMDIR) is listed in `rejected`. Throws WorkCancelled.
    static DicomAnalysis analyze(
        const std::vector<std::filesystem::path>& files, const std::atomic<bool>* cancel = nullptr,
        const Progress& progress = {});

    /// Decodes one block into a new Image. Whole-numbered rescale: the smallest of uint8, int8, int16,
    /// uint16, int32 and uint32 that holds what the stored bits could become, or, where that takes more than
    /// 16 bits, what they do become. Otherwise float32. Colours become RGB of 8 bits. Throws DicomReadError
    /// naming the first file that failed, truncated pixel data included (nothing half filled is ever
    /// returned), WorkCancelled, or std::bad_alloc.
    static std::shared_ptr<const Image>
    load(const ImageBlock& block, const std::atomic<bool>* cancel = nullptr, const Progress& progress = {});
};

} // namespace zorbel::imaging
