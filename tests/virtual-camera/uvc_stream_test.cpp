// SPDX-License-Identifier: MIT
#include "virtual-camera/uvc_stream.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

constexpr std::size_t header = 6;

StreamFormat formatWithInterval(std::chrono::milliseconds interval) {
    return {StreamEncoding::yuyv, 16, 8, static_cast<std::uint32_t>(interval.count() * 10'000), 256, 128};
}

// Waits for the first packet of the next frame and reads the frame to its end.
Bytes nextFrame(UvcStream& stream) {
    Bytes frame;
    Bytes packet(128);
    while (true) {
        const auto count = stream.packet(packet);
        if (!count) {
            std::this_thread::yield();
            continue;
        }
        frame.insert(frame.end(), packet.begin() + header,
                     packet.begin() + static_cast<std::ptrdiff_t>(*count));
        if ((packet[1] & 2) != 0) return frame;
    }
}

void numberInto(std::uint64_t number, Bytes& frame) {
    frame.assign(200, static_cast<std::uint8_t>(number));
}

TEST(UvcStream, DeliversCompleteFramesInOrder) {
    UvcStream stream(formatWithInterval(2ms), StreamTransport::isochronous, numberInto);
    int previous = -1;
    for (int i = 0; i < 10; ++i) {
        const Bytes frame = nextFrame(stream);
        ASSERT_EQ(frame.size(), 200U);
        EXPECT_THAT(frame, testing::Each(frame[0]));
        EXPECT_GT(frame[0], previous);
        previous = frame[0];
    }
}

TEST(UvcStream, FramesAreNoFasterThanTheirInterval) {
    const auto begin = std::chrono::steady_clock::now();
    UvcStream stream(formatWithInterval(20ms), StreamTransport::isochronous, numberInto);
    for (int i = 0; i < 5; ++i)
        nextFrame(stream);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 80ms);
}

TEST(UvcStream, HasNothingToSendBetweenFrames) {
    UvcStream stream(formatWithInterval(10s), StreamTransport::isochronous, numberInto);
    nextFrame(stream);
    Bytes packet(128);
    EXPECT_FALSE(stream.packet(packet));
}

TEST(UvcStream, NumbersFramesByTimeIfDrawingIsSlow) {
    UvcStream stream(formatWithInterval(1ms), StreamTransport::isochronous,
                     [](std::uint64_t number, Bytes& frame) {
                         const auto end = std::chrono::steady_clock::now() + 10ms;
                         while (std::chrono::steady_clock::now() < end)
                             std::this_thread::yield();
                         numberInto(number, frame);
                     });
    const int first = nextFrame(stream)[0];
    const int second = nextFrame(stream)[0];
    EXPECT_GE(second - first, 9);
}

TEST(UvcStream, DrawsOneFrameAheadAndThenWaitsForTheBus) {
    std::atomic<int> made{0};
    UvcStream stream(formatWithInterval(1ms), StreamTransport::isochronous,
                     [&](std::uint64_t number, Bytes& frame) {
                         ++made;
                         numberInto(number, frame);
                     });
    nextFrame(stream);
    nextFrame(stream);
    // At most two have been sent and one is ready.
    EXPECT_LE(made, 3);
}

TEST(UvcStream, SkipsAFrameThatCannotBeEncoded) {
    UvcStream stream(formatWithInterval(1ms), StreamTransport::isochronous,
                     [](std::uint64_t number, Bytes& frame) {
                         numberInto(number, frame);
                         if (number % 2 == 0) frame.clear();
                     });
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(nextFrame(stream)[0] % 2, 1);
}

TEST(UvcStream, EndsAtOnceWhileItWaitsForTheNextFrame) {
    const auto begin = std::chrono::steady_clock::now();
    {
        UvcStream stream(formatWithInterval(60s), StreamTransport::bulk, numberInto);
        nextFrame(stream);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 30s);
}

} // namespace
} // namespace tavelo
