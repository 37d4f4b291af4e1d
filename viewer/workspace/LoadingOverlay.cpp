#include "viewer/workspace/LoadingOverlay.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace zorbel {

LoadingOverlay::LoadingOverlay(QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("loadingOverlay"));
    title_ = new QLabel(QStringLiteral("Loading study"));
    title_->setObjectName(QStringLiteral("loadingTitle"));
    title_->setWordWrap(true);
    detail_ = new QLabel(QStringLiteral("Preparing secure imaging data…"));
    detail_->setObjectName(QStringLiteral("loadingDetail"));
    detail_->setWordWrap(true);
    progress_ = new QProgressBar;
    progress_->setTextVisible(false);
    progress_->setFixedHeight(6);
    cancel_ = new QPushButton(QStringLiteral("Cancel"));
    cancel_->setObjectName(QStringLiteral("loadingCancel"));
    cancel_->setToolTip(QStringLiteral("Stop loading this study"));

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancel_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(10);
    layout->addWidget(title_);
    layout->addWidget(detail_, 1);
    layout->addWidget(progress_);
    layout->addLayout(buttons);

    connect(cancel_, &QPushButton::clicked, this, &LoadingOverlay::cancelRequested);
    parent->installEventFilter(this);
    hide();
}

void LoadingOverlay::showStage(const QString& title, const QString& detail, int done, int total) {
    title_->setText(title);
    detail_->setText(detail);
    progress_->setRange(0, total);
    progress_->setValue(done);
    if (isHidden())
        show();
}

bool LoadingOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        place();
    return QFrame::eventFilter(watched, event);
}

void LoadingOverlay::showEvent(QShowEvent* event) {
    QFrame::showEvent(event);
    place();
    raise();
}

void LoadingOverlay::place() {
    const QSize room = parentWidget()->size();
    const QSize size(std::min(460, room.width() - 24), 168);
    setGeometry(QRect(QPoint((room.width() - size.width()) / 2, (room.height() - size.height()) / 2), size));
}

} // namespace zorbel
