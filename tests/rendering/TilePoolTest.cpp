#include "imaging/TilePool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>

using namespace zorbel::imaging;

namespace {

using Urgency = TilePool::Urgency;

TEST(TilePool, DrawsEveryTileOnceWhoeverAsks) {
    TilePool pool(3);
    std::vector<std::jthread> callers;
    std::atomic<int> drawn = 0;
    for (int caller = 0; caller < 4; ++caller) {
        callers.emplace_back([&] {
            for (std::size_t tiles = 0; tiles < 40; ++tiles) {
                std::vector<std::atomic<int>> counts(tiles);
                pool.run(tiles, [&](std::size_t tile) { ++counts[tile]; });
                for (const auto& count : counts)
                    drawn += count == 1 ? 1 : -1000;
            }
        });
    }
    callers.clear();
    EXPECT_EQ(drawn, 4 * 40 * 39 / 2);

    TilePool withoutThreads(0);
    int plain = 0;
    withoutThreads.run(7, [&](std::size_t) { ++plain; });
    bool finished = false;
    withoutThreads.start(
        3, [&](std::size_t) { ++plain; }, [&] { finished = true; }, Urgency::Refinement);
    EXPECT_EQ(plain, 10);
    EXPECT_TRUE(finished);
}

TEST(TilePool, ServesTheMostUrgentAndOfThoseTheNewest) {
    TilePool pool(1);
    std::promise<void> begun;
    std::promise<void> go;
    const auto first = pool.start(
        1,
        [&](std::size_t) {
            begun.set_value();
            go.get_future().wait();
        },
        {}, Urgency::Refinement);
    begun.get_future().wait();
    std::string order;
    std::promise<void> last;
    const auto job = [&](char name, Urgency urgency) {
        return pool.start(
            2, [&order, name](std::size_t) { order += name; },
            [&last, name] {
                if (name == 'a')
                    last.set_value();
            },
            urgency);
    };
    job('a', Urgency::Refinement);
    job('b', Urgency::Interactive);
    job('c', Urgency::Refinement);
    job('d', Urgency::Interactive);
    go.set_value();
    last.get_future().wait();
    EXPECT_EQ(order, "ddbbccaa");
}

TEST(TilePool, NeitherDrawsNorFinishesNorHoldsAnythingOnceCancelled) {
    TilePool pool(2);
    for (int round = 0; round < 200; ++round) {
        auto held = std::make_shared<int>(0);
        std::atomic<int> drawn = 0;
        std::atomic<int> finished = 0;
        const auto job = pool.start(
            50,
            [held, &drawn](std::size_t) {
                ++drawn;
                std::this_thread::yield();
            },
            [held, &finished] { ++finished; }, Urgency::Interactive);
        while (drawn < round % 60 && finished == 0)
            std::this_thread::yield();
        pool.cancel(job);
        pool.cancel(job);
        const int before = drawn;
        EXPECT_EQ(held.use_count(), 1);
        EXPECT_EQ(finished, before == 50 ? finished.load() : 0);
        std::this_thread::yield();
        EXPECT_EQ(drawn, before);
    }
    pool.cancel(nullptr);
}

} // namespace
