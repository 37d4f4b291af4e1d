#pragma once

#include "viewer/reading/study/StudyReading.h"
#include "viewer/reading/workspace/ReadingAction.h"
#include "viewer/workspace/ReadingMode.h"

#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

class QStackedWidget;

namespace zorbel {

class LoadingOverlay;
class MeasureTool;
class MeasurementController;
class ToolRail;
class ViewerHeader;
class ViewportGrid;

/// The right side of the window: tool rail, header, the viewports of the current mode, and the loading
/// overlay over them. It hosts the modes of reading, shows the study's reading in the one that can, and hands
/// keys, rail and gestures to it. What is the same in all modes is here: layouts, the active viewport, the
/// active tool, measuring.
class ViewerWorkspace : public QWidget {
    Q_OBJECT

public:
    explicit ViewerWorkspace(QWidget* parent = nullptr);
    ~ViewerWorkspace() override;

    /// The mode joins the others; of those that can show a series, the last to join does. The workspace owns
    /// it.
    void addMode(std::unique_ptr<ReadingMode> mode);
    /// The mode leaves with its viewports; what it shows is closed first. Null for one that never joined.
    std::unique_ptr<ReadingMode> removeMode(const ReadingMode* mode);
    /// The one that shows something; null while none does.
    const ReadingMode* mode() const { return mode_; }
    Tool tool() const { return tool_; }
    ViewMode viewMode() const { return mode_ ? mode_->viewMode() : ViewMode::None; }

    /// Shows the series that the reading shows, hung as it says. False where no mode can.
    bool show(const std::shared_ptr<StudyReading>& reading);
    /// Back to "no study"; lets go of reading and images.
    void reset();

    LoadingOverlay& loadingOverlay() { return *overlay_; }
    ViewerHeader& header() { return *header_; }
    MeasurementController& measurements() { return *measurements_; }
    MeasureTool& measureTool() { return *measureTool_; }
    /// Shows a measurement where it was drawn.
    void jumpToMeasurement(int id);
    /// Where the reader is, LPS millimetres; nothing where the mode has no such place.
    std::optional<imaging::Vector3> location() const;
    void goTo(const imaging::Vector3& point);
    /// Nothing while the viewport is not on the screen.
    std::optional<ModeCapture> captureActiveViewport();

    /// Does what is asked for; what makes no sense in the current mode does nothing.
    void perform(ReadingAction action, int argument);

Q_SIGNALS:
    /// What was given to show() is on the screen.
    void imageDrawn();
    void statusText(const QString& text);
    void shortcutSheetRequested();
    void captureRequested();
    void findingsRequested();
    void keyImagesRequested();

private:
    /// A mode and its page of viewports.
    struct Hosted {
        std::unique_ptr<ReadingMode> mode;
        ViewportGrid* grid = nullptr;
    };

    QWidget* buildEmptyPage();
    void connectMode(ReadingMode* mode);
    ReadingMode* modeFor(const StudySeries& series) const;
    ViewportGrid* gridOf(const ReadingMode* mode) const;
    void enter(ReadingMode* mode);
    void showHeader();
    void showControls();
    void setTool(Tool tool);
    void applyTool(Tool tool);
    void applyChange(const LayoutChange& change);
    void toggleOverlays();

    std::vector<Hosted> modes_;
    ReadingMode* mode_ = nullptr;
    ViewportGrid* grid_ = nullptr; ///< of the mode
    std::shared_ptr<StudyReading> reading_;
    Tool tool_ = Tool::Crosshair; ///< active now
    bool overlaysShown_ = true;
    MeasurementController* measurements_ = nullptr;
    std::unique_ptr<MeasureTool> measureTool_;
    ToolRail* rail_ = nullptr;
    ViewerHeader* header_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QWidget* emptyPage_ = nullptr;
    LoadingOverlay* overlay_ = nullptr;
};

} // namespace zorbel
