#include "viewer/workspace/ViewportFrame.h"

#include "viewer/widgets/ElidedLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

namespace zorbel {

ViewportFrame::ViewportFrame(const QString& name, const QColor& colour, QWidget* view, QWidget* parent)
    : QFrame(parent), view_(view) {
    setProperty("viewport", true);
    setProperty("active", false);
    auto* bar = new QFrame;
    bar->setObjectName(QStringLiteral("viewportBar"));
    bar->setFixedHeight(26);
    bar_ = new QHBoxLayout(bar);
    bar_->setContentsMargins(8, 0, 8, 0);
    bar_->setSpacing(4);
    auto* mark = new QFrame;
    mark->setFixedSize(8, 8);
    mark->setStyleSheet(QStringLiteral("background:%1;border-radius:4px;").arg(colour.name()));
    auto* title = new QLabel(name);
    info_ = new ElidedLabel({}, Qt::AlignRight | Qt::AlignVCenter);
    info_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // gives way to the bar's controls
    info_->setObjectName(QStringLiteral("sliceLabel"));
    bar_->addWidget(mark);
    bar_->addSpacing(3);
    bar_->addWidget(title);
    bar_->addWidget(info_, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(view, 1);
    view->installEventFilter(this);
}

void ViewportFrame::setInfo(const QString& text) {
    info_->setText(text);
}

void ViewportFrame::setActive(bool active) {
    if (property("active").toBool() == active)
        return;
    setProperty("active", active);
    style()->unpolish(this); // the style sheet does not notice a changed property by itself
    style()->polish(this);
}

void ViewportFrame::setSmallestView(const QSize& size) {
    view_->setMinimumSize(size);
}

void ViewportFrame::addToBar(QWidget* widget) {
    bar_->addWidget(widget);
}

bool ViewportFrame::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::MouseButtonPress)
        Q_EMIT pressed();
    return QFrame::eventFilter(watched, event);
}

} // namespace zorbel
