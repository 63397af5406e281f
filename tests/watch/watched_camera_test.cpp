// SPDX-License-Identifier: MIT
#include "watch/watched_camera.h"

#include <gmock/gmock.h>

#include "support/fake_usb.h"
#include "support/untold_interface.h"
#include "support/wrapped_usb_device.h"
#include "watch/watch_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Change {
    KTUVCControl control;
    std::int64_t before;
    friend bool operator==(const Change&, const Change&) = default;
};

class WatchedCameraTest : public WatchTest {
protected:
    void start() { start(*backend.usb); }
    void start(UsbPlatform& usb) {
        bound = 0;
        camera = std::make_unique<WatchedCamera>(
            device(), WatchedCameraParts{&usb, mainQueue, clock},
            WatchedCameraEvents{[this] { ++bound; },
                                [this](KTUVCControl control, std::int64_t before) {
                                    changes.push_back({control, before});
                                }});
        EXPECT_EQ(bound, 0);
        mainQueue.drain();
    }
    [[nodiscard]] bool waitForChanges(std::size_t count) {
        return mainQueue.runUntil([&] { return changes.size() >= count; });
    }
    std::int64_t value(KTUVCControl control) { return camera->manager().record(control)->val(); }

    int bound = 0;
    std::vector<Change> changes;
    std::unique_ptr<WatchedCamera> camera;
};

/// Virtual cameras whose interfaces do not tell of changes, as over raw USB.
class SilentUsb final : public UsbPlatform {
public:
    explicit SilentUsb(UsbPlatform& usb) : usb_(usb) {}

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override {
        return usb_.initBusProber(scope, delegate);
    }
    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        return testing::wrapped(usb_.listDevices(), {.interface = [](std::shared_ptr<UsbInterface> real) {
                                    return std::make_shared<testing::UntoldInterface>(std::move(real));
                                }});
    }

private:
    UsbPlatform& usb_;
};

TEST_F(WatchedCameraTest, BindsLaterAndReadsTheControls) {
    firmware()->setControlValue(control::brightness, 12);
    start();
    EXPECT_EQ(bound, 1);
    EXPECT_TRUE(camera->isBound());
    EXPECT_EQ(value(KTUVCControl::bright), 12);
}

TEST_F(WatchedCameraTest, TakesWhatOthersChangeIntoItsRecordsAndTellsTheValueBefore) {
    start();
    firmware()->setControlValue(control::brightness, 12);
    ASSERT_TRUE(waitForChanges(1));
    EXPECT_EQ(value(KTUVCControl::bright), 12);
    firmware()->setControlValue(control::brightness, 12); // the same again is no change
    firmware()->setControlValue(control::brightness, -1);
    ASSERT_TRUE(waitForChanges(2));
    EXPECT_THAT(changes, ElementsAre(Change{KTUVCControl::bright, 0}, Change{KTUVCControl::bright, 12}));
}

TEST_F(WatchedCameraTest, OwnWritesAreNoChange) {
    start();
    camera->manager().setBrightWithComplitionHandle(5, {});
    camera->endWriting();
    firmware()->setControlValue(control::contrast, 1);
    ASSERT_TRUE(waitForChanges(1));
    EXPECT_EQ(changes[0].control, KTUVCControl::contrast);
}

TEST_F(WatchedCameraTest, ACameraThatDoesNotAnswerIsBoundLaterAndLater) {
    fault(FaultKind::silence, control::brightness, UvcRequest::getCur);
    start();
    EXPECT_FALSE(camera->isBound());
    EXPECT_EQ(clock.waiting(), 1U);
    for (const auto pause : {1s, 2s, 4s, 8s, 10s, 10s}) {
        firmware()->clearRequestLog();
        pass(pause - 1ms);
        EXPECT_THAT(firmware()->requestLog(), IsEmpty()) << pause.count();
        pass(1ms);
        EXPECT_FALSE(firmware()->requestLog().empty()) << pause.count();
    }
    firmware()->clearFaults();
    pass(10s);
    EXPECT_EQ(bound, 1);
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(WatchedCameraTest, AfterARefusalItWatchesTheNewInterface) {
    start();
    camera->beginWriting();
    camera->manager().setBrightWithComplitionHandle(30000, {}); // closes the interface
    ASSERT_TRUE(camera->manager().interfaceIsClosed());
    firmware()->setControlValue(control::contrast, 1); // nobody watches
    camera->endWriting();
    EXPECT_FALSE(camera->manager().interfaceIsClosed());
    EXPECT_THAT(changes, ElementsAre(Change{KTUVCControl::contrast, 32}));
    firmware()->setControlValue(control::gamma, 101);
    ASSERT_TRUE(waitForChanges(2));
    EXPECT_EQ(bound, 1);
}

TEST_F(WatchedCameraTest, AClosedInterfaceIsFollowedThoughNobodyAsks) {
    start();
    camera->manager().setBrightWithComplitionHandle(30000, {});
    ASSERT_TRUE(mainQueue.runUntil([&] { return !camera->manager().interfaceIsClosed(); }));
    firmware()->setControlValue(control::gamma, 101);
    EXPECT_TRUE(waitForChanges(1));
}

TEST_F(WatchedCameraTest, AfterSilenceItIsBoundAgainAndTheChangesSinceAreTold) {
    start();
    fault(FaultKind::silence, control::brightness, UvcRequest::getCur);
    firmware()->setControlValue(control::brightness, 3);
    ASSERT_TRUE(mainQueue.runUntil([&] { return camera->manager().interfaceIsClosed(); }));
    firmware()->setControlValue(control::contrast, 1);
    pass(1s); // still silent
    EXPECT_THAT(changes, IsEmpty());
    firmware()->clearFaults();
    pass(2s);
    EXPECT_THAT(changes, ElementsAre(Change{KTUVCControl::bright, 0}, Change{KTUVCControl::contrast, 32}));
    EXPECT_EQ(bound, 1) << "told once";
    firmware()->setControlValue(control::gamma, 101);
    EXPECT_TRUE(waitForChanges(3));
}

TEST_F(WatchedCameraTest, IsNotBoundAgainWhileSomebodyWrites) {
    start();
    const BindingIdentity binding = camera->manager().bindingIdentity();
    camera->beginWriting();
    fault(FaultKind::silence, control::brightness, UvcRequest::getCur);
    firmware()->setControlValue(control::brightness, 3);
    ASSERT_TRUE(mainQueue.runUntil([&] { return camera->manager().interfaceIsClosed(); }));
    firmware()->clearFaults();
    pass(1min);
    EXPECT_EQ(camera->manager().bindingIdentity(), binding);
    camera->endWriting();
    pass(1s);
    EXPECT_NE(camera->manager().bindingIdentity(), binding);
    EXPECT_THAT(changes, ElementsAre(Change{KTUVCControl::bright, 0}));
}

TEST_F(WatchedCameraTest, ATransportThatTellsNothingIsAskedEveryTwoSeconds) {
    SilentUsb usb(*backend.usb);
    start(usb);
    ASSERT_EQ(bound, 1);
    firmware()->setControlValue(control::brightness, 12);
    pass(1999ms);
    EXPECT_THAT(changes, IsEmpty());
    pass(1ms);
    EXPECT_THAT(changes, ElementsAre(Change{KTUVCControl::bright, 0}));
    firmware()->setControlValue(control::contrast, 1);
    pass(2s);
    EXPECT_EQ(changes.size(), 2U);
    EXPECT_EQ(clock.waiting(), 1U) << "one timer";
}

TEST_F(WatchedCameraTest, WhatAnAutomaticRulesIsNotAskedAllTheTime) {
    firmware()->setControlValue(control::autoFocus, 1);
    SilentUsb usb(*backend.usb);
    start(usb);
    firmware()->setControlValue(control::focus, 1);
    pass(4s);
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(WatchedCameraTest, LetGoItAsksAndTellsNothing) {
    SilentUsb usb(*backend.usb);
    for (UsbPlatform* each : {static_cast<UsbPlatform*>(&usb), backend.usb.get()}) {
        start(*each);
        firmware()->setControlValue(control::gamma, 101); // its report may wait in the queue
        camera->letGo();
        EXPECT_FALSE(camera->isBound());
        firmware()->clearRequestLog();
        camera->endWriting();
        pass(1min);
        EXPECT_THAT(firmware()->requestLog(), IsEmpty());
        EXPECT_THAT(changes, IsEmpty());
        EXPECT_EQ(clock.waiting(), 0U);
    }
}

TEST_F(WatchedCameraTest, TakenUpItIsBoundAndWatchedAgain) {
    start();
    camera->letGo();
    firmware()->setControlValue(control::brightness, 12);
    camera->takeUp();
    camera->takeUp();
    mainQueue.drain();
    EXPECT_EQ(bound, 2);
    EXPECT_EQ(value(KTUVCControl::bright), 12);
    EXPECT_THAT(changes, IsEmpty());
    camera->takeUp();
    mainQueue.drain();
    EXPECT_EQ(bound, 2);
    firmware()->setControlValue(control::brightness, 13);
    EXPECT_TRUE(waitForChanges(1));
}

TEST_F(WatchedCameraTest, TakingUpDoesNotHurryACameraInTrouble) {
    fault(FaultKind::silence, control::brightness, UvcRequest::getCur);
    start();
    firmware()->clearRequestLog();
    camera->takeUp();
    mainQueue.drain();
    EXPECT_THAT(firmware()->requestLog(), IsEmpty());
}

TEST_F(WatchedCameraTest, NothingIsToldAfterItsEnd) {
    start();
    firmware()->setControlValue(control::brightness, 12);
    camera.reset();
    pass(1min);
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_EQ(clock.waiting(), 0U);
}

TEST_F(WatchedCameraTest, EndedBeforeItWasBoundItAsksNothing) {
    camera = std::make_unique<WatchedCamera>(
        device(), WatchedCameraParts{backend.usb.get(), mainQueue, clock}, WatchedCameraEvents{});
    camera.reset();
    mainQueue.drain();
    EXPECT_THAT(firmware()->requestLog(), IsEmpty());
}

} // namespace
} // namespace tavelo
