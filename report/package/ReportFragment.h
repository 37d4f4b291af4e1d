#pragma once

#include "report/package/BodyPlace.h"
#include "report/package/ReportPacket.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace zorbel {

/// English Metric Units, 914400 to the inch, at 96 pixels to the inch and at most six inches wide.
struct DrawingSize {
    qint64 width = 0;
    qint64 height = 0;
};

/// Empty for a picture that comes to nothing in one direction.
std::optional<DrawingSize> drawingSize(qint32 pixelWidth, qint32 pixelHeight);

/// A key image as the document refers to it.
struct PlacedImage {
    const ReportPacket::KeyImage* image = nullptr;
    DrawingSize size;
    quint64 relationship = 0; ///< the number behind "rId"
    quint64 drawing = 0;      ///< the drawing's id
    QByteArray fileName;      ///< in the media folder
};

/// For the body of a document, in UTF-8: headings, paragraphs, tables and drawings of all that the packet
/// holds.
QByteArray reportFragment(
    const ReportPacket& packet, const std::vector<PlacedImage>& images, const WordDialect& dialect);

} // namespace zorbel
