#pragma once

#include "api/StudyClassification.h"
#include "imaging/Image.h"

#include <QObject>

#include <memory>

class QLabel;

namespace zorbel {

namespace imaging {
class ImageView2D;
} // namespace imaging

class ViewportFrame;
class ViewportOverlay;

/// Shows a panoramic, cephalometric or other 2D image upright in the 2D view. The widgets belong to the
/// workspace's layout. User-interface thread.
class ImageController : public QObject {
    Q_OBJECT

public:
    explicit ImageController(QObject* parent = nullptr);

    ViewportFrame* frame() const { return frame_; }

    void setImage(const std::shared_ptr<const imaging::Image>& image, const StudyClassification& kind);
    void clear();
    /// Moves through the frames of an image that has several.
    void step(int frames);
    bool hasSeveralFrames() const;
    /// A panoramic image that had to be turned to stand upright.
    bool showsCorrectedPanorama() const;
    void fitToView();
    void resetView();

Q_SIGNALS:
    /// The image given to setImage() was painted.
    void imageDrawn();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void present();
    void updateTexts();

    imaging::ImageView2D* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* overlay_ = nullptr;
    QLabel* orientationChip_ = nullptr;
    QLabel* toneChip_ = nullptr;
    std::shared_ptr<const imaging::Image> image_;
    StudyClassification kind_;
    bool turnedByContent_ = false; ///< the file names no orientation
    bool awaitsFrame_ = false;
};

} // namespace zorbel
