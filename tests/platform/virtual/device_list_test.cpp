// SPDX-License-Identifier: MIT
#include "capture_fixture.h"
#include "support/recorded_device_changes.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

TEST_F(VirtualCaptureTest, devicesCarryLocationVendorAndProduct) {
    const auto platform = makePlatform();
    const auto devices = platform->devicesWithMediaType(MediaType::video);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0]->uniqueID(), "0x7e10000012090001");
    EXPECT_EQ(devices[1]->uniqueID(), "0x7e20000012090001");
    EXPECT_EQ(devices[0]->localizedName(), "Tavelo Virtual Camera 1");
    EXPECT_TRUE(devices[0]->hasMediaType(MediaType::video));
    EXPECT_FALSE(devices[0]->hasMediaType(MediaType::audio));
    EXPECT_TRUE(platform->devicesWithMediaType(MediaType::audio).empty());
}

TEST_F(VirtualCaptureTest, theSameDeviceIsTheSameObject) {
    const auto platform = makePlatform();
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video),
              platform->devicesWithMediaType(MediaType::video));
}

TEST_F(VirtualCaptureTest, reportsArrivalAndRemovalOnTheMainQueue) {
    const auto platform = makePlatform();
    testing::RecordedDeviceChanges changes;
    platform->addObserver(&changes);
    mainQueue.drain();
    EXPECT_TRUE(changes.uniqueIDs().empty());

    bus->plug(virtualCameraModel(3));
    EXPECT_TRUE(changes.uniqueIDs().empty());
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 2U);
    mainQueue.drain();
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 3U);
    bus->unplug(1);
    mainQueue.drain();
    EXPECT_THAT(changes.uniqueIDs(), ElementsAre("+0x7e30000012090001", "-0x7e10000012090001"));
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video).size(), 2U);

    platform->removeObserver(&changes);
    bus->unplug(2);
    mainQueue.drain();
    EXPECT_EQ(changes.uniqueIDs().size(), 2U);
}

TEST_F(VirtualCaptureTest, aRepluggedCameraIsANewDevice) {
    const auto platform = makePlatform();
    testing::RecordedDeviceChanges changes;
    platform->addObserver(&changes);
    const auto before = platform->devicesWithMediaType(MediaType::video)[0];
    bus->unplug(1);
    bus->plug(virtualCameraModel(1));
    mainQueue.drain();
    EXPECT_THAT(changes.uniqueIDs(), ElementsAre("-0x7e10000012090001", "+0x7e10000012090001"));
    EXPECT_NE(platform->devicesWithMediaType(MediaType::video)[1], before);
    EXPECT_EQ(platform->devicesWithMediaType(MediaType::video)[1]->uniqueID(), before->uniqueID());
}

TEST_F(VirtualCaptureTest, changesAfterThePlatformIsGoneAreDropped) {
    auto platform = makePlatform();
    testing::RecordedDeviceChanges changes;
    platform->addObserver(&changes);
    bus->unplug(1);
    platform.reset();
    mainQueue.drain();
    bus->unplug(2);
    mainQueue.drain();
    EXPECT_TRUE(changes.uniqueIDs().empty());
}

TEST_F(VirtualCaptureTest, anUnpluggedDeviceCannotBeOpened) {
    const auto platform = makePlatform();
    const auto device = platform->devicesWithMediaType(MediaType::video)[0];
    bus->unplug(1);
    Error error;
    EXPECT_EQ(device->makeInput(error), nullptr);
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_FALSE(error.text.empty());
}

} // namespace
} // namespace tavelo
