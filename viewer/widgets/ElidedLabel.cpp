#include "viewer/widgets/ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace zorbel {

ElidedLabel::ElidedLabel(const QString& text, Qt::Alignment alignment, QWidget* parent)
    : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setAlignment(alignment);
}

QSize ElidedLabel::minimumSizeHint() const {
    constexpr int letters = 6;
    const QSize whole = QLabel::minimumSizeHint();
    return {std::min(whole.width(), letters * fontMetrics().averageCharWidth()), whole.height()};
}

QString ElidedLabel::shownText() const {
    QString line = text();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return fontMetrics().elidedText(line, Qt::ElideRight, contentsRect().width());
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || fontMetrics().horizontalAdvance(text()) <= contentsRect().width())
        return QLabel::event(event);
    // Escaped, a name that looks like markup is still shown as it is.
    QToolTip::showText(
        static_cast<QHelpEvent*>(event)->globalPos(), QStringLiteral("<p>%1</p>").arg(text().toHtmlEscaped()),
        this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(
        &painter, contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(), shownText(),
        foregroundRole());
}

} // namespace zorbel
