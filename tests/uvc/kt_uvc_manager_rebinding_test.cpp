// SPDX-License-Identifier: MIT
// Answers that arrive after another camera has been bound.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::IsEmpty;

class RebindingTest : public TwoCamerasTest {
protected:
    void SetUp() override {
        TwoCamerasTest::SetUp();
        bind();
    }

    /// Binds the other camera while the next write to the first one waits for its answer.
    void bindOtherDuringTheNextWrite() {
        camera->requestArrived = [this](const FakeUsbRequest& request) {
            if (request.bRequest != FakeUvcCamera::setCur) return;
            camera->requestArrived = {};
            EXPECT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
            other->forgetRequests();
        };
    }
};

TEST_F(RebindingTest, APairWrittenToTheOldCameraIsNotStoredForTheNewOne) {
    bindOtherDuringTheNextWrite();
    manager->setPanWithComplitionHandle(18000, {});
    EXPECT_EQ(manager->panTilt()->val(), 2);
    manager->setTiltWithComplitionHandle(3600, {});
    ASSERT_EQ(other->writes().size(), 1U);
    EXPECT_EQ(other->writes().front().data, littleEndian(3600LL << 32 | 2, 8));
}

TEST_F(RebindingTest, AValueWrittenToTheOldCameraIsNotStoredForTheNewOne) {
    bindOtherDuringTheNextWrite();
    manager->setBrightWithComplitionHandle(42, {});
    EXPECT_EQ(manager->bright()->val(), 2);
}

TEST_F(RebindingTest, AFailureOfTheOldCameraDoesNotRestoreItsValue) {
    for (const KTUVCControl control : {KTUVCControl::bright, KTUVCControl::panTilt}) {
        bind();
        fail(control, FakeUvcCamera::setCur, ErrorCode::timeout);
        bindOtherDuringTheNextWrite();
        Completion done;
        manager->setControlWithComplitionHandle(control, 42, done.handle());
        EXPECT_EQ(done.calls, 1);
        EXPECT_FALSE(done.success);
        EXPECT_EQ(record(control).val(), 2);
        EXPECT_FALSE(manager->interfaceIsClosed());
    }
}

TEST_F(RebindingTest, AFailureDoesNotUndoWhatAnotherThreadHasSetSince) {
    fail(KTUVCControl::bright, FakeUvcCamera::setCur);
    camera->requestArrived = [this](const FakeUsbRequest&) { manager->bright()->setVal(77); };
    manager->setBrightWithComplitionHandle(42, {});
    EXPECT_EQ(manager->bright()->val(), 77);
}

TEST_F(RebindingTest, ASetterSendsNothingWhileTheCameraIsRead) {
    Completion done;
    other->requestArrived = [&](const FakeUsbRequest& request) {
        if (request.bRequest != FakeUvcCamera::getMin || done.calls > 0) return;
        manager->setBrightWithComplitionHandle(42, done.handle());
        manager->setPanTiltWithComplitionHandle(42, done.handle());
    };
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    EXPECT_EQ(done.calls, 2);
    EXPECT_FALSE(done.success);
    EXPECT_THAT(other->writes(), IsEmpty());
    EXPECT_EQ(manager->bright()->val(), 2);
    EXPECT_EQ(manager->panTilt()->val(), 2);
}

TEST_F(RebindingTest, AWalkOverOneCameraDoesNotContinueOnTheNext) {
    for (void (KTUVCManager::*walk)() :
         {&KTUVCManager::resetParamsToDefaults, &KTUVCManager::sendParamsToDevice}) {
        bind();
        bindOtherDuringTheNextWrite();
        (manager.get()->*walk)();
        EXPECT_EQ(camera->writes().size(), 1U);
        EXPECT_THAT(other->requests(), IsEmpty());
    }
}

TEST_F(RebindingTest, AHeldInterfaceIsClosedBeforeAnotherIsOpened) {
    const auto held = std::make_shared<FakeUsbInterface>(std::make_shared<FakeUvcCamera>());
    platform.devicesAsked = [&] { manager->setInterface(held); };
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_TRUE(held->isClosed());
    EXPECT_NE(manager->interface(), held);
    EXPECT_EQ(manager->bright()->val(), 1);
}

} // namespace
} // namespace tavelo
