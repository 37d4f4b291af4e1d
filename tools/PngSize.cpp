#include "tools/PngSize.h"

#include <QtEndian>

#include <limits>

#include <zlib.h>

namespace zorbel::tools {

namespace {

const QByteArray signature("\x89PNG\r\n\x1a\n", 8);

quint32 number(const QByteArray& bytes, qsizetype at) {
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

} // namespace

std::optional<PixelSize> pngSize(const QByteArray& bytes) {
    if (!bytes.startsWith(signature))
        return std::nullopt;
    std::optional<PixelSize> size;
    // A chunk is a length, a type, that many bytes, and the checksum of the latter two.
    for (qsizetype at = signature.size(); bytes.size() - at >= 12;) {
        const qsizetype length = number(bytes, at);
        if (length > bytes.size() - at - 12)
            return std::nullopt;
        const QByteArrayView chunk = QByteArrayView(bytes).sliced(at + 4, length + 4);
        const auto crc =
            crc32_z(0, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<z_size_t>(chunk.size()));
        if (crc != number(bytes, at + 8 + length))
            return std::nullopt;
        if (!size) {
            const quint32 largest = std::numeric_limits<qint32>::max();
            if (!chunk.startsWith("IHDR") || length != 13)
                return std::nullopt;
            const quint32 width = number(bytes, at + 8);
            const quint32 height = number(bytes, at + 12);
            if (width < 1 || height < 1 || width > largest || height > largest)
                return std::nullopt;
            size = PixelSize{static_cast<qint32>(width), static_cast<qint32>(height)};
        } else if (chunk.startsWith("IEND")) {
            return size;
        }
        at += length + 12;
    }
    return std::nullopt;
}

} // namespace zorbel::tools
