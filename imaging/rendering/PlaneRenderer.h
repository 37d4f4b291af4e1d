#pragma once

#include "imaging/planes/PictureSampler.h"

#include <QObject>

#include <array>
#include <memory>

namespace zorbel::imaging {

struct PlanePicture {
    PlaneFrame frame;
    PlaneValues values;
    bool coarse = false;       ///< enlarged from fewer pixels
    double milliseconds = 0.0; ///< until it was computed
};

/// Computes the pictures of one view on the threads of TilePool::shared(), so that the reader's hand never
/// waits for one. Of many requests only the newest counts. A request whose full picture would take too long
/// is answered with a coarser one first; the full one follows unless something newer is wanted. A picture
/// that is computed quickly is finished even when it is outdated: while the hand moves, something must be
/// seen to move. One that turns out to be slow is dropped. User-interface thread.
class PlaneRenderer : public QObject {
    Q_OBJECT

public:
    explicit PlaneRenderer(QObject* parent = nullptr);
    ~PlaneRenderer() override;

    /// Drops the picture. Null is no image; the earlier one is not held on return.
    void setSampler(std::shared_ptr<const PictureSampler> sampler);

    /// Leads to pictureReady(), once or, after a coarse picture, twice. Without an image nothing happens.
    void request(const PlaneFrame& frame);
    /// For the full picture, judged by those before.
    double expectedMilliseconds(const PlaneFrame& frame) const;
    /// What was asked for last.
    const PlaneFrame& requested() const { return requested_; }
    /// Computes the full picture at once and keeps it, without pictureReady().
    void renderNow(const PlaneFrame& frame);
    /// The same, for somebody else; the view's own picture stays.
    PlaneValues render(const PlaneFrame& frame) const;

    /// The newest one; null before the first.
    const PlanePicture* picture() const { return picture_.get(); }
    /// picture() is the full one of this frame.
    bool isComplete(const PlaneFrame& frame) const;

    /// How long a picture may take before a coarser one comes first.
    void setInteractiveMilliseconds(double milliseconds) { interactiveMs_ = milliseconds; }

Q_SIGNALS:
    /// picture() is a new one.
    void pictureReady();

private:
    struct Work;
    struct Link;
    enum class Quality { Interactive, Full };

    void start(const PlaneFrame& frame, Quality quality);
    void finish(const std::shared_ptr<Work>& work);
    void abandonRunning();
    void waitForAbandoned();
    void drop();
    bool isTooSlow(const Work& work) const;
    int reduction(const PlaneFrame& frame) const;
    void learn(const PlaneFrame& frame, double milliseconds);
    double& cost(const PlaneFrame& frame) { return nanosecondsASample_[frame.slab.count > 1 ? 1 : 0]; }

    std::shared_ptr<const PictureSampler> sampler_;
    std::shared_ptr<Link> link_;
    std::shared_ptr<Work> running_;
    std::shared_ptr<Work> abandoned_; ///< a tile of it may still be drawn
    std::unique_ptr<PlanePicture> picture_;
    PlaneValues spare_; ///< memory of the picture before
    PlaneFrame requested_;
    double interactiveMs_ = 30.0;
    /// As measured: of single planes, and of slabs.
    std::array<double, 2> nanosecondsASample_{5.0, 3.0};
};

} // namespace zorbel::imaging
