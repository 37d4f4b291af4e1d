#pragma once

#include "viewer/workspace/ReadingMode.h"

#include <QScrollArea>

#include <array>
#include <map>
#include <utility>
#include <vector>

class QComboBox;
class QGridLayout;
class QLabel;
class QSpinBox;
class QToolButton;

namespace zorbel {

/// The vertical rail of tools left of the viewports, in groups with captions. It only says what was pressed.
class ToolRail : public QScrollArea {
    Q_OBJECT

public:
    explicit ToolRail(QWidget* parent = nullptr);

    /// What makes sense now, and how it stands.
    void showControls(const ModeControls& controls);
    void setTool(Tool tool);
    void setLayoutShown(Layout layout);

Q_SIGNALS:
    void actionRequested(zorbel::ReadingAction action, int argument);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setSlab(const SlabModel& slab);
    void request(QToolButton* button, ReadingAction action, int argument = 0);
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
    QToolButton* invert_ = nullptr;
    std::array<QToolButton*, 4> layouts_{};
    std::vector<std::pair<QWidget*, ReadingAction>> needs_; ///< what a control is there for
};

} // namespace zorbel
