#pragma once

#include "imaging/Image.h"

#include <bit>
#include <cstdint>
#include <string>

namespace zorbel::test {

/// FNV-1a over the dimensions and every value of an image, as text.
inline std::string imageDigest(const imaging::Image& image) {
    std::uint64_t digest = 14695981039346656037U;
    const auto add = [&digest](std::uint64_t number) { digest = (digest ^ number) * 1099511628211U; };
    const auto& [columns, rows, slices] = image.geometry().dimensions();
    for (const int dimension : {columns, rows, slices})
        add(static_cast<std::uint64_t>(dimension));
    for (int slice = 0; slice < slices; ++slice)
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
                add(std::bit_cast<std::uint64_t>(static_cast<double>(image.valueAt(column, row, slice))));
    return std::to_string(digest);
}

} // namespace zorbel::test
