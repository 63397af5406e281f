// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TransportTest : public ManagerTest {};

TEST_F(TransportTest, ReadsAreClassRequestsToTheInterface) {
    bind();
    manager->_populateParamSupport(*manager->zoom(), true);
    const std::vector<std::uint8_t> one(1);
    const std::vector<std::uint8_t> two(2);
    EXPECT_THAT(camera->requests(), ElementsAre(FakeUsbRequest{0xA1, 0x86, 0x0B00, 0x0302, 1, one},
                                                FakeUsbRequest{0xA1, 0x81, 0x0B00, 0x0302, 2, two},
                                                FakeUsbRequest{0xA1, 0x82, 0x0B00, 0x0302, 2, two},
                                                FakeUsbRequest{0xA1, 0x83, 0x0B00, 0x0302, 2, two},
                                                FakeUsbRequest{0xA1, 0x87, 0x0B00, 0x0302, 2, two}));
}

TEST_F(TransportTest, ProcessingUnitControlsGoToTheProcessingUnit) {
    bind();
    manager->populateParam(*manager->whiteBalance());
    EXPECT_THAT(camera->requests(),
                ElementsAre(FakeUsbRequest{0xA1, 0x81, 0x0A00, 0x0502, 4, std::vector<std::uint8_t>(4)}));
}

TEST_F(TransportTest, OnlyTheLowByteOfTheInterfaceNumberIsSent) {
    bind();
    manager->setInterfaceNumber(0x404);
    manager->populateParam(*manager->zoom());
    EXPECT_EQ(camera->requests().front().wIndex, 0x0304);
}

TEST_F(TransportTest, PopulateParamChangesNoField) {
    bind();
    script(KTUVCControl::zoom, 77, 78);
    const std::string before = manager->zoom()->description();
    manager->populateParam(*manager->zoom());
    EXPECT_EQ(manager->zoom()->description(), before);
    EXPECT_EQ(camera->requests().size(), 1U);
}

TEST_F(TransportTest, ReadGivesItsBytesToTheCaller) {
    bind();
    std::unique_ptr<std::uint8_t[]> bytes;
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getMax, *manager->zoom()->controlInfo(),
                                                          bytes),
              2);
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0], 100);
    EXPECT_EQ(bytes[1], 0);
}

TEST_F(TransportTest, EmptyReplyAndFailureLeaveNoBuffer) {
    bind();
    script(KTUVCControl::zoom, FakeUvcControl{});
    std::unique_ptr<std::uint8_t[]> bytes = std::make_unique<std::uint8_t[]>(1);
    const KTUVCControlInfo& zoom = *manager->zoom()->controlInfo();
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getMax, zoom, bytes), 0);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_FALSE(manager->interfaceIsClosed());

    fail(KTUVCControl::zoom, FakeUvcCamera::getMax, ErrorCode::timeout);
    bytes = std::make_unique<std::uint8_t[]>(1);
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getMax, zoom, bytes), -1);
    EXPECT_EQ(bytes, nullptr);
}

TEST_F(TransportTest, ReplyLongerThanRequestedIsCut) {
    class Liar : public UsbInterface {
        ErrorCode ControlRequest(UsbControlRequest& request) override {
            request.bytesDone = 4000;
            return ErrorCode::none;
        }
        void USBInterfaceClose() override {}
        std::uint8_t GetInterfaceNumber() const override { return 0; }
    };
    manager->setInterface(std::make_shared<Liar>());
    std::unique_ptr<std::uint8_t[]> bytes;
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getCur, *manager->zoom()->controlInfo(),
                                                          bytes),
              2);
}

TEST_F(TransportTest, FailureClosesTheInterfaceAndTheRestOfThePassIsUnsupported) {
    fail(KTUVCControl::gain, FakeUvcCamera::getMin, ErrorCode::timeout);
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_TRUE(manager->contrast()->supported());
    for (std::size_t i = indexOf(KTUVCControl::gain); i < controlCount; ++i)
        expectUnsupported(*manager->parametersArray()[i]);
    EXPECT_EQ(camera->requests().back().bRequest, FakeUvcCamera::getMin);
    EXPECT_TRUE(manager->interfaceIsClosed());
    EXPECT_NE(manager->interface(), nullptr);
}

TEST_F(TransportTest, EveryKindOfFailureClosesTheInterfaceForGood) {
    for (const ErrorCode status :
         {ErrorCode::gone, ErrorCode::timeout, ErrorCode::refused, ErrorCode::denied, ErrorCode::failed}) {
        bind();
        EXPECT_FALSE(manager->interfaceIsClosed());
        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, status);
        EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
        EXPECT_TRUE(manager->interfaceIsClosed());
        const auto interface = std::dynamic_pointer_cast<FakeUsbInterface>(manager->interface());
        ASSERT_NE(interface, nullptr);
        EXPECT_TRUE(interface->isClosed());

        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, ErrorCode::none);
        camera->forgetRequests();
        EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
        EXPECT_THAT(camera->requests(), IsEmpty());
    }
    bind();
    EXPECT_TRUE(manager->_pushParamToDevice(manager->zoom().get()));
}

TEST_F(TransportTest, TheReasonAndTimeOfAFailureAreKeptUntilTheInterfaceIsReopened) {
    bind();
    EXPECT_EQ(manager->failure(), ErrorCode::none);
    fail(KTUVCControl::zoom, FakeUvcCamera::setCur, ErrorCode::timeout);
    now += std::chrono::seconds(5);
    EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
    const auto failedAt = now;
    now += std::chrono::seconds(5);
    EXPECT_FALSE(manager->_pushParamToDevice(manager->bright().get())) << "closed";
    EXPECT_EQ(manager->failure(), ErrorCode::timeout);
    EXPECT_EQ(manager->failedAt(), failedAt);
    ASSERT_TRUE(manager->openInterfaceAgain());
    EXPECT_EQ(manager->failure(), ErrorCode::none);
}

TEST_F(TransportTest, ARequestOnAClosedInterfaceDoesNotReplaceTheReason) {
    bind();
    fail(KTUVCControl::zoom, FakeUvcCamera::setCur, ErrorCode::gone);
    fail(KTUVCControl::bright, FakeUvcCamera::setCur, ErrorCode::failed);
    camera->requestArrived = [this](const FakeUsbRequest&) {
        camera->requestArrived = {};
        EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get())); // like another thread would
    };
    EXPECT_FALSE(manager->_pushParamToDevice(manager->bright().get()));
    EXPECT_EQ(manager->failure(), ErrorCode::gone);
}

TEST_F(TransportTest, WithoutInterfaceNothingIsSentAndEveryRecordIsUnsupported) {
    UsbControlRequest request;
    EXPECT_FALSE(manager->_sendControlRequest(request));
    EXPECT_FALSE(manager->interfaceIsClosed());
    std::unique_ptr<std::uint8_t[]> bytes;
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getInfo,
                                                          *manager->zoom()->controlInfo(), bytes),
              -1);
    manager->generalInit();
    for (const auto& record : manager->parametersArray())
        expectUnsupported(*record);
}

TEST_F(TransportTest, RecordWithoutDescriptionIsUnsupportedAndSendsNothing) {
    bind();
    manager->bright()->setControlInfo(nullptr);
    manager->_populateParamSupport(*manager->bright(), true);
    manager->populateParam(*manager->bright());
    EXPECT_FALSE(manager->_pushParamToDevice(manager->bright().get()));
    expectUnsupported(*manager->bright());
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(TransportTest, ExplicitUnitAndSelectorAreWritten) {
    bind();
    const std::array<std::uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(manager->setBytesSizedToUnitSelector(bytes.data(), 8, 1, 13));
    EXPECT_TRUE(manager->setBytesSizedToUnitSelector(bytes.data(), 1, 7,
                                                     0x21)); // any other unit means the processing unit
    EXPECT_THAT(camera->requests(),
                ElementsAre(FakeUsbRequest{0x21, 0x01, 0x0D00, 0x0302, 8, {1, 2, 3, 4, 5, 6, 7, 8}},
                            FakeUsbRequest{0x21, 0x01, 0x2100, 0x0502, 1, {1}}));
}

TEST_F(TransportTest, ValueOfMoreThanEightBytesEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    bind();
    const std::array<std::uint8_t, 9> bytes{};
    EXPECT_DEATH(manager->setBytesSizedToUnitSelector(bytes.data(), bytes.size(), 1, 1), "");
}

} // namespace
} // namespace tavelo
