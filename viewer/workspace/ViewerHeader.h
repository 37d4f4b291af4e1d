#pragma once

#include "viewer/report/WordReportChip.h"

#include <QFrame>

class QLabel;

namespace zorbel {

/// The strip above the viewports: whose study is shown, and how.
class ViewerHeader : public QFrame {
    Q_OBJECT

public:
    explicit ViewerHeader(QWidget* parent = nullptr);

    void setTitle(const QString& title);
    void setSubtitle(const QString& subtitle, const QString& toolTip);
    /// A chip is hidden while its text is empty.
    void setStudyChip(const QString& text);
    void setModeChip(const QString& text, const QString& toolTip);
    /// The layout of the planes, by name.
    void setLayoutChip(const QString& text);
    /// How the active Word report stands; no chip without one.
    void setReportChip(const QString& text, WordReportChip::State state, const QString& toolTip);

Q_SIGNALS:
    void reportChipClicked();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void showLayoutChip();

    QLabel* title_ = nullptr;
    QLabel* subtitle_ = nullptr;
    QLabel* studyChip_ = nullptr;
    QLabel* modeChip_ = nullptr;
    QLabel* layoutChip_ = nullptr;
    WordReportChip* reportChip_ = nullptr;
};

} // namespace zorbel
