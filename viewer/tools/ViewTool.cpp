#include "viewer/tools/ViewTool.h"

#include "resources/Resources.h"

#include <QPainter>
#include <QPixmap>

namespace zorbel {

namespace {

/// The tool's icon with a dark rim, so that it shows on white bone as well.
QCursor iconCursor(const QString& id, double pixelRatio) {
    constexpr int side = 24;
    const QPixmap icon = toolIcon(id).pixmap(QSize(side, side), pixelRatio);
    QPixmap rim = icon;
    {
        QPainter painter(&rim);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(rim.rect(), QColor(0x04, 0x14, 0x26));
    }
    constexpr int margin = 2;
    QPixmap cursor(QSizeF(side + 2 * margin, side + 2 * margin).toSize() * pixelRatio);
    cursor.setDevicePixelRatio(pixelRatio);
    cursor.fill(Qt::transparent);
    QPainter painter(&cursor);
    for (const QPoint& shift : {QPoint(-1, 0), QPoint(1, 0), QPoint(0, -1), QPoint(0, 1)})
        painter.drawPixmap(QPoint(margin, margin) + shift, rim);
    painter.drawPixmap(QPoint(margin, margin), icon);
    painter.end();
    return QCursor(cursor, side / 2 + margin, side / 2 + margin);
}

} // namespace

QCursor ViewTool::cursorOf(Tool tool, bool pressed, double pixelRatio) {
    switch (tool) {
    case Tool::Pan:
        return pressed ? Qt::ClosedHandCursor : Qt::OpenHandCursor;
    case Tool::WindowLevel:
        return iconCursor(QStringLiteral("window-level"), pixelRatio);
    case Tool::Crosshair:
        return iconCursor(QStringLiteral("crosshair"), pixelRatio);
    case Tool::Scroll:
        return iconCursor(QStringLiteral("scroll"), pixelRatio);
    case Tool::Zoom:
        return iconCursor(QStringLiteral("zoom"), pixelRatio);
    case Tool::Rotate:
        return iconCursor(QStringLiteral("rotate"), pixelRatio);
    default:
        return Qt::CrossCursor;
    }
}

} // namespace zorbel
