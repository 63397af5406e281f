// SPDX-License-Identifier: MIT
#include "panel/control_follower.h"

#include <gmock/gmock.h>

#include <QTest>
#include <atomic>
#include <thread>

#include "integration/main_thread_watch.h"
#include "platform/virtual/control_interface.h"
#include "support/bound_virtual_camera.h"
#include "support/untold_interface.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FollowerTest : public ::testing::Test {
protected:
    FollowerTest() {
        QObject::connect(&*follower, &ControlFollower::changed, &*follower, [this](KTUVCControl control) {
            changes.push_back(control);
            thread = std::this_thread::get_id();
        });
    }

    void follow() {
        follower->followInterface();
        expectToFollow();
        camera->clearRequestLog();
    }

    /// Another program changes the gamma until that is noticed.  Everything before it is known then.
    void expectToFollow() {
        const std::int64_t now = *camera->controlValue(control::gamma);
        std::int64_t next = now;
        ASSERT_TRUE(waitFor([&] {
            next = next == 100 ? 101 : 100;
            camera->setControlValue(control::gamma, next);
            return std::erase(changes, KTUVCControl::gamma) > 0;
        }));
        // Changes come in order: once this one is here, so are all the others.
        const std::int64_t sharpness = *camera->controlValue(control::sharpness);
        camera->setControlValue(control::sharpness, sharpness == 1 ? 2 : 1);
        ASSERT_TRUE(waitFor([&] { return std::erase(changes, KTUVCControl::sharpness) > 0; }));
        EXPECT_EQ(manager.gamma()->val(), next);
        std::erase(changes, KTUVCControl::gamma);
    }

    template <typename Condition>
    [[nodiscard]] static bool waitFor(Condition condition) {
        constexpr int patience = 20'000; // ms; sanitizers are slow
        return QTest::qWaitFor(condition, patience);
    }

    /// As over raw USB.
    void stopTelling() {
        manager.setInterface(
            std::make_shared<testing::UntoldInterface>(std::make_shared<VirtualControlInterface>(camera, 0)));
        follower->followInterface();
    }

    testing::BoundVirtualCamera bound;
    KTUVCManager& manager = bound.manager;
    const std::shared_ptr<VirtualCameraFirmware> camera = bound.camera;
    std::vector<KTUVCControl> changes;
    std::thread::id thread;
    std::unique_ptr<ControlFollower> follower = std::make_unique<ControlFollower>(manager);
};

TEST_F(FollowerTest, AChangeIsInTheRecordAndToldOnTheMainThreadWithoutARequest) {
    follow();
    camera->setControlValue(control::contrast, 7);
    ASSERT_TRUE(waitFor([&] { return !changes.empty(); }));
    EXPECT_THAT(changes, ElementsAre(KTUVCControl::contrast));
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(manager.contrast()->val(), 7);
    EXPECT_THAT(camera->requestLog(), IsEmpty());
}

TEST_F(FollowerTest, TheProgramsOwnWritesDoNotEcho) {
    follow();
    manager.setContrastWithComplitionHandle(7, {});
    manager.setPanWithComplitionHandle(3600, {});
    expectToFollow();
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(FollowerTest, AValueThatIsTheSameIsNotTold) {
    follow();
    camera->setControlValue(control::contrast, manager.contrast()->val());
    expectToFollow();
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(FollowerTest, GoesOnAfterARefusal) {
    follow();
    camera->order({.kind = FaultKind::stall, .control = control::brightness});
    manager.setBrightWithComplitionHandle(5, {});
    ASSERT_TRUE(manager.interfaceIsClosed());
    ASSERT_TRUE(waitFor([&] { return !manager.interfaceIsClosed(); }));
    expectToFollow();
}

TEST_F(FollowerTest, ACameraThatDidNotAnswerIsLeftAloneUntilSomebodyOpensIt) {
    follow();
    camera->order({.kind = FaultKind::silence, .control = control::brightness});
    manager.setBrightWithComplitionHandle(5, {});
    const auto writes = camera->requestLog().size();
    bool looked = false;
    QTimer::singleShot(600ms, &*follower, [&] { looked = true; }); // longer than it takes to look again
    ASSERT_TRUE(waitFor([&] { return looked; }));
    EXPECT_TRUE(manager.interfaceIsClosed());
    EXPECT_EQ(camera->requestLog().size(), writes);
    camera->clearFaults();
    ASSERT_TRUE(manager.openInterfaceAgain());
    expectToFollow();
}

TEST_F(FollowerTest, WhatWasMissedWhileTheInterfaceWasClosedIsReadWhenAsked) {
    follow();
    camera->order({.kind = FaultKind::silence, .control = control::brightness});
    manager.setBrightWithComplitionHandle(5, {});
    camera->clearFaults();
    QCoreApplication::processEvents();
    camera->setControlValue(control::contrast, 7);
    ASSERT_TRUE(manager.openInterfaceAgain());
    follower->followInterface();
    expectToFollow();
    EXPECT_NE(manager.contrast()->val(), 7);
    follower->catchUp();
    EXPECT_TRUE(waitFor([&] { return manager.contrast()->val() == 7; }));
    EXPECT_TRUE(waitFor([&] { return !changes.empty(); }));
    EXPECT_THAT(changes, Contains(KTUVCControl::contrast));
}

TEST_F(FollowerTest, ACameraThatTellsChangesIsNotAsked) {
    follow();
    follower->catchUp();
    expectToFollow();
    EXPECT_THAT(camera->requestLog(), IsEmpty());
}

TEST_F(FollowerTest, ACameraThatWillTellChangesIsNotAskedWhileItsWatchStarts) {
    camera->clearRequestLog();
    follower->followInterface();
    follower->catchUp();
    expectToFollow();
    EXPECT_THAT(camera->requestLog(), IsEmpty());
}

TEST_F(FollowerTest, ACameraThatTellsNothingIsReadOnceItsWatchCouldNotStart) {
    stopTelling();
    camera->setControlValue(control::contrast, 7);
    follower->catchUp();
    EXPECT_TRUE(waitFor([&] { return manager.contrast()->val() == 7; }));
}

TEST_F(FollowerTest, ACameraThatTellsNothingIsReadWhenAskedAndNotOnTheMainThread) {
    stopTelling();
    camera->setControlValue(control::contrast, 7);
    camera->setControlValue(control::panTilt, packPanTilt(3600, -7200));
    camera->clearRequestLog();
    const OwnRequests own(camera);
    follower->catchUp();
    ASSERT_TRUE(waitFor([&] { return changes.size() == 2; }));
    EXPECT_THAT(changes, ElementsAre(KTUVCControl::panTilt, KTUVCControl::contrast));
    EXPECT_EQ(manager.contrast()->val(), 7);
    EXPECT_EQ(own.count(), 0U);
    for (const RequestRecord& request : camera->requestLog())
        EXPECT_EQ(request.setup.bRequest, codeOf(UvcRequest::getCur));
}

TEST_F(FollowerTest, ACameraThatTellsNothingIsReadAgainEachTime) {
    stopTelling();
    for (const std::int64_t value : {7, 8}) {
        camera->setControlValue(control::contrast, value);
        // A reading that is under way may be past the contrast.
        EXPECT_TRUE(waitFor([&] {
            follower->catchUp();
            return manager.contrast()->val() == value;
        }));
    }
}

TEST_F(FollowerTest, ReadingACameraEndsWithItsFirstFailure) {
    stopTelling();
    camera->clearRequestLog();
    camera->order({.kind = FaultKind::silence});
    follower->catchUp();
    ASSERT_TRUE(waitFor([&] { return manager.interfaceIsClosed(); }));
    follower.reset();
    EXPECT_EQ(camera->requestLog().size(), 1U);
}

TEST_F(FollowerTest, TakesNothingAfterTheManagerHasLetGo) {
    follow();
    manager.letGoOfInterface();
    follower->followInterface();
    camera->setControlValue(control::contrast, 7);
    bound.bind();
    manager.contrast()->setVal(32);
    follow();
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_EQ(manager.contrast()->val(), 32);
}

TEST_F(FollowerTest, NoticesThatTheManagerWasBoundAgain) {
    follow();
    bound.bind();
    follow();
    camera->setControlValue(control::contrast, 7);
    EXPECT_TRUE(waitFor([&] { return manager.contrast()->val() == 7; }));
}

TEST_F(FollowerTest, AChangeDuringAWriteEndsWithTheCamerasValue) {
    follow();
    camera->order({.kind = FaultKind::delay,
                   .control = control::contrast,
                   .direction = FaultDirection::writes,
                   .wait = 50ms});
    std::thread writer([this] { manager.setContrastWithComplitionHandle(7, {}); });
    ASSERT_TRUE(waitFor([&] { return manager.contrast()->val() == 7; })); // it waits for its answer
    camera->setControlValue(control::contrast, 9);
    writer.join();
    camera->clearFaults();
    camera->setControlValue(control::contrast, 11);
    EXPECT_TRUE(waitFor([&] { return manager.contrast()->val() == 11; }));
}

/// Another program writes the contrast after each write of this one, and that is reported before the write
/// has returned.
class InterruptedInterface final : public UsbInterface {
public:
    explicit InterruptedInterface(std::shared_ptr<VirtualCameraFirmware> camera)
        : camera_(std::move(camera)),
          interface_(camera_, 0) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        const ErrorCode result = interface_.ControlRequest(request);
        if (request.bmRequestType == uvc::classInterfaceOut && events_.changed) {
            camera_->setControlValue(control::contrast, 9);
            events_.changed({control::contrast, {9, 0}});
        }
        return result;
    }
    void USBInterfaceClose() override { interface_.USBInterfaceClose(); }
    std::uint8_t GetInterfaceNumber() const override { return interface_.GetInterfaceNumber(); }
    std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& events) override {
        events_ = events;
        isWatched = true;
        return std::make_unique<ControlWatch>();
    }

    std::atomic<bool> isWatched = false;

private:
    const std::shared_ptr<VirtualCameraFirmware> camera_;
    VirtualControlInterface interface_;
    ControlWatchEvents events_;
};

TEST_F(FollowerTest, AChangeThatIsReportedDuringAWriteIsReadAfterIt) {
    const auto interface = std::make_shared<InterruptedInterface>(camera);
    manager.setInterface(interface);
    follower->followInterface();
    ASSERT_TRUE(waitFor([&] { return interface->isWatched.load(); }));
    manager.setContrastWithComplitionHandle(7, {});
    EXPECT_EQ(manager.contrast()->val(), 7);
    EXPECT_TRUE(waitFor([&] { return manager.contrast()->val() == 9; }));
    EXPECT_TRUE(waitFor([&] { return !changes.empty(); }));
    EXPECT_THAT(changes, ElementsAre(KTUVCControl::contrast));
}

/// A refusal closes it just before its watch begins.
class HastyInterface final : public UsbInterface {
public:
    HastyInterface(std::unique_ptr<UsbInterface> interface, std::function<void()> refuse)
        : interface_(std::move(interface)),
          refuse_(std::move(refuse)) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        return interface_->ControlRequest(request);
    }
    void USBInterfaceClose() override { interface_->USBInterfaceClose(); }
    std::uint8_t GetInterfaceNumber() const override { return interface_->GetInterfaceNumber(); }
    std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& events) override {
        refuse_();
        return interface_->watchControls(events);
    }

private:
    const std::unique_ptr<UsbInterface> interface_;
    const std::function<void()> refuse_;
};

TEST_F(FollowerTest, GoesOnAfterARefusalJustBeforeItsWatchBegan) {
    camera->order({.kind = FaultKind::stall, .control = control::brightness});
    manager.setInterface(
        std::make_shared<HastyInterface>(std::make_unique<VirtualControlInterface>(camera, 0),
                                         [this] { manager.setBrightWithComplitionHandle(5, {}); }));
    follower->followInterface();
    expectToFollow();
}

TEST_F(FollowerTest, EndsDuringAReading) {
    stopTelling();
    camera->order({.kind = FaultKind::delay, .wait = 20ms});
    camera->clearRequestLog();
    follower->catchUp();
    follower.reset();
    EXPECT_LE(camera->requestLog().size(), 1U);
}

} // namespace
} // namespace tavelo
