// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/sound_ring.h"

#include <gmock/gmock.h>

#include <numeric>
#include <thread>

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using Samples = std::vector<std::int16_t>;

TEST(SoundRing, PiecesComeOutInOrderWithTheirTimes) {
    SoundRing ring(8, 4);
    Samples taken;
    EXPECT_EQ(ring.take(taken), std::nullopt);
    EXPECT_TRUE(ring.put(1ns, Samples{1, 2}));
    EXPECT_TRUE(ring.put(2ns, Samples{3}));
    EXPECT_EQ(ring.take(taken), 1ns);
    EXPECT_THAT(taken, ElementsAre(1, 2));
    EXPECT_EQ(ring.take(taken), 2ns);
    EXPECT_THAT(taken, ElementsAre(1, 2, 3)) << "appended";
    EXPECT_EQ(ring.take(taken), std::nullopt);
}

TEST(SoundRing, APieceThatDoesNotFitIsLostWhole) {
    SoundRing ring(8, 4);
    EXPECT_TRUE(ring.put(1ns, Samples(6, 1)));
    EXPECT_FALSE(ring.put(2ns, Samples(3, 2)));
    EXPECT_TRUE(ring.put(3ns, Samples(2, 3)));
    EXPECT_FALSE(ring.put(4ns, Samples(1, 4)));
    Samples taken;
    EXPECT_EQ(ring.take(taken), 1ns);
    EXPECT_TRUE(ring.put(5ns, Samples(6, 5))) << "there is room again";
    EXPECT_EQ(ring.take(taken), 3ns);
    EXPECT_EQ(ring.take(taken), 5ns);
    EXPECT_THAT(taken, ElementsAre(1, 1, 1, 1, 1, 1, 3, 3, 5, 5, 5, 5, 5, 5));
}

TEST(SoundRing, TheNumberOfPiecesHasABoundToo) {
    SoundRing ring(100, 2);
    EXPECT_TRUE(ring.put(1ns, Samples{1}));
    EXPECT_TRUE(ring.put(2ns, Samples{2}));
    EXPECT_FALSE(ring.put(3ns, Samples{3}));
    Samples taken;
    EXPECT_EQ(ring.take(taken), 1ns);
    EXPECT_TRUE(ring.put(4ns, Samples{4}));
    EXPECT_EQ(ring.take(taken), 2ns);
    EXPECT_EQ(ring.take(taken), 4ns);
}

TEST(SoundRing, TwoThreadsLoseAndMixNothing) {
    constexpr int pieces = 20000;
    SoundRing ring(64, 8);
    std::thread writer([&] {
        for (int i = 0; i < pieces;) {
            Samples piece(std::size_t(i % 17 + 1));
            std::iota(piece.begin(), piece.end(), std::int16_t(i));
            if (ring.put(std::chrono::nanoseconds(i), piece))
                ++i;
            else
                std::this_thread::yield();
        }
    });
    Samples taken;
    for (int i = 0; i < pieces;) {
        taken.clear();
        const auto time = ring.take(taken);
        if (!time) {
            std::this_thread::yield();
            continue;
        }
        Samples expected(std::size_t(i % 17 + 1));
        std::iota(expected.begin(), expected.end(), std::int16_t(i));
        EXPECT_EQ(*time, std::chrono::nanoseconds(i));
        EXPECT_EQ(taken, expected);
        ++i;
    }
    writer.join();
}

} // namespace
} // namespace tavelo::testing
