#include "imaging/DicomSeriesReader.h"

#include "base/WorkerPool.h"
#include "imaging/dicom/BlockBuilder.h"
#include "imaging/dicom/FrameDecoder.h"
#include "imaging/dicom/GdcmSetup.h"
#include "imaging/dicom/VoxelConversion.h"
#include "imaging/volume/VoxelBuffer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>

namespace zorbel::imaging {

namespace {

/// Beyond this no reading workstation of today shows a volume, and a number of that size is more likely
/// damage.
constexpr std::size_t largestVolumeBytes = std::size_t{8} << 30;

std::size_t sliceVoxels(const ImageBlock& block) {
    const auto& size = block.geometry.dimensions();
    return static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]);
}

std::string nameOf(const DicomFrame& frame) {
    return frame.file.filename().string();
}

class BlockDecoder {
public:
    BlockDecoder(
        const ImageBlock& block, const std::atomic<bool>* cancel, const DicomSeriesReader::Progress& progress)
        : block_(block), cancel_(cancel), progress_(progress), ranges_(block.frames.size()) {}

    std::shared_ptr<const Image> decode() {
        VoxelPlan plan = planVoxels(block_);
        decodeAs(plan);
        if (plan.integer && plan.components == 1 && !fits(range(), plan.type)) {
            plan = planVoxelsFor(range());
            decodeAs(plan);
        }
        ImageMetadata metadata = block_.metadata;
        metadata.minimum = range().minimum;
        metadata.maximum = range().maximum;
        std::vector<std::shared_ptr<const Image>> members;
        for (std::size_t i = 0; i < block_.members.size(); ++i)
            members.push_back(member(i, plan));
        return std::make_shared<const Image>(
            block_.geometry, plan.type, plan.components, std::move(voxels_), byteLength_, std::move(metadata),
            std::move(members));
    }

private:
    /// An image of a set; it shares the set's voxels where it fills its slice.
    std::shared_ptr<const Image> member(std::size_t index, const VoxelPlan& plan) const {
        const ImageBlock::Member& member = block_.members[index];
        const std::size_t sliceBytes = byteLength_ / block_.frames.size();
        std::shared_ptr<const std::byte[]> voxels(voxels_, voxels_.get() + index * sliceBytes);
        const auto& size = member.geometry.dimensions();
        const std::size_t pixelBytes =
            bytesPerComponent(plan.type) * static_cast<std::size_t>(plan.components);
        const std::size_t rowBytes = static_cast<std::size_t>(size[0]) * pixelBytes;
        const auto rows = static_cast<std::size_t>(size[1]);
        if (rows * rowBytes != sliceBytes) {
            const std::size_t stride = static_cast<std::size_t>(block_.geometry.dimensions()[0]) * pixelBytes;
            auto own = newVoxelBuffer(rows * rowBytes);
            for (std::size_t row = 0; row < rows; ++row)
                std::memcpy(own.get() + row * rowBytes, voxels.get() + row * stride, rowBytes);
            voxels = std::move(own);
        }
        ImageMetadata metadata = member.metadata;
        metadata.minimum = ranges_[index].minimum;
        metadata.maximum = ranges_[index].maximum;
        return std::make_shared<const Image>(
            member.geometry, plan.type, plan.components, std::move(voxels), rows * rowBytes,
            std::move(metadata));
    }

    ValueRange range() const {
        ValueRange all{std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()};
        for (const ValueRange& range : ranges_) {
            all.minimum = std::min(all.minimum, range.minimum);
            all.maximum = std::max(all.maximum, range.maximum);
        }
        return all;
    }

    void decodeAs(const VoxelPlan& plan) {
        const std::size_t sliceBytes =
            sliceVoxels(block_) * bytesPerComponent(plan.type) * static_cast<std::size_t>(plan.components);
        if (sliceBytes == 0 || sliceBytes > largestVolumeBytes / block_.frames.size())
            throw DicomReadError(nameOf(block_.frames.front()) + ": the image is too large");
        byteLength_ = sliceBytes * block_.frames.size();
        voxels_.reset();
        auto voxels = newVoxelBuffer(byteLength_);
        FrameDecoder decoder;
        std::vector<DecodedFrame> buffers(workerCount(block_.frames.size()));
        runOnAllCores(
            block_.frames.size(),
            [&](std::size_t i, std::size_t worker) {
                std::byte* const slice = voxels.get() + i * sliceBytes;
                ranges_[i] = decodeFrame(block_.frames[i], plan, decoder, buffers[worker], slice);
                if (!block_.members.empty())
                    spreadRows(slice, sliceBytes, block_.members[i].geometry.dimensions());
            },
            cancel_,
            [this](std::size_t done, std::size_t total) {
                // A second attempt with a wider type must not count from the start again.
                if (progress_ && done > reported_)
                    progress_(reported_ = done, total);
            });
        voxels_ = std::move(voxels);
    }

    /// From rows without gaps to rows of the set's width, with zeros beside and below them.
    void spreadRows(std::byte* slice, std::size_t sliceBytes, const std::array<int, 3>& size) const {
        const auto& whole = block_.geometry.dimensions();
        const std::size_t stride = sliceBytes / static_cast<std::size_t>(whole[1]);
        const std::size_t rowBytes =
            stride / static_cast<std::size_t>(whole[0]) * static_cast<std::size_t>(size[0]);
        const auto rows = static_cast<std::size_t>(size[1]);
        for (std::size_t row = rows; row-- > 0;) {
            std::memmove(slice + row * stride, slice + row * rowBytes, rowBytes);
            std::memset(slice + row * stride + rowBytes, 0, stride - rowBytes);
        }
        std::memset(slice + rows * stride, 0, sliceBytes - rows * stride);
    }

    static ValueRange decodeFrame(
        const DicomFrame& frame, const VoxelPlan& plan, FrameDecoder& decoder, DecodedFrame& buffer,
        std::byte* to) {
        try {
            const DicomFileHeader& header = *frame.header;
            decoder.decode(header, frame.frameIndex, buffer);
            if (plan.components == 3)
                return convertColor(header, buffer, to);
            return convertGrey(header, frame.rescale, buffer, plan, to);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::runtime_error& reason) {
            throw DicomReadError(nameOf(frame) + ": " + reason.what());
        } catch (const std::exception&) {
            // The codecs' own exceptions say nothing that helps a reader.
            throw DicomReadError(nameOf(frame) + ": the pixel data is damaged");
        }
    }

    const ImageBlock& block_;
    const std::atomic<bool>* cancel_;
    const DicomSeriesReader::Progress& progress_;
    std::vector<ValueRange> ranges_;
    std::size_t reported_ = 0;
    std::shared_ptr<const std::byte[]> voxels_;
    std::size_t byteLength_ = 0;
};

} // namespace

const SplitReason* ImageBlock::findReason(SplitReasonType type) const {
    const auto found =
        std::find_if(splitReasons.begin(), splitReasons.end(), [type](const SplitReason& reason) {
            return reason.type == type;
        });
    return found == splitReasons.end() ? nullptr : &*found;
}

DicomAnalysis DicomSeriesReader::analyze(
    const std::vector<std::filesystem::path>& files, const std::atomic<bool>* cancel,
    const Progress& progress) {
    std::vector<std::shared_ptr<const DicomFileHeader>> headers(files.size());
    std::vector<std::string> reasons(files.size());
    runOnAllCores(
        files.size(),
        [&](std::size_t i, std::size_t) {
            try {
                headers[i] = std::make_shared<const DicomFileHeader>(readDicomFileHeader(files[i]));
            } catch (const DicomReadError& error) {
                reasons[i] = error.what();
            }
        },
        cancel, progress);

    DicomAnalysis analysis;
    for (std::size_t i = 0; i < files.size(); ++i)
        if (!headers[i])
            analysis.rejected.push_back({files[i], reasons[i]});
    std::erase(headers, nullptr);
    analysis.blocks = buildBlocks(std::move(headers));
    return analysis;
}

std::shared_ptr<const Image>
DicomSeriesReader::load(const ImageBlock& block, const std::atomic<bool>* cancel, const Progress& progress) {
    if (block.frames.empty())
        throw DicomReadError("the block holds no frames");
    silenceGdcm();
    return BlockDecoder(block, cancel, progress).decode();
}

} // namespace zorbel::imaging
