#pragma once

#include <QScrollArea>

#include <array>

class QToolButton;
class QVBoxLayout;

namespace zorbel {

/// The vertical rail of tools left of the viewports, in groups with captions. It only says what was pressed.
class ToolRail : public QScrollArea {
    Q_OBJECT

public:
    explicit ToolRail(QWidget* parent = nullptr);

    /// Marks the plane that steps and keys act on: 0 axial, 1 coronal, 2 sagittal; anything else marks none.
    void setActivePlane(int viewport);
    /// Whether there are images to act on, whether they are three planes, and whether there are slices to
    /// step through.
    void setAvailable(bool hasImage, bool hasPlanes, bool hasSlices);

Q_SIGNALS:
    void planeChosen(int viewport);
    /// −1 previous, +1 next slice.
    void stepRequested(int direction);
    void fitRequested();
    void resetRequested();

private:
    void addGroup(const QString& caption);
    QToolButton* addEntry(const QString& id, const QString& caption, const QString& toolTip);

    QVBoxLayout* layout_ = nullptr;
    std::array<QToolButton*, 3> planes_{};
    QToolButton* previous_ = nullptr;
    QToolButton* next_ = nullptr;
    QToolButton* fit_ = nullptr;
    QToolButton* reset_ = nullptr;
};

} // namespace zorbel
