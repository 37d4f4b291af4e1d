#pragma once

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/display/DisplayProperties.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/records/KeyImage.h"
#include "viewer/reading/study/StudyReading.h"
#include "viewer/reading/workspace/LayoutModel.h"
#include "viewer/reading/workspace/ReadingAction.h"
#include "viewer/workspace/ViewMode.h"

#include <QObject>
#include <QPixmap>
#include <QString>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace zorbel {

class ViewportFrame;

/// What rail and header show of a mode.
struct ModeControls {
    /// That make sense in it now.
    std::set<Tool> tools;
    std::set<ReadingAction> actions;
    QString notHere = QStringLiteral("Open a study first."); ///< why the others make none
    int markedPlane = -1;                                    ///< of the rail's planes
    bool linesShown = true;
    bool inverted = false;
    SlabModel slab;
    QString studyChip; ///< a chip without text is not shown
    QString modeChip;
    QString modeToolTip;
};

/// A picture of a viewport with all that lies over it, in device pixels, and what it shows.
struct ModeCapture {
    QPixmap picture;
    KeyImageView view;
};

/// One way of reading a series: its viewports and their layouts, the tools and actions that are possible in
/// it, and what they do. The workspace hosts the modes, shows one at a time, and knows no more of them than
/// this. What is set in a mode it keeps in the study's reading, and shows what the reading says.
/// User-interface thread.
class ReadingMode : public QObject {
    Q_OBJECT

public:
    explicit ReadingMode(ViewportSet viewports, QObject* parent = nullptr)
        : QObject(parent), layout_(std::move(viewports)) {}

    /// The host's requests go to it; the mode reads which viewport is active.
    LayoutModel& layout() { return layout_; }
    const LayoutModel& layout() const { return layout_; }

    virtual ViewMode viewMode() const = 0;
    /// In the order of layout().viewports(); the host shows them and takes ownership.
    virtual std::vector<ViewportFrame*> frames() const = 0;
    /// Of the modes that can, the host takes the one that joined last.
    virtual bool canShow(const StudySeries& series) const = 0;
    /// Shows the series that the reading shows, hung as it says but for tool, layout and framings, which the
    /// host and setFramings() apply.
    virtual void show(const std::shared_ptr<StudyReading>& reading) = 0;
    /// Lets go of reading and images.
    virtual void clear() = 0;

    virtual ModeControls controls() const = 0;
    virtual void setTool(Tool tool) = 0;
    /// What the status bar says of a tool that was chosen; empty for most.
    virtual QString toolText(Tool) const { return {}; }
    /// What is impossible in the mode does nothing.
    virtual void perform(ReadingAction action, int argument) = 0;
    virtual void setOverlaysShown(bool shown) = 0;
    /// Of views that were zoomed or moved; after they have their sizes.
    virtual void setFramings(const std::map<int, HangingProtocol::Framing>& framings) = 0;
    /// Of the active viewport, complete; nothing while it is not on the screen.
    virtual std::optional<ModeCapture> capture() = 0;

    /// The measurement lies in a viewport that is on the screen.
    virtual bool shows(const Measurement& measurement) const = 0;
    /// Goes to where it was drawn. The viewport that shows it then; nothing where that is not in what is
    /// shown.
    virtual std::optional<int> showMeasurement(const Measurement& measurement) = 0;
    /// What the viewports show and how, in their order; for diagnostics.
    virtual std::vector<DisplayProperties> displayProperties() const { return {}; }
    /// Where the reader is, LPS millimetres, in modes that know.
    virtual std::optional<imaging::Vector3> location() const { return std::nullopt; }
    virtual void goTo(const imaging::Vector3&) {}

Q_SIGNALS:
    /// All viewports have drawn what show() was given.
    void imageDrawn();
    void viewportPressed(int viewport);
    void maximiseRequested(int viewport);
    /// The viewport's own maximise button.
    void focusRequested(int viewport);
    void statusText(const QString& text);
    /// controls() has changed.
    void controlsChanged();

private:
    LayoutModel layout_;
};

} // namespace zorbel
