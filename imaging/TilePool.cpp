#include "imaging/TilePool.h"

#include "platform/threads/StackGuard.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace zorbel::imaging {

/// All but the two functions is guarded by the pool's mutex.
class TilePool::Job {
public:
    Job(std::size_t tiles, DrawTile drawTile, std::function<void()> whenFinished, Urgency urgent)
        : draw(std::move(drawTile)), finished(std::move(whenFinished)), tileCount(tiles), urgency(urgent) {}

    DrawTile draw;
    std::function<void()> finished;
    std::size_t tileCount;
    Urgency urgency;
    std::size_t next = 0;    ///< the first tile that nobody has begun
    std::size_t drawing = 0; ///< tiles being drawn
    bool cancelled = false;
    bool ending = false; ///< nothing is left to draw
    bool ended = false;
};

TilePool& TilePool::shared() {
    static TilePool pool(std::max(std::thread::hardware_concurrency(), 1U));
    return pool;
}

TilePool::TilePool(unsigned threads) {
    try {
        for (unsigned thread = 0; thread < threads; ++thread)
            threads_.emplace_back([this] {
                guardThreadStack();
                work();
            });
    } catch (const std::system_error&) {
        // No further thread to be had: those that run do it all.
    }
}

TilePool::~TilePool() {
    {
        const Lock lock(mutex_);
        closing_ = true;
    }
    wake_.notify_all();
}

std::shared_ptr<TilePool::Job>
TilePool::start(std::size_t tiles, DrawTile draw, std::function<void()> finished, Urgency urgency) {
    auto job = std::make_shared<Job>(tiles, std::move(draw), std::move(finished), urgency);
    Lock lock(mutex_);
    if (threads_.empty() || tiles == 0) {
        drawAll(lock, job);
    } else {
        enqueue(job);
        wake_.notify_all();
    }
    return job;
}

void TilePool::run(std::size_t tiles, DrawTile draw) {
    const auto job = std::make_shared<Job>(tiles, std::move(draw), nullptr, Urgency::Immediate);
    Lock lock(mutex_);
    if (tiles > 1) {
        enqueue(job);
        wake_.notify_all();
    }
    drawAll(lock, job);
    ended_.wait(lock, [&] { return job->ended; });
}

void TilePool::cancel(const std::shared_ptr<Job>& job) {
    if (!job)
        return;
    Lock lock(mutex_);
    withdraw(lock, job);
    ended_.wait(lock, [&] { return job->ended; });
}

void TilePool::abandon(const std::shared_ptr<Job>& job) {
    if (!job)
        return;
    Lock lock(mutex_);
    withdraw(lock, job);
}

void TilePool::withdraw(Lock& lock, const std::shared_ptr<Job>& job) {
    job->cancelled = true;
    std::erase(jobs_, job);
    if (job->drawing == 0 && !job->ending)
        end(lock, job);
}

void TilePool::work() {
    Lock lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return closing_ || !jobs_.empty(); });
        if (closing_)
            return;
        const std::shared_ptr<Job> job = jobs_.front();
        drawOne(lock, job);
    }
}

void TilePool::enqueue(const std::shared_ptr<Job>& job) {
    const auto place = std::find_if(jobs_.begin(), jobs_.end(), [&](const std::shared_ptr<Job>& other) {
        return other->urgency <= job->urgency;
    });
    jobs_.insert(place, job);
}

void TilePool::drawOne(Lock& lock, const std::shared_ptr<Job>& job) {
    const std::size_t tile = job->next++;
    ++job->drawing;
    if (job->next == job->tileCount)
        std::erase(jobs_, job);
    lock.unlock();
    job->draw(tile);
    lock.lock();
    --job->drawing;
    if (job->drawing == 0 && (job->cancelled || job->next == job->tileCount))
        end(lock, job);
}

void TilePool::drawAll(Lock& lock, const std::shared_ptr<Job>& job) {
    if (job->tileCount == 0)
        end(lock, job);
    while (!job->cancelled && job->next < job->tileCount)
        drawOne(lock, job);
}

void TilePool::end(Lock& lock, const std::shared_ptr<Job>& job) {
    job->ending = true;
    const bool complete = !job->cancelled;
    lock.unlock();
    if (complete && job->finished)
        job->finished();
    job->draw = nullptr;
    job->finished = nullptr;
    lock.lock();
    job->ended = true;
    ended_.notify_all();
}

} // namespace zorbel::imaging
