#include "imaging/planes/PlaneKernel.h"

// GCC for Windows does not align the stack for the wide registers (GCC bug 54412).
#if (defined(__x86_64__) && !defined(__MINGW32__)) || (defined(_MSC_VER) && defined(_M_X64))
#define ZORBEL_HAS_AVX2_CODE
#endif

#ifdef ZORBEL_HAS_AVX2_CODE

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <immintrin.h>

#ifdef _MSC_VER
#include <intrin.h>
#define ZORBEL_AVX2
#define ZORBEL_AVX2_INLINE __forceinline
#else
// Of this file's functions alone: the program starts on processors without these instructions too.
#define ZORBEL_AVX2 __attribute__((target("avx2,fma")))
#define ZORBEL_AVX2_INLINE __attribute__((target("avx2,fma"), always_inline)) inline
#endif

namespace zorbel::imaging::kernel {

namespace {

constexpr int lanes = 8;
constexpr int rowsAhead = 8; ///< whose memory is asked for

bool processorAllows() {
#ifdef _MSC_VER
    int leaf1[4];
    int leaf7[4];
    __cpuid(leaf1, 1);
    __cpuidex(leaf7, 7, 0);
    const bool wideStates = (leaf1[2] & (1 << 27)) != 0 && (_xgetbv(0) & 6) == 6;
    return wideStates && (leaf1[2] & (1 << 12)) != 0 && (leaf7[1] & (1 << 5)) != 0;
#else
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#endif
}

/// Indices are counted from a voxel near the tile, so that single precision is enough for them.
template <class T>
struct Ground {
    const T* voxels = nullptr; ///< that voxel
    Vector3 base{};
    int strideY = 0;
    int strideZ = 0;
    int stepY = 0; ///< to the neighbour; 0 where there is none
    int stepZ = 0;
    int lastOffset = 0; ///< from which four bytes can be read
    std::array<float, 3> low{};
    std::array<float, 3> high{};
    std::array<float, 3> highBase{}; ///< of the lower of two neighbours
};

template <class T>
Ground<T> groundOf(const VoxelGrid& grid, const Tile& tile) {
    Ground<T> ground;
    std::ptrdiff_t offset = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const int size = grid.size[axis];
        const double base = std::clamp(std::floor(tile.first[axis]), 0.0, size - 1.0);
        ground.base[axis] = base;
        offset += static_cast<std::ptrdiff_t>(base) * grid.stride[axis];
        ground.low[axis] = static_cast<float>(-base);
        ground.high[axis] = static_cast<float>(size - 1.0 - base);
        ground.highBase[axis] = static_cast<float>(std::max(size - 2, 0) - base);
    }
    ground.voxels = reinterpret_cast<const T*>(grid.voxels) + offset;
    ground.strideY = static_cast<int>(grid.stride[1]);
    ground.strideZ = static_cast<int>(grid.stride[2]);
    ground.stepY = grid.size[1] > 1 ? ground.strideY : 0;
    ground.stepZ = grid.size[2] > 1 ? ground.strideZ : 0;
    if constexpr (sizeof(T) == 1)
        ground.lastOffset = static_cast<int>(static_cast<std::ptrdiff_t>(grid.byteLength) - 4 - offset);
    return ground;
}

/// Four bytes from each offset, of which a voxel and its right neighbour are the lower halves.
template <class T>
ZORBEL_AVX2_INLINE __m256i gatherPair(const Ground<T>& ground, __m256i offset) {
    const int* voxels = reinterpret_cast<const int*>(ground.voxels);
    if constexpr (sizeof(T) == 2) {
        return _mm256_i32gather_epi32(voxels, offset, 2);
    } else {
        // At the volume's end the four bytes begin earlier.
        const __m256i readable = _mm256_min_epi32(offset, _mm256_set1_epi32(ground.lastOffset));
        const __m256i shift = _mm256_slli_epi32(_mm256_sub_epi32(offset, readable), 3);
        return _mm256_srlv_epi32(_mm256_i32gather_epi32(voxels, readable, 1), shift);
    }
}

template <class T>
ZORBEL_AVX2_INLINE __m256 gatherOne(const Ground<T>& ground, __m256i offset) {
    if constexpr (std::is_same_v<T, float>) {
        return _mm256_i32gather_ps(ground.voxels, offset, 4);
    } else {
        const __m256i value = _mm256_i32gather_epi32(reinterpret_cast<const int*>(ground.voxels), offset, 4);
        if constexpr (std::is_signed_v<T>)
            return _mm256_cvtepi32_ps(value);
        const __m256 upper = _mm256_cvtepi32_ps(_mm256_srli_epi32(value, 16));
        const __m256 lower = _mm256_cvtepi32_ps(_mm256_and_si256(value, _mm256_set1_epi32(0xFFFF)));
        return _mm256_fmadd_ps(upper, _mm256_set1_ps(65536.0F), lower);
    }
}

/// Between the voxel at each offset and its right neighbour.
template <class T>
ZORBEL_AVX2_INLINE __m256 along(const Ground<T>& ground, __m256i offset, __m256 part) {
    __m256 first;
    __m256 second;
    if constexpr (sizeof(T) == 4) {
        first = gatherOne<T>(ground, offset);
        second = gatherOne<T>(ground, _mm256_add_epi32(offset, _mm256_set1_epi32(1)));
    } else {
        constexpr int bits = 8 * sizeof(T);
        const __m256i pair = gatherPair<T>(ground, offset);
        const __m256i left = _mm256_slli_epi32(pair, 32 - bits);
        const __m256i right = _mm256_slli_epi32(pair, 32 - 2 * bits);
        if constexpr (std::is_signed_v<T>) {
            first = _mm256_cvtepi32_ps(_mm256_srai_epi32(left, 32 - bits));
            second = _mm256_cvtepi32_ps(_mm256_srai_epi32(right, 32 - bits));
        } else {
            first = _mm256_cvtepi32_ps(_mm256_srli_epi32(left, 32 - bits));
            second = _mm256_cvtepi32_ps(_mm256_srli_epi32(right, 32 - bits));
        }
    }
    return _mm256_fmadd_ps(part, _mm256_sub_ps(second, first), first);
}

struct Lanes {
    __m256 x, y, z;
};

ZORBEL_AVX2_INLINE Lanes broadcast(const Vector3& vector) {
    return {
        _mm256_set1_ps(static_cast<float>(vector[0])), _mm256_set1_ps(static_cast<float>(vector[1])),
        _mm256_set1_ps(static_cast<float>(vector[2]))};
}

template <class T, bool border>
ZORBEL_AVX2_INLINE void
locate(const Ground<T>& ground, std::size_t axis, __m256 index, __m256& base, __m256& part, __m256& inside) {
    if constexpr (border) {
        const __m256 low = _mm256_set1_ps(ground.low[axis]);
        const __m256 high = _mm256_set1_ps(ground.high[axis]);
        const __m256 half = _mm256_set1_ps(0.5F);
        inside = _mm256_and_ps(inside, _mm256_cmp_ps(index, _mm256_sub_ps(low, half), _CMP_GE_OQ));
        inside = _mm256_and_ps(inside, _mm256_cmp_ps(index, _mm256_add_ps(high, half), _CMP_LE_OQ));
        // The operands' order makes an index that is no number the lowest one.
        index = _mm256_min_ps(_mm256_max_ps(index, low), high);
        base = _mm256_min_ps(_mm256_floor_ps(index), _mm256_set1_ps(ground.highBase[axis]));
    } else {
        base = _mm256_floor_ps(index);
    }
    part = _mm256_sub_ps(index, base);
}

template <class T, bool border>
ZORBEL_AVX2_INLINE __m256 sample(const Ground<T>& ground, const Lanes& index, __m256& inside) {
    Lanes base;
    Lanes part;
    locate<T, border>(ground, 0, index.x, base.x, part.x, inside);
    locate<T, border>(ground, 1, index.y, base.y, part.y, inside);
    locate<T, border>(ground, 2, index.z, base.z, part.z, inside);
    __m256i offset = _mm256_cvtps_epi32(base.x);
    offset = _mm256_add_epi32(
        offset, _mm256_mullo_epi32(_mm256_cvtps_epi32(base.y), _mm256_set1_epi32(ground.strideY)));
    offset = _mm256_add_epi32(
        offset, _mm256_mullo_epi32(_mm256_cvtps_epi32(base.z), _mm256_set1_epi32(ground.strideZ)));
    const __m256i stepY = _mm256_set1_epi32(ground.stepY);
    const __m256i beyond = _mm256_add_epi32(offset, _mm256_set1_epi32(ground.stepZ));

    __m256 near = along<T>(ground, offset, part.x);
    const __m256 nearLower = along<T>(ground, _mm256_add_epi32(offset, stepY), part.x);
    __m256 far = along<T>(ground, beyond, part.x);
    const __m256 farLower = along<T>(ground, _mm256_add_epi32(beyond, stepY), part.x);
    near = _mm256_fmadd_ps(part.y, _mm256_sub_ps(nearLower, near), near);
    far = _mm256_fmadd_ps(part.y, _mm256_sub_ps(farLower, far), far);
    return _mm256_fmadd_ps(part.z, _mm256_sub_ps(far, near), near);
}

enum class Fold { None, Max, Min, Sum };

/// The values of eight neighbouring pixels.
template <class T, bool border, Fold fold>
ZORBEL_AVX2_INLINE __m256 through(const Ground<T>& ground, const Tile& tile, Lanes index) {
    const __m256 all = _mm256_castsi256_ps(_mm256_set1_epi32(-1));
    const __m256 nothing = _mm256_set1_ps(std::numeric_limits<float>::quiet_NaN());
    if constexpr (fold == Fold::None) {
        __m256 inside = all;
        const __m256 value = sample<T, border>(ground, index, inside);
        return border ? _mm256_blendv_ps(nothing, value, inside) : value;
    }
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const __m256 neutral = _mm256_set1_ps(
        fold == Fold::Max   ? -infinity
        : fold == Fold::Min ? infinity
                            : 0.0F);
    const __m256 one = _mm256_set1_ps(1.0F);
    const Lanes deep = broadcast(tile.deep);
    __m256 result = neutral;
    __m256 samples = _mm256_setzero_ps();
    for (int plane = 0; plane < tile.planes; ++plane) {
        const __m256 number = _mm256_set1_ps(static_cast<float>(plane));
        const Lanes at{
            _mm256_fmadd_ps(number, deep.x, index.x), _mm256_fmadd_ps(number, deep.y, index.y),
            _mm256_fmadd_ps(number, deep.z, index.z)};
        __m256 inside = all;
        __m256 value = sample<T, border>(ground, at, inside);
        if constexpr (border) {
            value = _mm256_blendv_ps(neutral, value, inside);
            samples = _mm256_add_ps(samples, _mm256_and_ps(one, inside));
        }
        if constexpr (fold == Fold::Max)
            result = _mm256_max_ps(result, value);
        else if constexpr (fold == Fold::Min)
            result = _mm256_min_ps(result, value);
        else
            result = _mm256_add_ps(result, value);
    }
    if constexpr (!border)
        samples = _mm256_set1_ps(static_cast<float>(tile.planes));
    if (fold == Fold::Sum && tile.mode == SlabMode::Average)
        result = _mm256_div_ps(result, samples);
    if constexpr (border)
        result = _mm256_blendv_ps(nothing, result, _mm256_cmp_ps(samples, one, _CMP_GE_OQ));
    return result;
}

/// Of a single plane nearly every voxel lies in memory that was not used yet. Asks for what a later row will
/// read; the other seven voxels around a sample are near those of its neighbours.
template <class T>
ZORBEL_AVX2_INLINE void prefetch(const Ground<T>& ground, const Lanes& index) {
    const __m256i offset = _mm256_add_epi32(
        _mm256_cvtps_epi32(index.x),
        _mm256_add_epi32(
            _mm256_mullo_epi32(_mm256_cvtps_epi32(index.y), _mm256_set1_epi32(ground.strideY)),
            _mm256_mullo_epi32(_mm256_cvtps_epi32(index.z), _mm256_set1_epi32(ground.strideZ))));
    alignas(32) std::int32_t offsets[lanes];
    _mm256_store_si256(reinterpret_cast<__m256i*>(offsets), offset);
    for (int lane = 0; lane < lanes; lane += 2)
        _mm_prefetch(reinterpret_cast<const char*>(ground.voxels + offsets[lane]), _MM_HINT_T0);
}

template <class T, bool border, Fold fold>
ZORBEL_AVX2 void drawWith(const VoxelGrid& grid, const Tile& tile) {
    const Ground<T> ground = groundOf<T>(grid, tile);
    const __m256 numbers = _mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7);
    const Lanes right = broadcast(tile.right);
    [[maybe_unused]] const Lanes later = broadcast(tile.down * rowsAhead);
    for (int y = 0; y < tile.height; ++y) {
        const Vector3 row = tile.first + tile.down * y - ground.base;
        const Lanes start = broadcast(row);
        float* out = tile.out + y * tile.outStride;
        for (int x = 0; x < tile.width; x += lanes) {
            const __m256 columns = _mm256_add_ps(numbers, _mm256_set1_ps(static_cast<float>(x)));
            const Lanes index{
                _mm256_fmadd_ps(columns, right.x, start.x), _mm256_fmadd_ps(columns, right.y, start.y),
                _mm256_fmadd_ps(columns, right.z, start.z)};
            if constexpr (!border && fold == Fold::None)
                prefetch<T>(
                    ground, {_mm256_add_ps(index.x, later.x), _mm256_add_ps(index.y, later.y),
                             _mm256_add_ps(index.z, later.z)});
            const __m256 values = through<T, border, fold>(ground, tile, index);
            if (x + lanes <= tile.width) {
                _mm256_storeu_ps(out + x, values);
            } else {
                const __m256 left = _mm256_set1_ps(static_cast<float>(tile.width - x));
                const __m256i kept = _mm256_castps_si256(_mm256_cmp_ps(numbers, left, _CMP_LT_OQ));
                _mm256_maskstore_ps(out + x, kept, values);
            }
        }
    }
}

template <class T, Fold fold>
void drawAnywhere(const VoxelGrid& grid, const Tile& tile) {
    if (tile.interior)
        drawWith<T, false, fold>(grid, tile);
    else
        drawWith<T, true, fold>(grid, tile);
}

template <class T>
void draw(const VoxelGrid& grid, const Tile& tile) {
    if (tile.planes == 1)
        drawAnywhere<T, Fold::None>(grid, tile);
    else if (tile.mode == SlabMode::Mip)
        drawAnywhere<T, Fold::Max>(grid, tile);
    else if (tile.mode == SlabMode::MinIp)
        drawAnywhere<T, Fold::Min>(grid, tile);
    else
        drawAnywhere<T, Fold::Sum>(grid, tile);
}

} // namespace

DrawTile vectorised(VoxelType type, const VoxelGrid& grid) {
    static const bool allowed = processorAllows();
    // Two neighbours are read at once, by offsets of 32 bits.
    const bool fits = grid.size[0] > 1 && grid.stride[0] == 1 && grid.byteLength >= 4 &&
                      grid.byteLength / bytesPerComponent(type) <
                          static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    if (!allowed || !fits)
        return nullptr;
    switch (type) {
    case VoxelType::UInt8:
        return draw<std::uint8_t>;
    case VoxelType::Int8:
        return draw<std::int8_t>;
    case VoxelType::UInt16:
        return draw<std::uint16_t>;
    case VoxelType::Int16:
        return draw<std::int16_t>;
    case VoxelType::UInt32:
        return draw<std::uint32_t>;
    case VoxelType::Int32:
        return draw<std::int32_t>;
    case VoxelType::Float32:
        break;
    }
    return draw<float>;
}

} // namespace zorbel::imaging::kernel

#else

namespace zorbel::imaging::kernel {

DrawTile vectorised(VoxelType, const VoxelGrid&) {
    return nullptr;
}

} // namespace zorbel::imaging::kernel

#endif
