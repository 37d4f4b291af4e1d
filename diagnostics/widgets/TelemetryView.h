#pragma once

#include "diagnostics/TelemetryDiagnostics.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QPlainTextEdit;

namespace zorbel {

/// Whether usage events are sent and where to, a switch for it, and the very events.
class TelemetryView : public QWidget {
    Q_OBJECT

public:
    explicit TelemetryView(TelemetryDiagnostics telemetry, QWidget* parent = nullptr);

    void refresh();

private:
    TelemetryDiagnostics telemetry_;
    QLabel* state_ = nullptr;
    QCheckBox* enabled_ = nullptr;
    QPlainTextEdit* events_ = nullptr;
};

} // namespace zorbel
