#pragma once

#include "base/StudyIdentity.h"
#include "imaging/Image.h"
#include "viewer/reading/base/Tool.h"
#include "viewer/reading/display/DisplayProperties.h"
#include "viewer/reading/display/VolumeDisplay.h"

#include <QObject>
#include <QPixmap>
#include <QString>

#include <memory>
#include <optional>
#include <string>

class QComboBox;
class QToolButton;

namespace zorbel {

namespace imaging {
class VolumeView;
} // namespace imaging

class ViewNotice;
class ViewportFrame;
class ViewportOverlay;

/// Shows a volume in the 3D view, with the presets, blend modes and buttons of its header. The widgets belong
/// to the workspace's layout. User-interface thread.
class VolumePane : public QObject {
    Q_OBJECT

public:
    explicit VolumePane(QObject* parent = nullptr);

    ViewportFrame* frame() const { return frame_; }
    imaging::VolumeView& view() { return *view_; }

    /// modality: of the series; it chooses the preset.
    void setImage(
        const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study,
        const std::string& modality);
    void clear();
    DisplayProperties displayProperties() const;
    void fitToView();
    void resetView();
    void setOverlaysShown(bool shown);
    /// The view has the mouse for itself, and shows which tool is waiting in the planes; nothing without an
    /// image.
    void setTool(std::optional<Tool> tool);
    /// The still picture in full quality with what lies over it; null where there is none.
    QPixmap capture();

Q_SIGNALS:
    void pressed();
    void maximiseRequested();
    void statusText(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showCursor(bool pressed);
    QComboBox* addList(const QString& objectName, const QString& toolTip);
    QToolButton* addButton(const QString& icon, const QString& objectName, const QString& toolTip);
    void show();
    void updateLetters();

    VolumeDisplay display_;
    std::optional<Tool> tool_;
    imaging::VolumeView* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* texts_ = nullptr;
    ViewNotice* notice_ = nullptr;
    QComboBox* presets_ = nullptr;
    QComboBox* blends_ = nullptr;
    QToolButton* enabled_ = nullptr;
};

} // namespace zorbel
