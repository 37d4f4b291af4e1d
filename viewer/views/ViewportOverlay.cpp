#include "viewer/views/ViewportOverlay.h"

#include <QEvent>
#include <QPainter>

namespace zorbel {

namespace {

constexpr int margin = 10;

/// Light text with a dark rim, readable on white film and on air.
void drawText(QPainter& painter, const QRect& area, int alignment, const QString& text) {
    painter.setPen(QColor(0, 0, 0, 190));
    for (int x = -2; x <= 2; ++x)
        for (int y = -2; y <= 2; ++y)
            if (x * x + y * y <= 5 && (x != 0 || y != 0))
                painter.drawText(area.translated(x, y), alignment, text);
    painter.setPen(QColor(0xF1, 0xF7, 0xFC));
    painter.drawText(area, alignment, text);
}

} // namespace

ViewportOverlay::ViewportOverlay(QWidget* view) : QWidget(view) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setStyleSheet(QStringLiteral("background:transparent;"));
    view->installEventFilter(this);
    resize(view->size());
    raise();
}

void ViewportOverlay::setCorner(Corner corner, const QStringList& lines) {
    if (corners_[corner] == lines)
        return;
    corners_[corner] = lines;
    update();
}

void ViewportOverlay::setLetters(const imaging::OrientationLabels& letters) {
    if (letters_ == letters)
        return;
    letters_ = letters;
    update();
}

void ViewportOverlay::clear() {
    for (auto& corner : corners_)
        corner.clear();
    letters_ = {};
    update();
}

bool ViewportOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        resize(parentWidget()->size());
    return QWidget::eventFilter(watched, event);
}

void ViewportOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QRect area = rect().adjusted(margin, margin - 2, -margin, 2 - margin);
    QFont text = font();
    text.setPixelSize(12);
    painter.setFont(text);
    const QFontMetrics metrics(text);
    constexpr int alignments[]{
        Qt::AlignLeft | Qt::AlignTop, Qt::AlignRight | Qt::AlignTop, Qt::AlignLeft | Qt::AlignBottom,
        Qt::AlignRight | Qt::AlignBottom};
    for (int corner = 0; corner < 4; ++corner) {
        QStringList lines;
        for (const QString& line : corners_[corner])
            lines += metrics.elidedText(line, Qt::ElideRight, area.width() / 2 - margin);
        if (!lines.isEmpty())
            drawText(painter, area, alignments[corner], lines.join(QLatin1Char('\n')));
    }

    QFont letter = font();
    letter.setPixelSize(16);
    letter.setBold(true);
    painter.setFont(letter);
    const auto drawLetters = [&](const std::string& letters, int alignment) {
        if (!letters.empty())
            drawText(painter, area, alignment, QString::fromStdString(letters));
    };
    drawLetters(letters_.left, Qt::AlignLeft | Qt::AlignVCenter);
    drawLetters(letters_.right, Qt::AlignRight | Qt::AlignVCenter);
    drawLetters(letters_.top, Qt::AlignHCenter | Qt::AlignTop);
    drawLetters(letters_.bottom, Qt::AlignHCenter | Qt::AlignBottom);
}

} // namespace zorbel
