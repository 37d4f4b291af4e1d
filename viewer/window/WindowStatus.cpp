#include "viewer/window/WindowStatus.h"

#include "viewer/window/StatusLine.h"

#include <QProgressBar>
#include <QToolButton>

namespace zorbel {

namespace {

constexpr int widestWarning = 420;

void say(QLabel& label, const QString& text) {
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

} // namespace

WindowStatus::WindowStatus(QWidget* parent) : QStatusBar(parent) {
    setSizeGripEnabled(false);
    line_ = new StatusLine;
    line_->setObjectName(QStringLiteral("statusText"));
    line_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    line_->setMinimumWidth(260);
    addWidget(line_, 1);
    const auto addWarning = [this](const char* name) {
        auto* label = new ElidedLabel;
        label->setObjectName(QString::fromLatin1(name));
        label->setMaximumWidth(widestWarning);
        label->hide();
        addPermanentWidget(label);
        return label;
    };
    unsaved_ = addWarning("statusUnsaved");
    unsynced_ = addWarning("statusUnsynced");
    syncReports_ = new QToolButton;
    syncReports_->setObjectName(QStringLiteral("statusSync"));
    syncReports_->setFocusPolicy(Qt::TabFocus);
    syncReports_->hide();
    addPermanentWidget(syncReports_);
    notice_ = new QLabel;
    notice_->setObjectName(QStringLiteral("statusNotice"));
    notice_->setTextFormat(Qt::PlainText);
    notice_->hide();
    addPermanentWidget(notice_);
    source_ = new ElidedLabel;
    source_->setObjectName(QStringLiteral("statusSource"));
    addPermanentWidget(source_);
    busy_ = new QProgressBar;
    busy_->setObjectName(QStringLiteral("statusBusy"));
    busy_->setRange(0, 0);
    busy_->setMaximumWidth(200);
    busy_->setTextVisible(false);
    busy_->hide();
    addPermanentWidget(busy_);
    connect(syncReports_, &QToolButton::clicked, this, [this] {
        if (retriesReports_)
            Q_EMIT retryRequested();
        else
            Q_EMIT unsyncedRequested();
    });
}

void WindowStatus::setLoading(bool loading) {
    busy_->setVisible(loading);
    line_->setBusy(loading);
}

void WindowStatus::setUnsaved(const QString& text) {
    say(*unsaved_, text);
}

void WindowStatus::setUnsynced(const QString& text, bool ofThisRun) {
    say(*unsynced_, text);
    syncReports_->setText(ofThisRun ? QStringLiteral("Retry") : QStringLiteral("Show…"));
    syncReports_->setVisible(!text.isEmpty());
    retriesReports_ = ofThisRun;
}

void WindowStatus::setNotice(const QString& text) {
    say(*notice_, text);
}

void WindowStatus::setSource(const QString& text) {
    source_->setText(text);
}

} // namespace zorbel
