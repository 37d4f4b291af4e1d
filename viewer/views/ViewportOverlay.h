#pragma once

#include "imaging/planes/OrientationLabels.h"

#include <QStringList>
#include <QWidget>

namespace zorbel {

/// The texts over a viewport: up to four corners and the orientation letters at the middle of the edges.
/// Fills the view it lies on, lets the mouse through and paints nothing else.
class ViewportOverlay : public QWidget {
    Q_OBJECT

public:
    enum Corner { TopLeft, TopRight, BottomLeft, BottomRight };

    explicit ViewportOverlay(QWidget* view);

    void setCorner(Corner corner, const QStringList& lines);
    const QStringList& corner(Corner corner) const { return corners_[corner]; }
    void setLetters(const imaging::OrientationLabels& letters);
    const imaging::OrientationLabels& letters() const { return letters_; }
    void clear();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QStringList corners_[4];
    imaging::OrientationLabels letters_;
};

} // namespace zorbel
