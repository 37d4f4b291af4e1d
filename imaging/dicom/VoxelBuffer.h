#pragma once

#include <cstddef>
#include <memory>

namespace zorbel::imaging {

/// Uninitialised memory for a volume, on large pages where the system has them to offer: the first touch of
/// each page otherwise takes as long as decoding what goes into it. Throws std::bad_alloc.
std::shared_ptr<std::byte[]> newVoxelBuffer(std::size_t byteLength);

} // namespace zorbel::imaging
