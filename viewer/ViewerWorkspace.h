#pragma once

#include "api/StudyClassification.h"
#include "imaging/Image.h"
#include "viewer/StudyIdentity.h"
#include "viewer/ViewMode.h"

#include <QWidget>

#include <memory>

class QStackedWidget;

namespace zorbel {

class ImageController;
class LoadingOverlay;
class MprController;
class ToolRail;
class ViewerHeader;

/// The right side of the window: tool rail, header, the viewports of the current mode, and the loading
/// overlay over them.
class ViewerWorkspace : public QWidget {
    Q_OBJECT

public:
    explicit ViewerWorkspace(QWidget* parent = nullptr);

    ViewMode viewMode() const { return mode_; }

    void showVolume(const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image);
    void showImage(
        const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image,
        const StudyClassification& kind);
    /// Back to "no study"; lets go of the images.
    void reset();

    LoadingOverlay& loadingOverlay() { return *overlay_; }
    MprController& mpr() { return *mpr_; }

    void step(double slices);
    void fitToView();
    void resetView();

Q_SIGNALS:
    /// The image given to showVolume() or showImage() is on the screen.
    void imageDrawn();

private:
    QWidget* buildGrid();
    QWidget* buildEmptyPage();
    void setMode(ViewMode mode, const StudyIdentity& study);

    ViewMode mode_ = ViewMode::None;
    MprController* mpr_ = nullptr;
    ImageController* image_ = nullptr;
    ToolRail* rail_ = nullptr;
    ViewerHeader* header_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    LoadingOverlay* overlay_ = nullptr;
};

} // namespace zorbel
