// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/transfer_ring.h"

#include <gmock/gmock.h>

#include <atomic>

#include "fake_usb_camera.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {
namespace {

using test::FakeUsbCamera;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = FakeUsbCamera::Bytes;
using Counts = FakeUsbCamera::Counts;

constexpr UsbTransferShape shape{0x81, true, 16, 4};

class RingTest : public testing::Test {
protected:
    RingTest() : handle(camera.open({}, error)) {
        ring = std::make_unique<TransferRing>(
            *handle,
            [this](std::span<const UsbPacket> packets) {
                const std::lock_guard lock(mutex);
                for (const UsbPacket& packet : packets)
                    if (!packet.bytes.empty()) taken.push_back(packet.damaged ? -1 : packet.bytes[0]);
                ++calls;
            },
            [this](ErrorCode reason) {
                const std::lock_guard lock(mutex);
                ends.push_back(reason);
            });
    }

    std::vector<int> takenSoFar() {
        const std::lock_guard lock(mutex);
        return taken;
    }
    std::vector<ErrorCode> endsSoFar() {
        const std::lock_guard lock(mutex);
        return ends;
    }
    bool waitUntilIdle() {
        return camera.waitFor([](const Counts& counts) { return counts.underWay == 0; });
    }

    Error error;
    FakeUsbCamera camera{virtualCameraModel(1)};
    std::unique_ptr<UsbHandle> handle;
    std::mutex mutex; // guards what the ring's calls change
    std::vector<int> taken;
    std::vector<ErrorCode> ends;
    std::atomic<int> calls{0};
    std::unique_ptr<TransferRing> ring; // last: its calls use the rest
};

TEST_F(RingTest, KeepsAllTransfersUnderWayAndTakesTheirPacketsInOrder) {
    ASSERT_EQ(ring->start(shape, 3), ErrorCode::none);
    EXPECT_EQ(camera.counts().underWay, 3);
    for (std::uint8_t i = 0; i < 10; ++i)
        ASSERT_TRUE(camera.deliverSoon({{std::uint8_t(2 * i)}, {}, {std::uint8_t(2 * i + 1)}}));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.submitted == 13; }));
    const auto all = takenSoFar();
    ASSERT_EQ(all.size(), 20U);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(all[std::size_t(i)], i);
}

TEST_F(RingTest, StopWaitsForTheEndOfEveryTransfer) {
    ASSERT_EQ(ring->start(shape, 4), ErrorCode::none);
    ring->stop();
    EXPECT_EQ(camera.counts().underWay, 0);
    EXPECT_THAT(endsSoFar(), IsEmpty()) << "it did not end by itself";
    ring->stop();
    ring.reset();
    EXPECT_EQ(camera.counts().transfers, 0);
}

TEST_F(RingTest, GoesOnAfterDamage) {
    ASSERT_EQ(ring->start(shape, 2), ErrorCode::none);
    ASSERT_TRUE(camera.deliverSoon({{1}}, ErrorCode::failed));
    ASSERT_TRUE(camera.deliverSoon({{2}}));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.submitted == 4; }));
    EXPECT_THAT(takenSoFar(), ElementsAre(-1, 2));
}

TEST_F(RingTest, NothingButDamageEndsIt) {
    ASSERT_EQ(ring->start(shape, 2), ErrorCode::none);
    for (int i = 0; i <= TransferRing::mostFaultsInARow; ++i)
        ASSERT_TRUE(camera.deliverSoon({}, ErrorCode::failed));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.submitted == 102; }));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.underWay == 1; }));
    ring->stop();
    EXPECT_THAT(endsSoFar(), ElementsAre(ErrorCode::failed));
}

TEST_F(RingTest, ADeviceThatGoesEndsItOnceAndItRests) {
    ASSERT_EQ(ring->start(shape, 4), ErrorCode::none);
    camera.vanish();
    ASSERT_TRUE(waitUntilIdle());
    ring->stop();
    EXPECT_THAT(endsSoFar(), ElementsAre(ErrorCode::gone));
    EXPECT_EQ(camera.counts().submitted, 4) << "none was submitted again";
}

TEST_F(RingTest, AHaltedEndpointEndsIt) {
    ASSERT_EQ(ring->start({0x81, false, 64, 1}, 4), ErrorCode::none);
    ASSERT_TRUE(camera.deliverSoon({}, ErrorCode::refused));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.underWay == 3; }));
    ring->stop();
    EXPECT_THAT(endsSoFar(), ElementsAre(ErrorCode::refused));
    EXPECT_EQ(camera.counts().underWay, 0);
}

TEST_F(RingTest, ARefusalToSubmitAgainEndsIt) {
    ASSERT_EQ(ring->start(shape, 2), ErrorCode::none);
    camera.fail("submit", ErrorCode::gone, 1);
    ASSERT_TRUE(camera.deliverSoon({{1}}));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.underWay == 1; }));
    ring->stop();
    EXPECT_THAT(endsSoFar(), ElementsAre(ErrorCode::gone));
    EXPECT_THAT(takenSoFar(), ElementsAre(1));
}

TEST_F(RingTest, AStartThatFailsLeavesNothingUnderWay) {
    camera.fail("submit", ErrorCode::failed, 1);
    EXPECT_EQ(ring->start(shape, 4), ErrorCode::failed);
    EXPECT_EQ(camera.counts().underWay, 0);
    EXPECT_THAT(endsSoFar(), IsEmpty());
}

TEST_F(RingTest, RunsWithFewerTransfersIfMemoryIsShort) {
    camera.fail("submit", ErrorCode::none, 3);
    camera.fail("submit", ErrorCode::failed, 1);
    ASSERT_EQ(ring->start(shape, 8), ErrorCode::none);
    EXPECT_EQ(camera.counts().underWay, 3);
}

TEST_F(RingTest, AnotherThreadMayHandleItsEvents) {
    ASSERT_EQ(ring->start(shape, 4), ErrorCode::none);
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            handle->handleEvents(std::chrono::milliseconds(1));
    });
    for (int i = 0; i < 500; ++i)
        ASSERT_TRUE(camera.deliverSoon({{std::uint8_t(i)}}));
    ASSERT_TRUE(camera.waitFor([](const Counts& counts) { return counts.submitted == 504; }));
    ring->stop();
    EXPECT_EQ(takenSoFar().size(), 500U);
    ring.reset();
    done = true;
    other.join();
}

} // namespace
} // namespace tavelo
