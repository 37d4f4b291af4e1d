#pragma once

#include <QByteArray>

#include <optional>

namespace zorbel::tools {

struct PixelSize {
    qint32 width = 0;
    qint32 height = 0;
};

/// Of a PNG file whose chunks are all there with their checksums; its pixels are not decoded.
std::optional<PixelSize> pngSize(const QByteArray& bytes);

} // namespace zorbel::tools
