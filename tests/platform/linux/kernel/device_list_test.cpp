// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/device_list.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <cerrno>
#include <optional>
#include <thread>

#include "fake_video_nodes.h"
#include "support/manual_main_queue.h"
#include "support/recorded_device_changes.h"
#include "support/recorded_diagnostics.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class KernelDeviceListTest : public ::testing::Test {
protected:
    void plug(int port, const std::string& product) {
        const std::string node = "video" + std::to_string(port);
        tree.plug({port, product});
        tree.addNode(node, port, product);
        opener->capabilities(node, V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING);
    }
    void unplug(int port) { tree.removeNode("video" + std::to_string(port)); }

    void change() {
        list->rescan();
        queue.drain();
    }

    std::vector<std::string> names() {
        std::vector<std::string> result;
        for (const auto& device : list->devices())
            result.push_back(device->localizedName());
        return result;
    }

    FakeVideoTree tree;
    const std::shared_ptr<FakeNodeOpener> opener = std::make_shared<FakeNodeOpener>();
    testing::ManualMainQueue queue;
    testing::RecordedDiagnostics diagnostics;
    std::optional<KernelDeviceList> list{std::in_place, queue,
                                         KernelDeviceOptions{opener, diagnostics, {}, tree.root()}};
    testing::RecordedDeviceChanges changes;
};

TEST_F(KernelDeviceListTest, ListsTheInitialDevicesWithoutReportingThem) {
    plug(1, "A");
    plug(2, "B");
    list->fill();
    list->addObserver(&changes);
    queue.drain();
    EXPECT_THAT(names(), ElementsAre("A", "B"));
    EXPECT_TRUE(list->devices().front()->hasMediaType(MediaType::video));
    EXPECT_FALSE(list->devices().front()->hasMediaType(MediaType::audio));
    EXPECT_THAT(changes.names(), IsEmpty());
}

TEST_F(KernelDeviceListTest, ReportsArrivalAndRemovalOnlyOnTheMainQueue) {
    list->fill();
    list->addObserver(&changes);
    plug(1, "A");
    list->rescan();
    EXPECT_THAT(changes.names(), IsEmpty());
    EXPECT_THAT(names(), IsEmpty());
    queue.drain();
    EXPECT_THAT(names(), ElementsAre("A"));
    const auto device = list->devices().front();
    unplug(1);
    change();
    EXPECT_THAT(changes.names(), ElementsAre("+A", "-A"));
    EXPECT_EQ(changes.lastDisconnected(), device);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KernelDeviceListTest, KeepsOneObjectADeviceAndTheOrderWhileOthersComeAndGo) {
    plug(2, "B");
    plug(3, "C");
    list->fill();
    const auto before = list->devices();
    plug(1, "A");
    change();
    unplug(2);
    change();
    const auto after = list->devices();
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(after[0], before[1]);
    EXPECT_EQ(after[1]->localizedName(), "A") << "what comes later stands later, whatever its number";
}

TEST_F(KernelDeviceListTest, AReplugBetweenTwoLooksIsARemovalAndAnArrival) {
    plug(1, "A");
    list->fill();
    list->addObserver(&changes);
    const auto before = list->devices().front();
    unplug(1);
    plug(1, "A");
    change();
    EXPECT_THAT(changes.names(), ElementsAre("-A", "+A"));
    EXPECT_NE(list->devices().front(), before);
    EXPECT_EQ(list->devices().front()->uniqueID(), before->uniqueID())
        << "the same camera in the same socket";
}

TEST_F(KernelDeviceListTest, CamerasOfOneModelThatSwapSocketsSwapIdentifiersWhateverTheirNodesAre) {
    plug(1, "A");
    plug(2, "A");
    list->fill();
    list->addObserver(&changes);
    std::vector<std::string> before;
    for (const auto& device : list->devices())
        before.push_back(device->uniqueID());
    ASSERT_NE(before[0], before[1]);
    unplug(1);
    unplug(2);
    // The driver gives the nodes in the order of arrival, so each camera has its node again.
    tree.addNode("video1", 2, "A");
    tree.addNode("video2", 1, "A");
    change();
    EXPECT_THAT(changes.names(), ElementsAre("-A", "-A", "+A", "+A"));
    const auto after = list->devices();
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(after[0]->node(), "/dev/video1");
    EXPECT_EQ(after[0]->uniqueID(), before[1]) << "that of the socket";
    EXPECT_EQ(after[1]->uniqueID(), before[0]);
}

TEST_F(KernelDeviceListTest, EventsWithoutAChangeTellNothing) {
    plug(1, "A");
    list->fill();
    list->addObserver(&changes);
    list->rescan();
    change();
    EXPECT_THAT(changes.names(), IsEmpty());
}

TEST_F(KernelDeviceListTest, TakesNewsFromSeveralThreads) {
    list->fill();
    list->addObserver(&changes);
    plug(1, "A");
    {
        const std::jthread first([&] { list->rescan(); });
        const std::jthread second([&] { list->rescan(); });
        for (int i = 0; i < 20; ++i)
            queue.drain();
    }
    queue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("+A"));
}

TEST_F(KernelDeviceListTest, ADeviceNamesItsNodeAndItsPlace) {
    plug(3, "A");
    list->fill();
    EXPECT_EQ(list->devices().front()->node(), "/dev/video3");
    EXPECT_EQ(list->devices().front()->place(), "1-3");
}

TEST_F(KernelDeviceListTest, ADeviceThatCannotBeOpenedHasNoFormats) {
    plug(1, "A");
    list->fill();
    opener->fail("video1", EACCES);
    EXPECT_TRUE(list->devices().front()->formats().empty());
}

TEST_F(KernelDeviceListTest, ADeviceMakesAnInputOfItself) {
    plug(1, "A");
    list->fill();
    const auto device = list->devices().front();
    Error error;
    const auto input = device->makeInput(error);
    ASSERT_TRUE(input);
    EXPECT_EQ(error.code, ErrorCode::none);
    EXPECT_EQ(input->device(), device);
}

TEST_F(KernelDeviceListTest, ADeviceThatIsGoneMakesNoInput) {
    plug(1, "A");
    list->fill();
    const auto device = list->devices().front();
    tree.removeNode("video1");
    opener->fail("video1", ENODEV);
    Error error;
    EXPECT_FALSE(device->makeInput(error));
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_EQ(error.text, "cannot open /dev/video1: No such device");
}

TEST_F(KernelDeviceListTest, ADeviceThatIsListedBeforeItsNodeOpensMakesAnInputThatWaits) {
    plug(1, "A");
    list->fill();
    for (const int number : {ENODEV, ENXIO, ENOENT}) {
        opener->fail("video1", number);
        Error error;
        EXPECT_TRUE(list->devices().front()->makeInput(error)) << number;
    }
}

TEST_F(KernelDeviceListTest, ADeviceWithoutRightsMakesNoInput) {
    plug(1, "A");
    opener->fail("video1", EACCES);
    list->fill();
    Error error;
    EXPECT_FALSE(list->devices().front()->makeInput(error));
    EXPECT_EQ(error.code, ErrorCode::denied);
}

TEST_F(KernelDeviceListTest, ADeviceThatJustCameMakesAnInputBeforeItsRightsCome) {
    list->fill();
    plug(1, "A");
    opener->fail("video1", EACCES);
    change();
    Error error;
    EXPECT_TRUE(list->devices().front()->makeInput(error));
}

TEST_F(KernelDeviceListTest, ADeviceThatAnotherProgramHoldsMakesAnInputThatWaits) {
    plug(1, "A");
    list->fill();
    opener->fail("video1", EBUSY);
    Error error;
    EXPECT_TRUE(list->devices().front()->makeInput(error));
}

} // namespace
} // namespace tavelo
