#pragma once

#include <QStatusBar>

class QLabel;
class QProgressBar;
class QToolButton;

namespace zorbel {

class StatusLine;

/// The window's status bar: the last message; what is not on the disk or not at the service yet; how the
/// shown image came here; whether a study is being loaded.
class WindowStatus : public QStatusBar {
    Q_OBJECT

public:
    explicit WindowStatus(QWidget* parent = nullptr);

    StatusLine& line() { return *line_; }
    void setLoading(bool loading);
    // Empty texts: nothing to say.
    void setUnsaved(const QString& text);
    /// ofThisRun: reports that a retry may sync, and not those that earlier runs left.
    void setUnsynced(const QString& text, bool ofThisRun);
    /// What the reader should know about the image's way here.
    void setNotice(const QString& text);
    void setSource(const QString& text);

Q_SIGNALS:
    void retryRequested();
    void unsyncedRequested();

private:
    StatusLine* line_ = nullptr;
    QLabel* unsaved_ = nullptr;
    QLabel* unsynced_ = nullptr; ///< Word reports
    QToolButton* syncReports_ = nullptr;
    QLabel* notice_ = nullptr;
    QLabel* source_ = nullptr;
    QProgressBar* busy_ = nullptr;
    bool retriesReports_ = false; ///< what the button beside them does
};

} // namespace zorbel
