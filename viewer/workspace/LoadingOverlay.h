#pragma once

#include <QFrame>

class QLabel;
class QProgressBar;
class QPushButton;

namespace zorbel {

/// The frame over the viewports while a study loads. It follows its parent's size and sits in its middle.
class LoadingOverlay : public QFrame {
    Q_OBJECT

public:
    explicit LoadingOverlay(QWidget* parent);

    /// done of total: 0 of 0 where nothing is counted.
    void showStage(const QString& title, const QString& detail, int done, int total);

Q_SIGNALS:
    void cancelRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void place();

    QLabel* title_ = nullptr;
    QLabel* detail_ = nullptr;
    QProgressBar* progress_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

} // namespace zorbel
