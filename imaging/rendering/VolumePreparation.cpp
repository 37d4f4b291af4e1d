#include "imaging/rendering/VolumePreparation.h"

#include "app/log/Logger.h"
#include "imaging/display/Downsample.h"
#include "imaging/display/OutsideAir.h"
#include "platform/threads/StackGuard.h"

#include <algorithm>
#include <exception>

namespace zorbel::imaging {

PreparedVolume prepareVolume(
    const std::shared_ptr<const Image>& image, int maxSide, std::size_t maxBytes, bool leaveOutsideAirOut,
    const std::shared_ptr<std::atomic<bool>>& cancel) {
    guardThreadStack();
    PreparedVolume result;
    try {
        result.scale = TissueScale::of(*image);
        std::array<int, 3> factors = downsampleFactors(*image, maxSide);
        const auto bytesWith = [&](const std::array<int, 3>& by) {
            return image->voxels().size() /
                   (static_cast<std::size_t>(by[0]) * static_cast<std::size_t>(by[1]) *
                    static_cast<std::size_t>(by[2]));
        };
        while (bytesWith(factors) > std::max<std::size_t>(maxBytes, 1))
            ++*std::min_element(factors.begin(), factors.end());
        result.reduced = factors != std::array<int, 3>{1, 1, 1};
        // VTK has no texture for 32-bit whole numbers.
        const bool drawable =
            image->voxelType() != VoxelType::Int32 && image->voxelType() != VoxelType::UInt32;
        result.volume = !result.reduced && drawable ? image : downsample(*image, factors, cancel.get());
        if (leaveOutsideAirOut && result.volume) {
            const WithoutOutsideAir inside = withoutOutsideAir(
                *result.volume, result.scale.valueOf(-500.0), result.scale.high, cancel.get());
            result.volume = inside.image;
            result.outside = inside.outside;
        }
    } catch (const std::exception& error) {
        Logger::instance().error("VolumeView", "Volume preparation failed", {{"reason", error.what()}});
        result.volume.reset();
    }
    return result;
}

} // namespace zorbel::imaging
