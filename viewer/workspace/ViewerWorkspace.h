#pragma once

#include "cache/StudyClassification.h"
#include "imaging/Image.h"
#include "viewer/reading/base/Tool.h"
#include "viewer/reading/records/KeyImage.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/reading/state/ReadingPosition.h"
#include "viewer/reading/workspace/LayoutModel.h"
#include "viewer/reading/workspace/ShortcutTable.h"
#include "viewer/studies/StudyIdentity.h"
#include "viewer/workspace/ToolRail.h"
#include "viewer/workspace/ViewMode.h"

#include <QPixmap>
#include <QWidget>

#include <memory>
#include <optional>

class QStackedWidget;

namespace zorbel {

class ImageController;
class LoadingOverlay;
class MeasurementController;
class MprController;
class ToolCursor;
class ViewerHeader;
class ViewportGrid;
class VolumeController;

/// The right side of the window: tool rail, header, the viewports of the current mode, and the loading
/// overlay over them. Keys, rail and gestures all come to perform() or to the slots beside it.
class ViewerWorkspace : public QWidget {
    Q_OBJECT

public:
    explicit ViewerWorkspace(QWidget* parent = nullptr);
    ~ViewerWorkspace() override;

    ViewMode viewMode() const { return mode_; }

    void showVolume(const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image);
    void showImage(
        const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image,
        const StudyClassification& kind);
    /// Back to "no study"; lets go of the images.
    void reset();

    LoadingOverlay& loadingOverlay() { return *overlay_; }
    MprController& mpr() { return *mpr_; }
    MeasurementController& measurements() { return *measurements_; }
    /// Shows a measurement where it was drawn.
    void jumpToMeasurement(int id);
    const LayoutModel& layout() const { return layout_; }
    Tool tool() const { return tool_; }

    /// How the study hangs now, and hanging it so.
    HangingProtocol hangingProtocol() const;
    void applyHangingProtocol(const HangingProtocol& hanging);
    /// Crosshair and planes (no study named); only of a volume.
    std::optional<ReadingPosition> readingPosition() const;
    void applyReadingPosition(const ReadingPosition& position);
    /// A picture of the active viewport with all that lies over it, in device pixels, and what it shows.
    struct Capture {
        QPixmap picture;
        KeyImageView view;
    };
    /// Nothing while the viewport is not on the screen.
    std::optional<Capture> captureActiveViewport();

    /// Does what a key asks for; what makes no sense in the current mode does nothing.
    void perform(ShortcutAction action, int argument);

Q_SIGNALS:
    /// The image given to showVolume() or showImage() is on the screen.
    void imageDrawn();
    void statusText(const QString& text);
    void shortcutSheetRequested();
    void captureRequested();
    void findingsRequested();
    /// Crosshair or planes moved.
    void positionChanged();
    /// Layout, window, slab or tool changed.
    void hangingChanged();

private:
    QWidget* buildEmptyPage();
    void connectRail();
    void connectViews();
    void setMode(ViewMode mode, const StudyIdentity& study);
    void beginStudy(const StudyIdentity& study);
    void setTool(Tool tool);
    void setActiveViewport(int viewport);
    void applyChange(const LayoutChange& change);
    void setLayout(Layout layout);
    void step(double slices);
    void fitToView();
    void resetView();
    void toggleLines();
    void toggleOverlays();
    void toggleSlab();
    void changeSlab(int steps);
    void showSlabStatus();
    void applyPreset(int index);
    void turnImage(ToolRail::Turn turn);
    void toggleInverted();
    void onImageStateChanged();
    bool hasVolume() const { return mode_ == ViewMode::Mpr; }
    bool hasImage() const { return mode_ == ViewMode::TwoD; }

    ViewMode mode_ = ViewMode::None;
    QString studyInstanceUID_;
    LayoutModel layout_;
    Tool tool_ = Tool::Crosshair;
    bool overlaysShown_ = true;
    ToolCursor* cursor_ = nullptr;
    MeasurementController* measurements_ = nullptr;
    MprController* mpr_ = nullptr;
    VolumeController* volume_ = nullptr;
    ImageController* image_ = nullptr;
    ToolRail* rail_ = nullptr;
    ViewerHeader* header_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    ViewportGrid* grid_ = nullptr;
    LoadingOverlay* overlay_ = nullptr;
};

} // namespace zorbel
