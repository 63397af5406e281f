// SPDX-License-Identifier: MIT
#include "platform/virtual/control_watch.h"

#include <gmock/gmock.h>

#include <thread>

#include "platform/virtual/control_interface.h"
#include "platform/virtual/firmware/firmware_client.h"
#include "support/recorded_control_changes.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class VirtualWatch : public ::testing::Test {
protected:
    void SetUp() override { start(); }

    void start() {
        watch = interface->watchControls(recorded.events());
        ASSERT_TRUE(watch);
    }

    ErrorCode write(UsbInterface& through, ControlAddress address, std::vector<std::uint8_t> data) {
        UsbControlRequest request{uvc::classInterfaceOut,
                                  codeOf(UvcRequest::setCur),
                                  static_cast<std::uint16_t>(address.selector << 8),
                                  otherHost.indexOf(address),
                                  static_cast<std::uint16_t>(data.size()),
                                  data.data(),
                                  0};
        return through.ControlRequest(request);
    }

    /// Everything reported before another host writes the gamma.
    std::vector<ChangedControl> changesSoFar() {
        const std::size_t before = recorded.changes().size();
        camera->setControlValue(control::gamma, 100);
        for (std::size_t count = before + 1;; ++count) {
            if (!recorded.waitForChanges(count)) return {};
            auto changes = recorded.changes();
            if (changes.back().control != control::gamma) continue;
            std::erase_if(changes, [](const auto& change) { return change.control == control::gamma; });
            return changes;
        }
    }

    std::shared_ptr<VirtualCameraFirmware> camera =
        std::make_shared<VirtualCameraFirmware>(virtualCameraModel(1));
    FirmwareClient otherHost{*camera};
    testing::RecordedControlChanges recorded;
    std::shared_ptr<VirtualControlInterface> interface = std::make_shared<VirtualControlInterface>(camera, 0);
    std::unique_ptr<ControlWatch> watch;
};

TEST_F(VirtualWatch, reportsTheWritesOfAnotherHost) {
    otherHost.set(control::brightness, -2);
    ASSERT_TRUE(recorded.waitForChanges(1));
    EXPECT_THAT(recorded.changes(), ElementsAre(ChangedControl{control::brightness, {0xFE, 0xFF}}));
    EXPECT_NE(recorded.thread(), std::this_thread::get_id());
}

TEST_F(VirtualWatch, reportsWhatTheCameraChangesItself) {
    ASSERT_TRUE(camera->setControlValue(control::contrast, 7));
    EXPECT_FALSE(camera->setControlValue(control::contrast, 70000));
    EXPECT_THAT(changesSoFar(), ElementsAre(ChangedControl{control::contrast, {7, 0}}));
}

TEST_F(VirtualWatch, reportsTheWritesOfAnotherInterfaceButNotItsOwn) {
    EXPECT_EQ(write(*interface, control::brightness, {5, 0}), ErrorCode::none);
    EXPECT_THAT(changesSoFar(), IsEmpty());
    VirtualControlInterface another(camera, 0);
    EXPECT_EQ(write(another, control::brightness, {6, 0}), ErrorCode::none);
    EXPECT_THAT(changesSoFar(), ElementsAre(ChangedControl{control::brightness, {6, 0}}));
}

TEST_F(VirtualWatch, reportsNeitherReadsNorRefusedWrites) {
    otherHost.get(UvcRequest::getCur, control::brightness);
    otherHost.set(control::brightness, 30000);
    EXPECT_THAT(changesSoFar(), IsEmpty());
}

TEST_F(VirtualWatch, aStepOfTheExposureTimeIsAChangeOfTheExposureTime) {
    camera->setControlValue(control::autoExposureMode, uvc::manualExposure);
    const auto before = camera->controlValue(control::exposureTime);
    otherHost.set(control::exposureTimeRelative, 1);
    ASSERT_NE(camera->controlValue(control::exposureTime), before);
    otherHost.set(control::exposureTimeRelative, 100);
    const auto changes = changesSoFar();
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].control, control::autoExposureMode);
    EXPECT_EQ(changes[1].control, control::exposureTime);
    otherHost.set(control::exposureTimeRelative, 0);
    EXPECT_EQ(changesSoFar().size(), 3U);
}

TEST_F(VirtualWatch, endsWhenTheCameraVanishes) {
    camera->vanish();
    EXPECT_TRUE(recorded.waitForEnd());
    EXPECT_THAT(recorded.changes(), IsEmpty());
    interface->USBInterfaceClose();
    watch.reset();
    EXPECT_EQ(recorded.ends(), 1);
    EXPECT_FALSE(interface->watchControls(recorded.events()));
}

TEST_F(VirtualWatch, aCameraThatIsGoneCannotBeWatched) {
    watch.reset();
    camera->vanish();
    EXPECT_FALSE(interface->watchControls(recorded.events()));
}

TEST_F(VirtualWatch, endsWithItsInterface) {
    interface->USBInterfaceClose();
    EXPECT_TRUE(recorded.waitForEnd());
    watch.reset();
    EXPECT_FALSE(interface->watchControls(recorded.events())) << "closed for good";
    testing::RecordedControlChanges others;
    interface = std::make_shared<VirtualControlInterface>(camera, 0);
    watch = interface->watchControls(others.events());
    ASSERT_TRUE(watch);
    interface.reset();
    EXPECT_TRUE(others.waitForEnd());
    watch.reset();
}

TEST_F(VirtualWatch, thereIsOneAtATime) {
    EXPECT_FALSE(interface->watchControls(recorded.events()));
    watch.reset();
    start();
    camera->setControlValue(control::contrast, 7);
    EXPECT_TRUE(recorded.waitForChanges(1));
}

TEST_F(VirtualWatch, reportsNothingAfterItsDestruction) {
    recorded.hold(true);
    camera->setControlValue(control::contrast, 1);
    ASSERT_TRUE(recorded.waitForChanges(1));
    camera->setControlValue(control::contrast, 2);
    std::thread letGo([this] { recorded.hold(false); });
    watch.reset();
    letGo.join();
    const std::size_t reported = recorded.changes().size();
    camera->setControlValue(control::contrast, 3);
    camera->vanish();
    EXPECT_EQ(recorded.changes().size(), reported);
    EXPECT_EQ(recorded.ends(), 0);
}

TEST_F(VirtualWatch, itsListenerMayAskTheCamera) {
    watch.reset();
    std::int64_t seen = 0;
    ControlWatchEvents events = recorded.events();
    const auto record = events.changed;
    events.changed = [&](const ChangedControl& change) {
        otherHost.get(UvcRequest::getCur, change.control);
        seen = camera->controlValue(change.control).value_or(0);
        record(change);
    };
    watch = interface->watchControls(events);
    ASSERT_TRUE(watch);
    otherHost.set(control::contrast, 9);
    ASSERT_TRUE(recorded.waitForChanges(1));
    watch.reset();
    EXPECT_EQ(seen, 9);
}

TEST_F(VirtualWatch, mayHaveNobodyWhoListensToChanges) {
    watch.reset();
    watch = interface->watchControls({{}, recorded.events().ended});
    ASSERT_TRUE(watch);
    camera->setControlValue(control::contrast, 9);
    camera->vanish();
    EXPECT_TRUE(recorded.waitForEnd());
}

} // namespace
} // namespace tavelo
