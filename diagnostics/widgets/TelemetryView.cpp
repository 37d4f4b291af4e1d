#include "diagnostics/widgets/TelemetryView.h"

#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <utility>

namespace zorbel {

TelemetryView::TelemetryView(TelemetryDiagnostics telemetry, QWidget* parent)
    : QWidget(parent), telemetry_(std::move(telemetry)) {
    state_ = new QLabel;
    state_->setObjectName(QStringLiteral("diagnosticsTelemetryState"));
    state_->setTextFormat(Qt::PlainText);
    state_->setWordWrap(true);
    enabled_ = new QCheckBox(QStringLiteral("Send usage events"));
    enabled_->setObjectName(QStringLiteral("diagnosticsTelemetry"));
    events_ = new QPlainTextEdit;
    events_->setObjectName(QStringLiteral("diagnosticsEvents"));
    events_->setAccessibleName(QStringLiteral("Usage events of this session"));
    events_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(6);
    layout->addWidget(enabled_);
    layout->addWidget(state_);
    layout->addWidget(events_, 1);
    connect(enabled_, &QCheckBox::toggled, this, [this](bool on) {
        if (telemetry_.setEnabled)
            telemetry_.setEnabled(on);
        refresh();
    });
    refresh();
}

void TelemetryView::refresh() {
    const bool configured = telemetry_.isConfigured && telemetry_.isConfigured();
    const bool on = configured && telemetry_.isEnabled && telemetry_.isEnabled();
    const QSignalBlocker blocker(enabled_);
    enabled_->setChecked(on);
    enabled_->setEnabled(configured && telemetry_.setEnabled);
    enabled_->setToolTip(
        configured ? QString() : QStringLiteral("ZORBEL_TELEMETRY_URL names no address to send them to"));
    state_->setText(
        configured ? QStringLiteral("Events name no patient, no user and no study. They go to %1")
                         .arg(telemetry_.endpoint ? QString::fromStdString(telemetry_.endpoint()) : QString())
                   : QStringLiteral("Nothing is sent: no address for usage events is configured."));
    QStringList lines;
    if (telemetry_.recentEvents)
        for (const TelemetryRecord& record : telemetry_.recentEvents())
            lines += (record.sent ? QStringLiteral("sent     ") : QStringLiteral("waiting  ")) +
                     QString::fromStdString(record.json);
    const QString text = lines.join(QLatin1Char('\n'));
    if (text == events_->toPlainText())
        return;
    const bool follows = events_->verticalScrollBar()->value() >= events_->verticalScrollBar()->maximum();
    const int scrolled = events_->verticalScrollBar()->value();
    events_->setPlainText(text);
    events_->verticalScrollBar()->setValue(follows ? events_->verticalScrollBar()->maximum() : scrolled);
}

} // namespace zorbel
