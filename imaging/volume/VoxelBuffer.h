#pragma once

#include <cstddef>
#include <cstdint>
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

/// Has the system provide memory before it is written to, as far as it can be asked to; the contents stay.
/// From a thread of its own this takes the wait for fresh pages off the one that fills them.
inline void provideMemory(std::byte* bytes, std::size_t length) noexcept {
#ifdef MADV_POPULATE_WRITE
    // Whole pages only; the ends are touched soon enough.
    constexpr std::uintptr_t page = 4096;
    const auto begin = (reinterpret_cast<std::uintptr_t>(bytes) + page - 1) / page * page;
    const auto end = (reinterpret_cast<std::uintptr_t>(bytes) + length) / page * page;
    if (begin < end)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
#else
    static_cast<void>(bytes);
    static_cast<void>(length);
#endif
}

} // namespace zorbel::imaging
