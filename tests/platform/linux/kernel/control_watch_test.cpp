// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/control_watch.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <array>
#include <cerrno>
#include <thread>

#include "fake_control_node.h"
#include "platform/linux/kernel/control_interface.h"
#include "support/recorded_control_changes.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class KernelWatch : public ::testing::Test {
protected:
    KernelWatch() { device->controls = everyControl(); }

    void start() {
        watch = interface->watchControls(recorded.events());
        ASSERT_TRUE(watch);
    }

    /// Changes a control that no test looks at, and waits until that is reported: everything before it is,
    /// too.
    std::vector<ChangedControl> changesSoFar() {
        const std::size_t before = recorded.changes().size();
        device->changeElsewhere(V4L2_CID_GAMMA, 100);
        for (std::size_t count = before + 1;; ++count) {
            if (!recorded.waitForChanges(count)) return {};
            auto changes = recorded.changes();
            if (changes.back().control != control::gamma) continue;
            std::erase_if(changes, [](const auto& change) { return change.control == control::gamma; });
            return changes;
        }
    }

    ErrorCode write(std::uint8_t entity, std::uint8_t selector, std::vector<std::uint8_t> data) {
        UsbControlRequest request{uvc::classInterfaceOut,
                                  codeOf(UvcRequest::setCur),
                                  std::uint16_t(selector << 8),
                                  std::uint16_t(entity << 8),
                                  std::uint16_t(data.size()),
                                  data.data(),
                                  0};
        return interface->ControlRequest(request);
    }

    std::shared_ptr<FakeControlNode> device = std::make_shared<FakeControlNode>();
    testing::RecordedDiagnostics diagnostics;
    testing::RecordedControlChanges recorded;
    std::shared_ptr<UsbInterface> interface = std::make_shared<KernelControlInterface>(
        device, KernelInterfaceAddress{0, 3, 5, "/dev/video0"}, diagnostics);
    std::unique_ptr<ControlWatch> watch;
};

TEST_F(KernelWatch, AsksForTheEventsOfEveryControlThatTheKernelMaps) {
    start();
    std::set<std::uint32_t> ids;
    for (const auto& [id, control] : everyControl())
        ids.insert(id);
    EXPECT_EQ(device->events.subscriptions(), ids);
}

TEST_F(KernelWatch, ReportsWhatAnotherProgramWroteAsTheCamerasBytes) {
    start();
    device->changeElsewhere(V4L2_CID_BRIGHTNESS, -2);
    ASSERT_TRUE(recorded.waitForChanges(1));
    EXPECT_THAT(recorded.changes(), ElementsAre(ChangedControl{control::brightness, {0xFE, 0xFF}}));
    EXPECT_NE(recorded.thread(), std::this_thread::get_id());
    device->changeElsewhere(V4L2_CID_ZOOM_ABSOLUTE, 0x112);
    ASSERT_TRUE(recorded.waitForChanges(2));
    EXPECT_EQ(recorded.changes().back(), (ChangedControl{control::zoom, {0x12, 0x01}}));
}

TEST_F(KernelWatch, TheExposureModeIsABitAsInTheCamera) {
    start();
    device->changeElsewhere(V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL);
    ASSERT_TRUE(recorded.waitForChanges(1));
    EXPECT_THAT(recorded.changes(),
                ElementsAre(ChangedControl{control::autoExposureMode, {uvc::manualExposure}}));
}

TEST_F(KernelWatch, EitherHalfOfAPairReportsTheWhole) {
    start();
    device->changeElsewhere(V4L2_CID_TILT_ABSOLUTE, 7200);
    ASSERT_TRUE(recorded.waitForChanges(1));
    const std::vector<std::uint8_t> tilted{0xE0, 0xE3, 0xFF, 0xFF, 0x20, 0x1C, 0, 0};
    EXPECT_THAT(recorded.changes(), ElementsAre(ChangedControl{control::panTilt, tilted}));
    device->changeElsewhere(V4L2_CID_PAN_ABSOLUTE, 0);
    ASSERT_TRUE(recorded.waitForChanges(2));
    EXPECT_EQ(recorded.changes().back(), (ChangedControl{control::panTilt, {0, 0, 0, 0, 0x20, 0x1C, 0, 0}}));
}

TEST_F(KernelWatch, ChangesThatWaitTogetherAreReportedOncePerControl) {
    start();
    recorded.hold(true);
    device->changeElsewhere(V4L2_CID_GAIN, 1);
    ASSERT_TRUE(recorded.waitForChanges(1));
    device->changeElsewhere(V4L2_CID_PAN_ABSOLUTE, 0);
    device->changeElsewhere(V4L2_CID_TILT_ABSOLUTE, 0);
    device->changeElsewhere(V4L2_CID_CONTRAST, 1);
    device->changeElsewhere(V4L2_CID_CONTRAST, 2);
    recorded.hold(false);
    ASSERT_TRUE(recorded.waitForChanges(3));
    EXPECT_THAT(changesSoFar(), ElementsAre(ChangedControl{control::gain, {1, 0}},
                                            ChangedControl{control::panTilt, {0, 0, 0, 0, 0, 0, 0, 0}},
                                            ChangedControl{control::contrast, {2, 0}}));
}

TEST_F(KernelWatch, OwnWritesAreNotReported) {
    start();
    EXPECT_EQ(write(5, 2, {7, 0}), ErrorCode::none);
    EXPECT_THAT(changesSoFar(), IsEmpty());
    EXPECT_EQ(device->controls[V4L2_CID_BRIGHTNESS].value, 7);
}

TEST_F(KernelWatch, ChangedFlagsAndRangesAreReportedWithTheValue) {
    start();
    device->events.happen(V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_EVENT_CTRL_CH_FLAGS);
    device->events.happen(V4L2_CID_FOCUS_ABSOLUTE, V4L2_EVENT_CTRL_CH_RANGE);
    EXPECT_THAT(changesSoFar(), ElementsAre(ChangedControl{control::exposureTime, {250, 0, 0, 0}},
                                            ChangedControl{control::focus, {30, 0}}));
}

TEST_F(KernelWatch, AControlThatCannotBeReadIsReportedWithoutAValue) {
    device->controls[V4L2_CID_HUE].getError = EIO;
    start();
    device->changeElsewhere(V4L2_CID_HUE, 2);
    ASSERT_TRUE(recorded.waitForChanges(1));
    EXPECT_THAT(recorded.changes(), ElementsAre(ChangedControl{control::hue, {}}));
    EXPECT_EQ(recorded.ends(), 0);
}

TEST_F(KernelWatch, AControlWithoutEventsLeavesTheOthers) {
    device->events.refuse(V4L2_CID_BRIGHTNESS);
    start();
    device->changeElsewhere(V4L2_CID_BRIGHTNESS, 1);
    device->changeElsewhere(V4L2_CID_CONTRAST, 1);
    EXPECT_THAT(changesSoFar(), ElementsAre(ChangedControl{control::contrast, {1, 0}}));
}

TEST_F(KernelWatch, ADriverWithoutEventsCannotBeWatched) {
    device->events.refuseAll();
    EXPECT_FALSE(interface->watchControls(recorded.events()));
}

TEST_F(KernelWatch, EventsOfOtherKindsAreIgnored) {
    start();
    device->events.happenElsewhere();
    EXPECT_THAT(changesSoFar(), IsEmpty());
    EXPECT_EQ(recorded.ends(), 0);
}

TEST_F(KernelWatch, ItsEndClosesTheNode) {
    start();
    interface->USBInterfaceClose();
    const std::weak_ptr<FakeControlNode> node = device;
    device.reset();
    EXPECT_TRUE(recorded.waitForEnd());
    EXPECT_TRUE(node.expired());
    watch.reset();
    EXPECT_EQ(recorded.ends(), 1);
}

TEST_F(KernelWatch, EndsWhenTheNodeHangsUpThoughTheInterfaceIsOpen) {
    start();
    device->vanish();
    EXPECT_TRUE(recorded.waitForEnd());
    EXPECT_THAT(recorded.changes(), IsEmpty());
}

TEST_F(KernelWatch, EndsWhenTheCameraIsGoneAtTheReading) {
    device->controls[V4L2_CID_HUE].getError = ENODEV;
    start();
    device->changeElsewhere(V4L2_CID_HUE, 2);
    EXPECT_TRUE(recorded.waitForEnd());
    EXPECT_THAT(recorded.changes(), IsEmpty());
}

TEST_F(KernelWatch, EndsIfTheNodeIsReadyForNothing) {
    start();
    device->events.lie();
    EXPECT_TRUE(recorded.waitForEnd()) << "it would spin";
}

TEST_F(KernelWatch, EndsWithItsInterface) {
    start();
    interface->USBInterfaceClose();
    EXPECT_TRUE(recorded.waitForEnd());
    EXPECT_THAT(device->events.subscriptions(), IsEmpty());

    interface = std::make_shared<KernelControlInterface>(
        device, KernelInterfaceAddress{0, 3, 5, "/dev/video0"}, diagnostics);
    testing::RecordedControlChanges others;
    const auto another = interface->watchControls(others.events());
    ASSERT_TRUE(another);
    interface.reset();
    EXPECT_TRUE(others.waitForEnd());
}

TEST_F(KernelWatch, AClosedInterfaceCannotBeWatched) {
    interface->USBInterfaceClose();
    EXPECT_FALSE(interface->watchControls(recorded.events()));
}

TEST_F(KernelWatch, ThereIsOneWatchAtATime) {
    start();
    EXPECT_FALSE(interface->watchControls(recorded.events()));
    watch.reset();
    EXPECT_THAT(device->events.subscriptions(), IsEmpty());
    start();
    device->changeElsewhere(V4L2_CID_GAIN, 1);
    EXPECT_TRUE(recorded.waitForChanges(1));
}

TEST_F(KernelWatch, ReportsNothingAfterItsDestruction) {
    start();
    recorded.hold(true);
    device->changeElsewhere(V4L2_CID_GAIN, 1);
    ASSERT_TRUE(recorded.waitForChanges(1));
    device->changeElsewhere(V4L2_CID_CONTRAST, 1);
    device->changeElsewhere(V4L2_CID_HUE, 2);
    std::thread letGo([this] { recorded.hold(false); });
    watch.reset();
    letGo.join();
    const std::size_t reported = recorded.changes().size();
    device->changeElsewhere(V4L2_CID_BRIGHTNESS, 1);
    interface->USBInterfaceClose();
    EXPECT_EQ(recorded.changes().size(), reported);
    EXPECT_EQ(recorded.ends(), 0);
}

TEST_F(KernelWatch, MayHaveNobodyWhoListens) {
    device->controls[V4L2_CID_HUE].getError = ENODEV;
    watch = interface->watchControls({{}, recorded.events().ended});
    ASSERT_TRUE(watch);
    device->changeElsewhere(V4L2_CID_GAIN, 1);
    device->changeElsewhere(V4L2_CID_HUE, 2);
    EXPECT_TRUE(recorded.waitForEnd());
    watch.reset();
    watch = interface->watchControls({recorded.events().changed, {}});
    ASSERT_TRUE(watch);
    device->vanish();
}

} // namespace
} // namespace tavelo::test
