#include "imaging/rendering/PlaneRenderer.h"

#include "imaging/TilePool.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>

namespace zorbel::imaging {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int coarsest = 3;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// The same picture with pixels `factor` times as large, from the same upper left corner on.
PlaneFrame reduced(const PlaneFrame& frame, int factor) {
    PlaneFrame result = frame;
    result.width = (frame.width + factor - 1) / factor;
    result.height = (frame.height + factor - 1) / factor;
    result.millimetresPerPixel = frame.millimetresPerPixel * factor;
    const double right = (result.width * factor - frame.width) / 2.0 * frame.millimetresPerPixel;
    const double down = (result.height * factor - frame.height) / 2.0 * frame.millimetresPerPixel;
    result.plane = frame.plane.movedTo(frame.plane.fromPlane(right, down));
    return result;
}

double sampleCount(const PlaneFrame& frame) {
    return 1.0 * frame.width * frame.height * std::max(frame.slab.count, 1);
}

} // namespace

/// One picture on its way. Belongs to the pool's threads until it is finished.
struct PlaneRenderer::Work {
    std::shared_ptr<const PictureSampler> sampler;
    PlaneFrame asked;
    PlaneFrame drawn; ///< reduced where factor is above 1
    int factor = 1;
    Quality quality = Quality::Interactive;
    PlaneValues coarse;
    std::unique_ptr<PlanePicture> picture;
    Clock::time_point started;
    Clock::time_point begun; ///< its first tile
    std::once_flag begin;
    std::shared_ptr<TilePool::Job> job; ///< of the user-interface thread
};

/// Lets a thread of the pool reach the renderer as long as it lives.
struct PlaneRenderer::Link {
    std::mutex mutex;
    PlaneRenderer* renderer = nullptr;
};

PlaneRenderer::PlaneRenderer(QObject* parent) : QObject(parent), link_(std::make_shared<Link>()) {
    link_->renderer = this;
}

PlaneRenderer::~PlaneRenderer() {
    {
        const std::lock_guard lock(link_->mutex);
        link_->renderer = nullptr;
    }
    drop();
}

void PlaneRenderer::setSampler(std::shared_ptr<const PictureSampler> sampler) {
    drop();
    picture_.reset();
    spare_ = {};
    requested_ = {};
    sampler_ = std::move(sampler);
}

void PlaneRenderer::abandonRunning() {
    if (!running_)
        return;
    waitForAbandoned();
    TilePool::shared().abandon(running_->job);
    abandoned_ = std::move(running_);
}

void PlaneRenderer::waitForAbandoned() {
    if (!abandoned_)
        return;
    TilePool::shared().cancel(abandoned_->job);
    // It may also wait in the event loop to be finished.
    abandoned_->sampler.reset();
    abandoned_.reset();
}

void PlaneRenderer::drop() {
    abandonRunning();
    waitForAbandoned();
}

bool PlaneRenderer::isComplete(const PlaneFrame& frame) const {
    return picture_ && !picture_->coarse && picture_->frame == frame;
}

void PlaneRenderer::request(const PlaneFrame& frame) {
    if (!sampler_ || frame.width <= 0 || frame.height <= 0)
        return;
    requested_ = frame;
    if (running_ && running_->asked == frame)
        return;
    if (running_ && running_->quality == Quality::Interactive) {
        if (!isTooSlow(*running_))
            return; // Its end leads on to what is wanted then.
        cost(frame) *= 2.0;
    }
    abandonRunning();
    start(frame, Quality::Interactive);
}

/// The coarsest picture is the best that can be had, however long it takes.
bool PlaneRenderer::isTooSlow(const Work& work) const {
    return work.factor < coarsest && millisecondsSince(work.started) > 3.0 * interactiveMs_;
}

double PlaneRenderer::expectedMilliseconds(const PlaneFrame& frame) const {
    return sampleCount(frame) * nanosecondsASample_[frame.slab.count > 1 ? 1 : 0] / 1e6;
}

void PlaneRenderer::learn(const PlaneFrame& frame, double milliseconds) {
    // Few samples tell more about the threads' waking than about the samples.
    if (const double samples = sampleCount(frame); samples > 50'000.0)
        cost(frame) = 0.5 * (cost(frame) + milliseconds * 1e6 / samples);
}

int PlaneRenderer::reduction(const PlaneFrame& frame) const {
    const double expected = expectedMilliseconds(frame);
    int factor = 1;
    while (factor < coarsest && expected > interactiveMs_ * factor * factor)
        ++factor;
    return factor;
}

void PlaneRenderer::start(const PlaneFrame& frame, Quality quality) {
    const auto work = std::make_shared<Work>();
    work->sampler = sampler_;
    work->quality = quality;
    work->started = Clock::now();
    work->asked = frame;
    work->factor = quality == Quality::Full ? 1 : reduction(frame);
    work->drawn = work->factor > 1 ? reduced(frame, work->factor) : frame;
    work->picture = std::make_unique<PlanePicture>();
    work->picture->frame = frame;
    work->picture->coarse = work->factor > 1;
    work->picture->values = std::exchange(spare_, {});
    work->picture->values.resize(frame.width, frame.height);
    if (work->factor > 1)
        work->coarse.resize(work->drawn.width, work->drawn.height);

    Work* raw = work.get(); // The closures are freed before the work is.
    const auto draw = [raw](std::size_t tile) {
        std::call_once(raw->begin, [raw] { raw->begun = Clock::now(); });
        raw->sampler->sampleTile(raw->drawn, tile, raw->factor > 1 ? raw->coarse : raw->picture->values);
    };
    const auto finished = [work, link = link_] {
        if (work->factor > 1)
            enlarge(work->coarse, work->factor, work->picture->values);
        work->picture->milliseconds = millisecondsSince(work->begun);
        const std::lock_guard lock(link->mutex);
        if (PlaneRenderer* renderer = link->renderer)
            QMetaObject::invokeMethod(
                renderer, [renderer, work] { renderer->finish(work); }, Qt::QueuedConnection);
    };
    running_ = work;
    const auto urgency =
        quality == Quality::Full ? TilePool::Urgency::Refinement : TilePool::Urgency::Interactive;
    work->job = TilePool::shared().start(PictureSampler::tileCount(work->drawn), draw, finished, urgency);
}

void PlaneRenderer::finish(const std::shared_ptr<Work>& work) {
    if (work != running_)
        return; // Abandoned when it was all but done.
    running_.reset();
    waitForAbandoned();
    learn(work->drawn, work->picture->milliseconds);
    if (picture_)
        spare_ = std::move(picture_->values);
    picture_ = std::move(work->picture);
    const bool outdated = picture_->frame != requested_;
    if (outdated)
        start(requested_, Quality::Interactive);
    else if (picture_->coarse)
        start(requested_, Quality::Full);
    Q_EMIT pictureReady();
}

void PlaneRenderer::renderNow(const PlaneFrame& frame) {
    if (!sampler_)
        return;
    abandonRunning();
    requested_ = frame;
    if (isComplete(frame))
        return;
    if (!picture_)
        picture_ = std::make_unique<PlanePicture>();
    const auto begun = Clock::now();
    sampler_->sample(frame, picture_->values);
    picture_->frame = frame;
    picture_->coarse = false;
    picture_->milliseconds = millisecondsSince(begun);
    learn(frame, picture_->milliseconds);
}

PlaneValues PlaneRenderer::render(const PlaneFrame& frame) const {
    PlaneValues values;
    if (sampler_)
        sampler_->sample(frame, values);
    return values;
}

} // namespace zorbel::imaging
