#pragma once

#include "diagnostics/LiveLog.h"
#include "diagnostics/LogLine.h"

#include <QTimer>
#include <QWidget>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;

namespace zorbel {

/// The end of the log as it grows, or what of it passes the filter. It follows the newest line unless the
/// reader scrolled up. It looks at the log only while it is visible.
class LogView : public QWidget {
    Q_OBJECT

public:
    /// isTracing, trace: the switch of the rotation trace; may be empty.
    LogView(
        std::shared_ptr<LiveLog> tail, const std::function<bool()>& isTracing,
        std::function<void(bool)> trace, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* buildFilter();
    void takeLines();
    void noteComponent(const QString& component);
    void filterChanged();
    void append(const LogLine& line);

    std::shared_ptr<LiveLog> tail_;
    std::uint64_t next_ = 0;
    std::deque<LogLine> lines_; ///< whatever the filter
    LogFilter filter_;
    QComboBox* level_ = nullptr;
    QComboBox* component_ = nullptr;
    QLineEdit* part_ = nullptr;
    QPlainTextEdit* text_ = nullptr;
    QTimer timer_;
};

} // namespace zorbel
