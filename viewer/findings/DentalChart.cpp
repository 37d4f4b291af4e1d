#include "viewer/findings/DentalChart.h"

#include "viewer/reading/records/ToothChart.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>
#include <array>
#include <span>

namespace zorbel {

namespace {

constexpr double cellWidth = 27.0;
constexpr double cellHeight = 44.0;
constexpr double midlineGap = 10.0;
constexpr double rowGap = 6.0;
constexpr double margin = 6.0;
constexpr double sideLabel = 16.0;
constexpr int columns = 16;

/// The rows from top to bottom: the upper teeth above the lower ones, the primary within the permanent as in
/// the jaw.
std::array<std::span<const int>, 4> rows() {
    return {
        std::span<const int>(ToothChart::upperPermanent), std::span<const int>(ToothChart::upperPrimary),
        std::span<const int>(ToothChart::lowerPrimary), std::span<const int>(ToothChart::lowerPermanent)};
}

bool isUpper(std::size_t row) {
    return row < 2;
}

QRectF cell(std::size_t row, std::size_t index) {
    const auto count = static_cast<double>(rows()[row].size());
    const double column = (columns - count) / 2.0 + static_cast<double>(index);
    const double gap = static_cast<double>(index) >= count / 2.0 ? midlineGap : 0.0;
    return {
        margin + sideLabel + column * cellWidth + gap,
        margin + static_cast<double>(row) * (cellHeight + rowGap), cellWidth, cellHeight};
}

/// Crown towards the bite, roots away from it; a molar is wider than an incisor.
QPainterPath toothShape(const QRectF& area, int place, bool upper) {
    const bool molar = place >= 4;
    const double width = molar ? 18.0 : place == 3 ? 13.0 : 12.0;
    const double crown = 12.0;
    const double root = place == 3 ? 15.0 : 12.0;
    QPainterPath path;
    path.moveTo(-width / 2, 0);
    path.quadTo(-width / 2 - 1.5, crown / 2, -width / 2 + 2, crown);
    if (molar) {
        path.quadTo(-width / 2 + 3, crown + root, -width / 4, crown + root);
        path.quadTo(-1, crown + root * 0.7, 0, crown + 3);
        path.quadTo(1, crown + root * 0.7, width / 4, crown + root);
        path.quadTo(width / 2 - 3, crown + root, width / 2 - 2, crown);
    } else {
        path.quadTo(-2, crown + root, 0, crown + root);
        path.quadTo(2, crown + root, width / 2 - 2, crown);
    }
    path.quadTo(width / 2 + 1.5, crown / 2, width / 2, 0);
    path.quadTo(width / 4, 2.5, 0, 1);
    path.quadTo(-width / 4, 2.5, -width / 2, 0);
    QTransform place2D;
    // The number stands at the bite's side of the roots' end.
    place2D.translate(area.center().x(), upper ? area.bottom() - 2 : area.top() + 2);
    if (upper)
        place2D.scale(1, -1);
    return place2D.map(path);
}

} // namespace

DentalChart::DentalChart(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("dentalChart"));
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setFixedSize(sizeHint());
}

QSize DentalChart::sizeHint() const {
    return QSizeF(
               2 * (margin + sideLabel) + columns * cellWidth + midlineGap,
               2 * margin + 4 * cellHeight + 3 * rowGap)
        .toSize();
}

void DentalChart::setTooth(std::optional<FdiTooth> tooth) {
    tooth_ = tooth;
    update();
}

void DentalChart::setMarked(const std::set<int>& codes) {
    marked_ = codes;
    update();
}

QRectF DentalChart::cellOf(int code) const {
    const auto all = rows();
    for (std::size_t row = 0; row < all.size(); ++row)
        for (std::size_t index = 0; index < all[row].size(); ++index)
            if (all[row][index] == code)
                return cell(row, index);
    return {};
}

int DentalChart::codeAt(const QPointF& position) const {
    const auto all = rows();
    for (std::size_t row = 0; row < all.size(); ++row)
        for (std::size_t index = 0; index < all[row].size(); ++index)
            if (cell(row, index).contains(position))
                return all[row][index];
    return 0;
}

void DentalChart::choose(int code) {
    const auto tooth = FdiTooth::fromCode(code);
    if (!tooth)
        return;
    setTooth(tooth);
    Q_EMIT toothChosen(*tooth);
}

bool DentalChart::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const auto tooth = FdiTooth::fromCode(codeAt(help->pos()));
        QToolTip::showText(
            help->globalPos(), tooth ? QString::fromStdString(tooth->siteLabel()) : QString(), this);
        return true;
    }
    return QWidget::event(event);
}

void DentalChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), QColor(0xFF, 0xFF, 0xFF));
    QFont numbers = font();
    numbers.setPixelSize(10);
    painter.setFont(numbers);
    const auto all = rows();
    for (std::size_t row = 0; row < all.size(); ++row)
        for (std::size_t index = 0; index < all[row].size(); ++index) {
            const int code = all[row][index];
            const QRectF area = cell(row, index);
            const bool chosen = tooth_ && tooth_->code() == code;
            if (chosen || code == hovered_) {
                painter.setPen(Qt::NoPen);
                painter.setBrush(chosen ? QColor(0x00, 0x2B, 0x5B) : QColor(0xDF, 0xF4, 0xFA));
                painter.drawRoundedRect(area.adjusted(0.5, 0, -0.5, 0), 5, 5);
            }
            const bool marked = marked_.count(code) > 0;
            painter.setPen(QPen(chosen ? QColor(0xFF, 0xFF, 0xFF) : QColor(0x47, 0x55, 0x69), 1.2));
            painter.setBrush(marked ? QColor(0xFD, 0xE6, 0x8A) : QColor(0xF8, 0xFA, 0xFC));
            painter.drawPath(toothShape(area, code % 10, isUpper(row)));
            const QRectF label = isUpper(row) ? QRectF(area.left(), area.top() + 1, area.width(), 13)
                                              : QRectF(area.left(), area.bottom() - 14, area.width(), 13);
            painter.setPen(chosen ? QColor(0xFF, 0xFF, 0xFF) : QColor(0x33, 0x41, 0x55));
            painter.drawText(label, Qt::AlignCenter, QString::number(code));
        }
    const double middle = width() / 2.0;
    painter.setPen(QPen(QColor(0xCB, 0xD5, 0xE1), 1, Qt::DashLine));
    painter.drawLine(QPointF(middle, margin), QPointF(middle, height() - margin));
    QFont letters = font();
    letters.setBold(true);
    painter.setFont(letters);
    painter.setPen(QColor(0x00, 0x2B, 0x5B));
    painter.drawText(QRectF(2, 0, sideLabel, height()), Qt::AlignCenter, QStringLiteral("R"));
    painter.drawText(
        QRectF(width() - sideLabel - 2, 0, sideLabel, height()), Qt::AlignCenter, QStringLiteral("L"));
    if (hasFocus()) {
        painter.setPen(QPen(QColor(0x18, 0xB6, 0xD9), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

void DentalChart::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        choose(codeAt(event->position()));
}

void DentalChart::mouseMoveEvent(QMouseEvent* event) {
    hovered_ = codeAt(event->position());
    update();
}

void DentalChart::leaveEvent(QEvent* event) {
    hovered_ = 0;
    update();
    QWidget::leaveEvent(event);
}

void DentalChart::keyPressEvent(QKeyEvent* event) {
    const bool along = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    const bool across = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (!along && !across) {
        QWidget::keyPressEvent(event);
        return;
    }
    const QRectF from = cellOf(tooth_ ? tooth_->code() : 11);
    const double step = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up ? -1.0 : 1.0;
    QPointF to = from.center();
    if (along)
        to.rx() +=
            step * (cellWidth + (std::abs(from.center().x() + step * cellWidth - width() / 2.0) < cellWidth
                                     ? midlineGap / 2
                                     : 0.0));
    else
        to.ry() += step * (cellHeight + rowGap);
    choose(tooth_ ? codeAt(to) : 11);
}

} // namespace zorbel
