#pragma once

#include <QPointer>
#include <QToolBar>

namespace zorbel {

/// Below the window's toolbar: that the last session ended in a fault. It takes neither the keyboard nor the
/// place of anything, and goes with either of its buttons.
class CrashNoticeBar : public QToolBar {
    Q_OBJECT

public:
    explicit CrashNoticeBar(QWidget* parent = nullptr);

Q_SIGNALS:
    void showRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QPointer<QWidget> focusBefore_; ///< what had the keyboard before the bar's buttons
};

} // namespace zorbel
