#pragma once

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/base/ViewportLayout.h"

#include <QScrollArea>

#include <array>
#include <map>

class QComboBox;
class QGridLayout;
class QLabel;
class QSpinBox;
class QToolButton;

namespace zorbel {

class SlabModel;

/// The vertical rail of tools left of the viewports, in groups with captions. It only says what was pressed.
class ToolRail : public QScrollArea {
    Q_OBJECT

public:
    enum class Turn { Mirror, FlipVertical, Rotate180 };

    explicit ToolRail(QWidget* parent = nullptr);

    /// Marks the plane that steps and keys act on: 0 axial, 1 coronal, 2 sagittal; anything else marks none.
    void setActivePlane(int viewport);
    void setTool(Tool tool);
    void setLayoutShown(Layout layout);
    void setLinesShown(bool shown);
    void setSlab(const SlabModel& slab);
    void setInverted(bool inverted);

    /// What there is to act on.
    struct Available {
        bool image = false;
        bool planes = false;
        bool slices = false; ///< to step through
        bool grey2D = false; ///< a 2D image that can be inverted
    };
    void setAvailable(const Available& available);

Q_SIGNALS:
    void toolChosen(zorbel::Tool tool);
    void linesToggled();
    void slabToggled();
    void slabModeChosen(int mode);
    void slabCountChosen(int slices);
    void planeChosen(int viewport);
    /// −1 previous, +1 next slice.
    void stepRequested(int direction);
    void turnRequested(zorbel::ToolRail::Turn turn);
    void invertToggled();
    void fitRequested();
    void resetRequested();
    void layoutChosen(zorbel::Layout layout);
    void captureRequested();
    void findingsRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildNavigation();
    void buildPlanes();
    void buildOrientation();
    void buildDisplay();
    void buildLayouts();
    void addGroup(const QString& caption);
    QToolButton* addEntry(const QString& id, const QString& caption, const QString& toolTip);
    QToolButton* addTool(const QString& id, const QString& caption, const QString& toolTip, Tool tool);
    void place(QWidget* widget, bool wholeRow = false);

    QGridLayout* layout_ = nullptr;
    int row_ = 0;
    int column_ = 0;
    std::map<Tool, QToolButton*> tools_;
    QToolButton* lines_ = nullptr;
    QToolButton* slab_ = nullptr;
    QComboBox* slabMode_ = nullptr;
    QSpinBox* slabCount_ = nullptr;
    QLabel* slabText_ = nullptr;
    std::array<QToolButton*, 3> planes_{};
    QToolButton* previous_ = nullptr;
    QToolButton* next_ = nullptr;
    std::array<QToolButton*, 3> turns_{};
    QToolButton* fit_ = nullptr;
    QToolButton* invert_ = nullptr;
    QToolButton* reset_ = nullptr;
    QToolButton* capture_ = nullptr;
    QToolButton* findings_ = nullptr;
    std::array<QToolButton*, 4> layouts_{};
};

} // namespace zorbel
