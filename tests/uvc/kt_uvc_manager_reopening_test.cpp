// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;

class ReopeningTest : public ManagerTest {
protected:
    /// Binds and makes a refused write, which closes the interface.
    void bindAndClose() {
        bind();
        fail(KTUVCControl::contrast, FakeUvcCamera::setCur);
        manager->setContrastWithComplitionHandle(3, {});
        ASSERT_TRUE(manager->interfaceIsClosed());
        camera->forgetRequests();
    }
};

TEST_F(ReopeningTest, AfterARefusedWriteTheInterfaceOpensWithoutARequest) {
    bindAndClose();
    const std::shared_ptr<UsbInterface> closed = manager->interface();
    EXPECT_TRUE(manager->openInterfaceAgain());
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_FALSE(manager->interfaceIsClosed());
    EXPECT_NE(manager->interface(), closed);
}

TEST_F(ReopeningTest, WritesGoToTheSameEntitiesAndInterfaceAsBefore) {
    bindAndClose();
    ASSERT_TRUE(manager->openInterfaceAgain());
    Completion completion;
    manager->setBrightWithComplitionHandle(7, completion.handle());
    EXPECT_TRUE(completion.success);
    EXPECT_THAT(camera->requests(), testing::ElementsAre(writeOf(KTUVCControl::bright, {7, 0})));
}

TEST_F(ReopeningTest, KeepsTheRecords) {
    bindAndClose();
    script(KTUVCControl::bright, 33, 44);
    ASSERT_TRUE(manager->openInterfaceAgain());
    EXPECT_EQ(record(KTUVCControl::bright).val(), 1);
    EXPECT_EQ(record(KTUVCControl::bright).def(), 50);
    EXPECT_EQ(record(KTUVCControl::contrast).val(), 1) << "the refused value was undone";
}

TEST_F(ReopeningTest, AnInterfaceThatIsOpenStaysTheSame) {
    bind();
    const std::shared_ptr<UsbInterface> open = manager->interface();
    EXPECT_TRUE(manager->openInterfaceAgain());
    EXPECT_EQ(manager->interface(), open);
}

TEST_F(ReopeningTest, OpensNothingIfNoCameraIsBound) {
    EXPECT_FALSE(manager->openInterfaceAgain());
    EXPECT_EQ(manager->interface(), nullptr);
}

TEST_F(ReopeningTest, ACameraThatLeftTheBusStaysClosed) {
    bindAndClose();
    platform.devices.clear();
    now += std::chrono::seconds(5);
    EXPECT_FALSE(manager->openInterfaceAgain());
    EXPECT_TRUE(manager->interfaceIsClosed());
    EXPECT_EQ(manager->failure(), ErrorCode::gone) << "no longer the refusal";
    EXPECT_EQ(manager->failedAt(), now);
}

TEST_F(ReopeningTest, RebindsTheCameraIfItsRecordsCouldNotBeRead) {
    fail(KTUVCControl::bright, FakeUvcCamera::getCur, ErrorCode::timeout);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    ASSERT_TRUE(manager->interfaceIsClosed());
    expectUnsupported(record(KTUVCControl::contrast));
    EXPECT_FALSE(manager->openInterfaceAgain()) << "the camera is still silent";

    fail(KTUVCControl::bright, FakeUvcCamera::getCur, ErrorCode::none);
    camera->forgetRequests();
    EXPECT_TRUE(manager->openInterfaceAgain());
    EXPECT_THAT(camera->requests(), Not(IsEmpty()));
    EXPECT_TRUE(record(KTUVCControl::contrast).supported());
    EXPECT_EQ(manager->deviceLocationID(), location);
}

} // namespace
} // namespace tavelo
