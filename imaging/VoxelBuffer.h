#pragma once

#include <cstddef>
#include <memory>
#include <new>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace zorbel::imaging {

/// Uninitialised memory for a volume, on large pages where the system has them to offer: the first touch of
/// each page otherwise takes as long as decoding what goes into it. Throws std::bad_alloc.
inline std::shared_ptr<std::byte[]> newVoxelBuffer(std::size_t byteLength) {
    constexpr std::align_val_t largePage{std::size_t{2} << 20};
    if (byteLength < static_cast<std::size_t>(largePage))
        return std::make_shared_for_overwrite<std::byte[]>(byteLength);
    auto* const bytes = static_cast<std::byte*>(::operator new(byteLength, largePage));
#ifdef MADV_HUGEPAGE
    madvise(bytes, byteLength, MADV_HUGEPAGE); // only a wish
#endif
    return {bytes, [](std::byte* memory) { ::operator delete(memory, largePage); }};
}

} // namespace zorbel::imaging
