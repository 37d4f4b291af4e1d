#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zorbel::imaging {

/// Threads that stay and share out the parts of small pieces of work, such as the tiles of a picture that is
/// drawn in a few milliseconds. Of several jobs the most urgent is served first, of equally urgent ones the
/// newest. Any thread.
class TilePool {
public:
    enum class Urgency { Refinement, Interactive, Immediate };
    class Job;
    /// Must not throw.
    using DrawTile = std::function<void(std::size_t tile)>;

    /// One thread a core, for all pictures of the program.
    static TilePool& shared();

    explicit TilePool(unsigned threads);
    /// Drops what is not complete.
    ~TilePool();
    TilePool(const TilePool&) = delete;
    TilePool& operator=(const TilePool&) = delete;

    /// Calls draw for every tile below `tiles` and then, unless the job was cancelled, finished once, on
    /// threads of the pool (where none could be started: on this one, at once).
    std::shared_ptr<Job>
    start(std::size_t tiles, DrawTile draw, std::function<void()> finished, Urgency urgency);
    /// Starts no further tile and waits for those begun, each at most a millisecond or so; afterwards neither
    /// function of the job runs, and what they hold is freed. Not from inside one of them. Null is nothing.
    void cancel(const std::shared_ptr<Job>& job);
    /// The same without waiting: finished may still be called where the last tile had begun.
    void abandon(const std::shared_ptr<Job>& job);
    /// Before everything else, with the help of the calling thread; waits for the end.
    void run(std::size_t tiles, DrawTile draw);

private:
    using Lock = std::unique_lock<std::mutex>;
    void work();
    void enqueue(const std::shared_ptr<Job>& job);
    void withdraw(Lock& lock, const std::shared_ptr<Job>& job);
    void drawOne(Lock& lock, const std::shared_ptr<Job>& job);
    void drawAll(Lock& lock, const std::shared_ptr<Job>& job);
    void end(Lock& lock, const std::shared_ptr<Job>& job);

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable ended_;
    std::vector<std::shared_ptr<Job>> jobs_; ///< that have tiles left, most urgent first
    bool closing_ = false;
    std::vector<std::jthread> threads_;
};

} // namespace zorbel::imaging
