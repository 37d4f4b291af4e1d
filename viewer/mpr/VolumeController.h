#pragma once

#include "imaging/Image.h"
#include "viewer/reading/display/VolumeDisplay.h"
#include "viewer/studies/StudyIdentity.h"

#include <QObject>
#include <QString>

#include <memory>

class QComboBox;
class QToolButton;

namespace zorbel {

namespace imaging {
class VolumeView;
} // namespace imaging

class ToolCursor;
class ViewNotice;
class ViewportFrame;
class ViewportOverlay;

/// Shows a volume in the 3D view, with the presets, blend modes and buttons of its header. The widgets belong
/// to the workspace's layout. User-interface thread.
class VolumeController : public QObject {
    Q_OBJECT

public:
    explicit VolumeController(ToolCursor& cursor, QObject* parent = nullptr);

    ViewportFrame* frame() const { return frame_; }
    imaging::VolumeView& view() { return *view_; }

    void setImage(const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study);
    void clear();
    void fitToView();
    void resetView();
    void setOverlaysShown(bool shown);

Q_SIGNALS:
    void viewportPressed();
    void maximiseRequested();
    void statusText(const QString& text);

private:
    QComboBox* addList(const QString& objectName, const QString& toolTip);
    QToolButton* addButton(const QString& icon, const QString& objectName, const QString& toolTip);
    void show();
    void updateLetters();

    VolumeDisplay display_;
    imaging::VolumeView* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* texts_ = nullptr;
    ViewNotice* notice_ = nullptr;
    QComboBox* presets_ = nullptr;
    QComboBox* blends_ = nullptr;
    QToolButton* enabled_ = nullptr;
};

} // namespace zorbel
