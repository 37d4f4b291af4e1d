#pragma once

#include <QColor>
#include <QFrame>

class QHBoxLayout;
class QLabel;

namespace zorbel {

/// A viewport's frame: a narrow bar with a name and a changing text, and the view below.
class ViewportFrame : public QFrame {
    Q_OBJECT

public:
    /// Takes ownership of the view. colour: marks the plane.
    ViewportFrame(const QString& name, const QColor& colour, QWidget* view, QWidget* parent = nullptr);

    void setInfo(const QString& text);
    void setActive(bool active);
    /// The view's minimum size, without the bar.
    void setSmallestView(const QSize& size);
    /// Adds a widget at the bar's right end, which takes ownership.
    void addToBar(QWidget* widget);

Q_SIGNALS:
    /// A mouse button went down anywhere in the view.
    void pressed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QHBoxLayout* bar_ = nullptr;
    QLabel* info_ = nullptr;
    QWidget* view_ = nullptr;
};

} // namespace zorbel
