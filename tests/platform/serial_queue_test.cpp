// SPDX-License-Identifier: MIT
#include "platform/serial_queue.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace tavelo {
namespace {

TEST(SerialQueue, RunsTasksInTheOrderOfTheirArrival) {
    SerialQueue queue("test");
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i)
        queue.async([&order, i] { order.push_back(i); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(SerialQueue, SyncFromItsOwnThreadRunsAtOnce) {
    SerialQueue queue("test");
    bool inner = false;
    queue.sync([&] { queue.sync([&] { inner = queue.isCurrent(); }); });
    EXPECT_TRUE(inner);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, DestructionRunsWhatWasQueued) {
    int ran = 0;
    {
        SerialQueue queue("test");
        for (int i = 0; i < 100; ++i)
            queue.async([&ran] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, TakesTasksFromManyThreads) {
    SerialQueue queue("test");
    int sum = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i)
                queue.async([&sum] { ++sum; });
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    queue.sync([] {});
    EXPECT_EQ(sum, 2000);
}

TEST(Task, MovesWhatItCapturedAndDestroysItOnce) {
    const auto value = std::make_shared<int>(7);
    int seen = 0;
    {
        Task task([value, &seen] { seen = *value; });
        Task moved(std::move(task));
        EXPECT_FALSE(static_cast<bool>(task)); // NOLINT(bugprone-use-after-move): that is the point
        moved();
        EXPECT_EQ(value.use_count(), 2);
    }
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(value.use_count(), 1);
}

TEST(Task, KeepsLargeCapturesOnTheHeap) {
    std::array<int, 100> large{};
    large.back() = 42;
    int seen = 0;
    Task task([large, &seen] { seen = large.back(); });
    Task moved;
    moved = std::move(task);
    moved();
    EXPECT_EQ(seen, 42);
}

} // namespace
} // namespace tavelo
