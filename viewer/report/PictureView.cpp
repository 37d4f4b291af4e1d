#include "viewer/report/PictureView.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPixmap>
#include <QScrollBar>

namespace zorbel {

PictureView::PictureView(QWidget* parent) : QScrollArea(parent) {
    setObjectName(QStringLiteral("keyImageView"));
    setAlignment(Qt::AlignCenter);
    setFocusPolicy(Qt::NoFocus);
    label_ = new QLabel;
    label_->setObjectName(QStringLiteral("keyImagePicture"));
    label_->setAlignment(Qt::AlignCenter);
    label_->setWordWrap(true);
    setWidget(label_);
    setWidgetResizable(true);
}

void PictureView::showPicture(const QImage& picture) {
    picture_ = picture;
    scale();
}

void PictureView::showNotice(const QString& text) {
    picture_ = {};
    label_->setPixmap({});
    setWidgetResizable(true);
    label_->setText(text);
    label_->setCursor(Qt::ArrowCursor);
}

void PictureView::setFitted(bool fitted) {
    if (fitted == fitted_)
        return;
    fitted_ = fitted;
    scale();
    Q_EMIT fittedChanged(fitted);
}

void PictureView::scale() {
    if (picture_.isNull())
        return;
    const qreal ratio = devicePixelRatioF();
    // The room without scroll bars, or one of them would come and go.
    const QSize room = (QSizeF(maximumViewportSize()) * ratio).toSize();
    QImage shown = picture_;
    if (fitted_ && (picture_.width() > room.width() || picture_.height() > room.height()))
        shown = picture_.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    shown.setDevicePixelRatio(ratio);
    setWidgetResizable(false);
    label_->setText({});
    label_->setPixmap(QPixmap::fromImage(shown));
    label_->resize((QSizeF(shown.size()) / ratio).toSize());
    const bool movable =
        label_->width() > maximumViewportSize().width() || label_->height() > maximumViewportSize().height();
    label_->setCursor(movable ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void PictureView::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    if (fitted_)
        scale();
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    grabbed_ = event->pos();
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) == 0)
        return;
    const QPoint way = event->pos() - grabbed_;
    grabbed_ = event->pos();
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() - way.x());
    verticalScrollBar()->setValue(verticalScrollBar()->value() - way.y());
}

void PictureView::mouseDoubleClickEvent(QMouseEvent*) {
    if (!picture_.isNull())
        setFitted(!fitted_);
}

} // namespace zorbel
