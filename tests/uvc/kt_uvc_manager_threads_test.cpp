// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ThreadsTest = TwoCamerasTest;

TEST_F(ThreadsTest, PushesWhileAnotherCameraIsBoundNeverReachTheWrongOne) {
    bind();
    std::atomic<bool> stop = false;
    std::atomic<int> pushes = 0;
    std::thread background([&] {
        while (!stop) {
            manager->setBrightWithComplitionHandle(3, {});
            manager->setPanWithComplitionHandle(3600, {});
            manager->resetParamsToDefaults();
            manager->sendParamsToDevice();
            ++pushes;
        }
    });
    for (int i = 0; i < 20 || pushes < 20; ++i) {
        EXPECT_TRUE(manager->refreshDataWithUniqueIDString(i % 2 == 0 ? otherID : uniqueID));
        manager->setZoomWithComplitionHandle(i, {});
    }
    stop = true;
    background.join();

    ASSERT_FALSE(other->writes().empty());
    for (const FakeUsbRequest& request : camera->requests()) {
        ASSERT_EQ(request.wIndex & 0xFF, interfaceNumber) << request;
        ASSERT_TRUE(request.entity() == terminal || request.entity() == unit) << request;
    }
    for (const FakeUsbRequest& request : other->requests()) {
        ASSERT_EQ(request.wIndex & 0xFF, otherNumber) << request;
        ASSERT_TRUE(request.entity() == otherTerminal || request.entity() == otherUnit) << request;
    }
}

TEST_F(ThreadsTest, WalksThatReopenWhileAnotherCameraIsBoundNeverReachTheWrongOne) {
    camera->setFailure(unit, 3, FakeUvcCamera::setCur, ErrorCode::refused);
    other->setFailure(otherUnit, 3, FakeUvcCamera::setCur, ErrorCode::refused);
    bind();
    std::atomic<bool> stop = false;
    std::atomic<int> walks = 0;
    const auto walk = [&] {
        while (!stop) {
            manager->sendParamsToDevice();
            ++walks;
        }
    };
    std::thread first(walk);
    std::thread second(walk);
    for (int i = 0; i < 20 || walks < 40; ++i)
        EXPECT_TRUE(manager->refreshDataWithUniqueIDString(i % 2 == 0 ? otherID : uniqueID));
    stop = true;
    first.join();
    second.join();
    for (const FakeUsbRequest& request : camera->requests())
        ASSERT_EQ(request.wIndex & 0xFF, interfaceNumber) << request;
    for (const FakeUsbRequest& request : other->requests())
        ASSERT_EQ(request.wIndex & 0xFF, otherNumber) << request;
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    for (const auto& record : manager->parametersArray())
        EXPECT_TRUE(record->supported());
    EXPECT_EQ(manager->contrast()->val(), 2) << "both cameras refused the write";
}

TEST_F(ThreadsTest, FailureOfADroppedInterfaceDoesNotCloseTheNewOne) {
    /// Fails only after the manager has been bound to another camera.
    class Late : public UsbInterface {
    public:
        explicit Late(KTUVCManager& manager) : manager_(manager) {}
        ErrorCode ControlRequest(UsbControlRequest&) override {
            manager_.refreshDataWithUniqueIDString(otherID);
            return ErrorCode::gone;
        }
        void USBInterfaceClose() override {}
        std::uint8_t GetInterfaceNumber() const override { return 0; }

    private:
        KTUVCManager& manager_;
    };
    bind();
    manager->setInterface(std::make_shared<Late>(*manager));
    EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
    EXPECT_FALSE(manager->interfaceIsClosed());
    EXPECT_TRUE(manager->_pushParamToDevice(manager->zoom().get()));
}

TEST_F(ThreadsTest, ARequestThatFindsTheInterfaceClosedDoesNotHideWhyItWas) {
    /// While it is closed after a refusal, a request of another thread finds it so.
    class Refusing : public UsbInterface {
    public:
        explicit Refusing(KTUVCManager& manager) : manager_(manager) {}
        ErrorCode ControlRequest(UsbControlRequest&) override {
            return isClosed_ ? ErrorCode::closed : ErrorCode::refused;
        }
        void USBInterfaceClose() override {
            if (std::exchange(isClosed_, true)) return;
            manager_._pushParamToDevice(manager_.contrast().get());
            reasonMeanwhile = manager_.failure();
        }
        std::uint8_t GetInterfaceNumber() const override { return 0; }

        ErrorCode reasonMeanwhile = ErrorCode::none;

    private:
        KTUVCManager& manager_;
        bool isClosed_ = false;
    };
    bind();
    const auto refusing = std::make_shared<Refusing>(*manager);
    manager->setInterface(refusing);
    EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
    EXPECT_EQ(refusing->reasonMeanwhile, ErrorCode::closed);
    EXPECT_EQ(manager->failure(), ErrorCode::refused);
    EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
    EXPECT_EQ(manager->failure(), ErrorCode::refused) << "the first reason stays";
}

TEST_F(ThreadsTest, LastWriterOfAControlWins) {
    bind();
    std::thread background([&] {
        for (int i = 0; i < 200; ++i)
            manager->setContrastWithComplitionHandle(10, {});
    });
    for (int i = 0; i < 200; ++i)
        manager->setContrastWithComplitionHandle(20, {});
    background.join();
    const std::int64_t left = manager->contrast()->val();
    EXPECT_TRUE(left == 10 || left == 20) << left;
    EXPECT_FALSE(manager->interfaceIsClosed());
}

} // namespace
} // namespace tavelo
