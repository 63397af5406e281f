// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "uvc/bound_camera.h"
#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::array<std::uint8_t, 2> bytes{100, 0};

class BoundCameraTest : public TwoCamerasTest {
protected:
    void SetUp() override {
        TwoCamerasTest::SetUp();
        bind();
    }
};

TEST_F(BoundCameraTest, ActsLikeTheManagerWhileTheBindingIsTheSame) {
    const BoundCamera bound(*manager);
    Completion done;
    bound.setControlWithComplitionHandle(KTUVCControl::bright, 42, done.handle());
    EXPECT_TRUE(done.success);
    EXPECT_EQ(manager->bright()->val(), 42);
    EXPECT_TRUE(bound.setBytesSizedToUnitSelector(bytes.data(), bytes.size(), 1, 5));
    bound.populateParam(*manager->zoom());
    EXPECT_EQ(camera->requests().size(), 3U);
    EXPECT_TRUE(bound.isCurrent());
    EXPECT_EQ(bound.failure(), ErrorCode::none);
}

TEST_F(BoundCameraTest, SendsNothingToACameraThatIsBoundLater) {
    const BoundCamera bound(*manager);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    camera->forgetRequests();
    other->forgetRequests();
    Completion done;
    for (const KTUVCControl control : {KTUVCControl::bright, KTUVCControl::panTilt})
        bound.setControlWithComplitionHandle(control, 42, done.handle());
    EXPECT_FALSE(bound.setBytesSizedToUnitSelector(bytes.data(), bytes.size(), 1, 5));
    bound.populateParam(*manager->bright());
    EXPECT_FALSE(bound.openInterfaceAgain());
    EXPECT_EQ(done.calls, 2);
    EXPECT_FALSE(done.success);
    EXPECT_FALSE(bound.isCurrent());
    EXPECT_EQ(bound.failure(), ErrorCode::gone);
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_THAT(other->requests(), IsEmpty());
    EXPECT_EQ(manager->bright()->val(), 2);
    EXPECT_EQ(manager->panTilt()->val(), 2);
}

TEST_F(BoundCameraTest, BindingTheSameCameraAgainIsAnotherBinding) {
    const BoundCamera bound(*manager);
    bind();
    EXPECT_FALSE(bound.isCurrent());
    manager->releasePlatform();
    EXPECT_FALSE(BoundCamera(*manager).isCurrent() && bound.isCurrent());
}

TEST_F(BoundCameraTest, ReopeningTheInterfaceKeepsTheBinding) {
    const BoundCamera bound(*manager);
    fail(KTUVCControl::contrast, FakeUvcCamera::setCur);
    bound.setControlWithComplitionHandle(KTUVCControl::contrast, 3, {});
    EXPECT_EQ(bound.failure(), ErrorCode::refused);
    camera->forgetRequests();
    EXPECT_TRUE(bound.openInterfaceAgain());
    EXPECT_EQ(bound.failure(), ErrorCode::none);
    EXPECT_TRUE(bound.isCurrent());
    bound.setControlWithComplitionHandle(KTUVCControl::bright, 7, {});
    EXPECT_THAT(camera->requests(), ElementsAre(writeOf(KTUVCControl::bright, {7, 0})));
}

TEST_F(BoundCameraTest, DropsAnInterfaceOpenedWhileAnotherCameraIsBound) {
    const BoundCamera bound(*manager);
    fail(KTUVCControl::contrast, FakeUvcCamera::setCur);
    bound.setControlWithComplitionHandle(KTUVCControl::contrast, 3, {});
    platform.busAsked = [this] {
        platform.busAsked = {};
        manager->setInterface(nullptr); // as the main thread does while it binds
    };
    EXPECT_FALSE(bound.openInterfaceAgain());
    EXPECT_EQ(manager->interface(), nullptr);
}

} // namespace
} // namespace tavelo
