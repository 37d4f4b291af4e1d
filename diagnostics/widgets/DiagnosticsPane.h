#pragma once

#include "diagnostics/DiagnosticsSources.h"
#include "diagnostics/LiveLog.h"
#include "diagnostics/SupportBundle.h"
#include "diagnostics/TelemetryDiagnostics.h"

#include <QDockWidget>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>

class QLabel;
class QTabWidget;
class QTextEdit;

namespace zorbel {

class CrashDumpsView;
class LogView;
class TelemetryView;

/// A switch of the program.
struct DiagnosticsSwitch {
    std::function<bool()> isOn{};
    std::function<void(bool)> set{};
};

/// What the pane is given to show.
struct DiagnosticsMeans {
    DiagnosticsSources sources;
    std::shared_ptr<LiveLog> log;
    TelemetryDiagnostics telemetry;
    DiagnosticsSwitch rotationTrace;
    CrashDumps crashDumps{{}, {}};
    /// What a support bundle is made of, but for the report.
    std::function<SupportBundleSources()> bundle;
};

/// What support asks for first: sections of facts, the log as it grows, the telemetry's events, what faults
/// left behind, and the bundle of all that. It looks at nothing while it is hidden. The keys that are pressed
/// in it are its own; Esc gives them back. Beside views that would become too small for it, it is a window
/// of its own. User-interface thread.
class DiagnosticsPane : public QDockWidget {
    Q_OBJECT

public:
    explicit DiagnosticsPane(DiagnosticsMeans means, QWidget* parent = nullptr);

    /// Shows it and gives it the keyboard, or hides it.
    void toggle();
    /// Takes all anew, where it is visible.
    void refresh();

public Q_SLOTS:
    /// Shows a file that a fault left behind.
    void showCrashDump(const QString& path);

Q_SIGNALS:
    void visibleChanged(bool visible);
    /// The keyboard is the viewports' again.
    void left();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildButtons();
    void findRoom();
    void showReport(const DiagnosticsReport& report);
    SupportBundleSources bundleSources() const;
    void copy();
    void exportBundle();

    DiagnosticsMeans means_;
    QTabWidget* pages_ = nullptr;
    QTextEdit* report_ = nullptr;
    LogView* log_ = nullptr;
    TelemetryView* telemetry_ = nullptr;
    CrashDumpsView* crashes_ = nullptr;
    QLabel* said_ = nullptr;
    QTimer timer_;
    QString shown_;
    bool collecting_ = false;
    bool floatsForRoom_ = false; ///< and not because the user wanted it
};

} // namespace zorbel
