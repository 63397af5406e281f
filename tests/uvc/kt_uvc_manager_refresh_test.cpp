// SPDX-License-Identifier: MIT
// Values that somebody else changed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RefreshTest : public TwoCamerasTest {
protected:
    void SetUp() override {
        TwoCamerasTest::SetUp();
        bind();
    }

    /// Calls `meanwhile` while the next reading of a value waits for its answer.
    void duringTheNextReading(std::function<void()> meanwhile) {
        camera->requestArrived = [this, meanwhile = std::move(meanwhile)](const FakeUsbRequest& request) {
            if (request.bRequest != FakeUvcCamera::getCur) return;
            const auto call = meanwhile; // the next line destroys what is captured
            camera->requestArrived = {};
            call();
        };
    }
};

TEST_F(RefreshTest, TakesTheCamerasValueWithOneRequest) {
    script(KTUVCControl::bright, -5, 50);
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::changed);
    EXPECT_EQ(manager->bright()->val(), -5);
    ASSERT_EQ(camera->requests().size(), 1U);
    EXPECT_EQ(camera->requests()[0].bRequest, FakeUvcCamera::getCur);
    EXPECT_EQ(camera->requests()[0].selector(), 2);
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::same);
}

TEST_F(RefreshTest, LeavesTheRangeAndTheOtherControlsAlone) {
    script(KTUVCControl::zoom, answers(7, 3, 9, 5, 2));
    EXPECT_EQ(manager->refreshControl(KTUVCControl::zoom), ControlRefresh::changed);
    EXPECT_EQ(manager->zoom()->val(), 7);
    EXPECT_EQ(manager->zoom()->min(), 0);
    EXPECT_EQ(manager->zoom()->max(), 100);
    EXPECT_EQ(manager->zoom()->def(), 50);
    EXPECT_EQ(manager->contrast()->val(), 1);
}

TEST_F(RefreshTest, APairHasTwoSignedHalves) {
    script(KTUVCControl::panTilt, answers(-7200LL << 32 | 3600, 0, 100, 50, 8));
    EXPECT_EQ(manager->refreshControl(KTUVCControl::panTilt), ControlRefresh::changed);
    EXPECT_EQ(KTUVCParameters::first32BitValueFrom64BitValue(manager->panTilt()->val()), 3600);
    EXPECT_EQ(KTUVCParameters::second32BitValueFrom64BitValue(manager->panTilt()->val()), -7200);
}

TEST_F(RefreshTest, HalfAPairIsNoValue) {
    script(KTUVCControl::panTilt, FakeUvcControl{{1, 2, 3, 4, 5, 6, 7}, {}, {}, {}});
    EXPECT_EQ(manager->refreshControl(KTUVCControl::panTilt), ControlRefresh::failed);
    EXPECT_EQ(manager->panTilt()->val(), 1);
}

TEST_F(RefreshTest, WithoutAnAnswerTheRecordStays) {
    script(KTUVCControl::gain, FakeUvcControl{});
    EXPECT_EQ(manager->refreshControl(KTUVCControl::gain), ControlRefresh::failed);
    EXPECT_FALSE(manager->interfaceIsClosed()) << "a stall is an answer";
    fail(KTUVCControl::gain, FakeUvcCamera::getCur, ErrorCode::timeout);
    EXPECT_EQ(manager->refreshControl(KTUVCControl::gain), ControlRefresh::failed);
    EXPECT_EQ(manager->gain()->val(), 1);
    EXPECT_EQ(manager->failure(), ErrorCode::timeout);
}

TEST_F(RefreshTest, AControlThatTheCameraLacksIsNotAsked) {
    manager->iris()->setSupported(false);
    EXPECT_EQ(manager->refreshControl(KTUVCControl::iris), ControlRefresh::failed);
    manager->setIris(nullptr);
    EXPECT_EQ(manager->refreshControl(KTUVCControl::iris), ControlRefresh::failed);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(RefreshTest, AnAnswerOfTheOldCameraIsNotStoredForTheNewOne) {
    script(KTUVCControl::bright, 42, 50);
    duringTheNextReading([this] { EXPECT_TRUE(manager->refreshDataWithUniqueIDString(otherID)); });
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::failed);
    EXPECT_EQ(manager->bright()->val(), 2);
}

TEST_F(RefreshTest, ABoundCameraIsOnlyAskedWhileItIsBound) {
    const BoundCamera bound(*manager);
    script(KTUVCControl::bright, 42, 50);
    EXPECT_EQ(bound.refreshControl(KTUVCControl::bright), ControlRefresh::changed);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    camera->forgetRequests();
    other->forgetRequests();
    EXPECT_EQ(bound.refreshControl(KTUVCControl::bright), ControlRefresh::failed);
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_THAT(other->requests(), IsEmpty());
}

TEST_F(RefreshTest, AValueWrittenDuringTheReadingStays) {
    script(KTUVCControl::bright, 42, 50);
    duringTheNextReading([this] { manager->setBrightWithComplitionHandle(7, {}); });
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::overtaken);
    EXPECT_EQ(manager->bright()->val(), 7);

    script(KTUVCControl::panTilt, answers(42, 0, 100, 50, 8));
    duringTheNextReading([this] { manager->setPanTiltWithComplitionHandle(7, {}); });
    EXPECT_EQ(manager->refreshControl(KTUVCControl::panTilt), ControlRefresh::overtaken);
    EXPECT_EQ(manager->panTilt()->val(), 7);
}

TEST_F(RefreshTest, AWriteOfAnotherControlDoesNotMatter) {
    script(KTUVCControl::bright, 42, 50);
    duringTheNextReading([this] { manager->setContrastWithComplitionHandle(7, {}); });
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::changed);
    EXPECT_EQ(manager->bright()->val(), 42);
}

TEST_F(RefreshTest, AReadingDuringAWriteIsNotEvenBegun) {
    auto result = ControlRefresh::same;
    camera->requestArrived = [&](const FakeUsbRequest& request) {
        if (request.bRequest == FakeUvcCamera::setCur) result = manager->refreshControl(KTUVCControl::bright);
    };
    manager->setBrightWithComplitionHandle(7, {});
    EXPECT_EQ(result, ControlRefresh::overtaken);
    EXPECT_EQ(manager->bright()->val(), 7);
    EXPECT_EQ(camera->requests().size(), 1U);
    camera->requestArrived = {};
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::same) << "the write is over";
}

TEST_F(RefreshTest, AWriteThatWasNotAllowedLeavesNoMark) {
    const BoundCamera bound(*manager);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    bound.setControlWithComplitionHandle(KTUVCControl::bright, 7, {});
    EXPECT_EQ(manager->refreshControl(KTUVCControl::bright), ControlRefresh::same);
}

TEST_F(RefreshTest, NothingIsReadAnewWhileTheCameraIsRead) {
    auto result = ControlRefresh::same;
    other->requestArrived = [&](const FakeUsbRequest& request) {
        if (request.bRequest == FakeUvcCamera::getMin)
            result = manager->refreshControl(KTUVCControl::scanningMode);
    };
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    EXPECT_EQ(result, ControlRefresh::failed);
}

} // namespace
} // namespace tavelo
