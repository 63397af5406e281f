// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t pair(std::int32_t pan, std::int32_t tilt) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(tilt)) << 32 |
                                     static_cast<std::uint32_t>(pan));
}

void expectUnsupported(const KTUVCParameters& record) {
    EXPECT_FALSE(record.supported()) << record.description();
    for (const std::int64_t number :
         {record.min(), record.max(), record.val(), record.def(), std::int64_t{record.actualSize()}})
        EXPECT_EQ(number, -1) << record.description();
}

class TransportTest : public ManagerTest {
protected:
    KTUVCParameters& brightAfterBinding(const FakeUvcControl& answer) {
        script(KTUVCControl::bright, answer);
        EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
        return *manager->bright();
    }

    std::vector<FakeUsbRequest> requestsOf(KTUVCControl control) const {
        const ControlRow& row = controlRow(control);
        std::vector<FakeUsbRequest> found = camera->requests();
        std::erase_if(found, [&](const FakeUsbRequest& request) {
            return request.selector() != row.selector || request.entity() != entityOf(row);
        });
        return found;
    }
};

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
    manager->setInterfaceNumber(0x104);
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

TEST_F(TransportTest, QueriesThatAControlDoesNotAnswerAreNotSent) {
    bind();
    manager->_populateParamSupport(*manager->scanningMode(), true);
    manager->_populateParamSupport(*manager->autoFocus(), true);
    std::vector<int> codes;
    for (const FakeUsbRequest& request : camera->requests())
        codes.push_back(request.bRequest);
    EXPECT_THAT(codes, ElementsAre(0x86, 0x81, 0x86, 0x81, 0x87));
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

    fail(KTUVCControl::zoom, FakeUvcCamera::getMax, UsbStatus::timeout);
    bytes = std::make_unique<std::uint8_t[]>(1);
    EXPECT_EQ(manager->_requestValTypeForControlReturnVal(UvcRequest::getMax, zoom, bytes), -1);
    EXPECT_EQ(bytes, nullptr);
}

TEST_F(TransportTest, BackendThatClaimsMoreBytesThanAskedIsNotBelieved) {
    class Liar : public UsbInterface {
        UsbStatus ControlRequest(UsbControlRequest& request) override {
            request.bytesDone = 4000;
            return UsbStatus::success;
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

TEST_F(TransportTest, InfoMustNameBothGetAndSet) {
    for (const std::uint8_t info : {std::uint8_t{0x00}, std::uint8_t{0x01}, std::uint8_t{0x02}}) {
        FakeUvcControl answer = answers(1, 0, 100, 50, 2);
        answer.info = {info};
        expectUnsupported(brightAfterBinding(answer));
    }
    for (const std::uint8_t info : {std::uint8_t{0x03}, std::uint8_t{0x0F}}) {
        FakeUvcControl answer = answers(1, 0, 100, 50, 2);
        answer.info = {info};
        EXPECT_TRUE(brightAfterBinding(answer).supported());
    }
}

TEST_F(TransportTest, RefusedInfoSendsNothingMoreForTheControl) {
    script(KTUVCControl::bright, FakeUvcControl{{}, {}, {}, {}, {0x01}});
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(requestsOf(KTUVCControl::bright).size(), 1U);
}

TEST_F(TransportTest, SupportedRecordHoldsWhatTheCameraSaid) {
    const KTUVCParameters& bright = brightAfterBinding(answers(-3, -64, 64, 5, 2));
    EXPECT_TRUE(bright.supported());
    EXPECT_EQ(bright.val(), -3);
    EXPECT_EQ(bright.min(), -64);
    EXPECT_EQ(bright.max(), 64);
    EXPECT_EQ(bright.def(), 5);
    EXPECT_EQ(bright.actualSize(), 2);
}

TEST_F(TransportTest, SignedMinimumIsNegativeAndUnsignedIsNot) {
    const FakeUvcControl answer{{0, 0}, {0x00, 0x80}, {0, 0}, {0, 0}};
    EXPECT_EQ(brightAfterBinding(answer).min(), -32768);
    script(KTUVCControl::contrast, answer);
    bind();
    EXPECT_EQ(manager->contrast()->min(), 32768);
}

TEST_F(TransportTest, UnsignedByteOfAllOnesIs255) {
    script(KTUVCControl::autoExposureMode, FakeUvcControl{{0xFF}, {}, {}, {1}});
    bind();
    EXPECT_EQ(manager->autoExposureMode()->val(), 255);
}

TEST_F(TransportTest, ActualSizeIsWhatTheCameraDelivered) {
    script(KTUVCControl::powerLine, FakeUvcControl{{2}, {0}, {2}, {1}});
    script(KTUVCControl::whiteBalance, answers(4600, 2800, 6500, 4000, 2));
    bind();
    EXPECT_TRUE(manager->powerLine()->supported());
    EXPECT_EQ(manager->powerLine()->actualSize(), 1);
    EXPECT_EQ(manager->powerLine()->val(), 2);
    EXPECT_EQ(manager->whiteBalance()->actualSize(), 2);
    EXPECT_EQ(manager->whiteBalance()->max(), 6500);
}

TEST_F(TransportTest, ControlWithoutDefaultQueryKeepsItsDefaultAndStaysSupported) {
    bind();
    EXPECT_TRUE(manager->scanningMode()->supported());
    EXPECT_EQ(manager->scanningMode()->def(), 0);
    EXPECT_EQ(manager->scanningMode()->val(), 1);
}

TEST_F(TransportTest, EachMissingAnswerCostsThatOneControl) {
    const FakeUvcControl whole = answers(1, 0, 100, 50, 2);
    for (FakeUvcControl::Bytes FakeUvcControl::*missing :
         {&FakeUvcControl::cur, &FakeUvcControl::min, &FakeUvcControl::max, &FakeUvcControl::def,
          &FakeUvcControl::info}) {
        FakeUvcControl answer = whole;
        (answer.*missing).clear();
        expectUnsupported(brightAfterBinding(answer));
        EXPECT_TRUE(manager->contrast()->supported());
        EXPECT_FALSE(manager->interfaceIsClosed());
    }
}

TEST_F(TransportTest, FailureClosesTheInterfaceAndTheRestOfThePassIsUnsupported) {
    fail(KTUVCControl::gain, FakeUvcCamera::getMin, UsbStatus::timeout);
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_TRUE(manager->contrast()->supported());
    for (std::size_t i = indexOf(KTUVCControl::gain); i < controlCount; ++i)
        expectUnsupported(*manager->parametersArray()[i]);
    EXPECT_EQ(camera->requests().back().bRequest, FakeUvcCamera::getMin);
    EXPECT_TRUE(manager->interfaceIsClosed());
    EXPECT_NE(manager->interface(), nullptr);
}

TEST_F(TransportTest, EveryKindOfFailureClosesTheInterfaceForGood) {
    for (const UsbStatus status :
         {UsbStatus::gone, UsbStatus::timeout, UsbStatus::refused, UsbStatus::denied, UsbStatus::failed}) {
        bind();
        EXPECT_FALSE(manager->interfaceIsClosed());
        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, status);
        EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
        EXPECT_TRUE(manager->interfaceIsClosed());
        const auto interface = std::dynamic_pointer_cast<FakeUsbInterface>(manager->interface());
        ASSERT_NE(interface, nullptr);
        EXPECT_TRUE(interface->isClosed());

        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, UsbStatus::success);
        camera->forgetRequests();
        EXPECT_FALSE(manager->_pushParamToDevice(manager->zoom().get()));
        EXPECT_THAT(camera->requests(), IsEmpty());
    }
    bind();
    EXPECT_TRUE(manager->_pushParamToDevice(manager->zoom().get()));
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

TEST_F(TransportTest, ControlThatTheDescriptorsDoNotListIsNotAsked) {
    bind();
    manager->_populateParamSupport(*manager->zoom(), false);
    manager->_populate2x4ByteParamSupport(*manager->panTilt(), false);
    expectUnsupported(*manager->zoom());
    expectUnsupported(*manager->panTilt());
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(TransportTest, EverythingIsAskedWhereTheDescriptorsToldNothing) {
    BusProberDevice unknown;
    unknown.locationID = location;
    setRecord(unknown);
    auto plain = std::make_shared<FakeUvcCamera>(interfaceNumber);
    plain->setControl(1, 11, answers(1, 0, 100, 50, 2)); // identifiers fall back to 1 and 2
    plain->setControl(2, 2, answers(1, 0, 100, 50, 2));
    device->cameras = {plain};
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_TRUE(manager->zoom()->supported());
    EXPECT_TRUE(manager->bright()->supported());
    EXPECT_FALSE(manager->contrast()->supported());
    std::size_t infos = 0;
    for (const FakeUsbRequest& request : plain->requests())
        infos += request.bRequest == FakeUvcCamera::getInfo ? 1 : 0;
    EXPECT_EQ(infos, controlCount);
}

TEST_F(TransportTest, OneKnownIdentifierIsEnoughToBelieveTheDescriptors) {
    for (const bool knowsTerminal : {true, false}) {
        BusProberDevice half;
        half.locationID = location;
        if (knowsTerminal)
            half.terminalID = terminal;
        else
            half.unitID = unit;
        setRecord(half);
        camera->forgetRequests();
        ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
        EXPECT_THAT(camera->requests(), IsEmpty());
        expectUnsupported(*manager->zoom());
    }
}

TEST_F(TransportTest, EachControlFollowsItsOwnSupportFlag) {
    for (const ControlRow& row : controlTable()) {
        for (const SupportFlag flag : {row.supportFlag, row.secondSupportFlag}) {
            if (flag == nullptr) continue;
            BusProberDevice only;
            only.locationID = location;
            only.terminalID = terminal;
            only.unitID = unit;
            only.*flag = true;
            setRecord(only);
            ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
            for (const ControlRow& other : controlTable())
                EXPECT_EQ(record(other.control).supported(), other.control == row.control)
                    << row.text << " / " << other.text;
        }
    }
}

TEST_F(TransportTest, SupportFlagsBelongToTheControlsOfTheirNames) {
    const std::vector<std::pair<SupportFlag, const KTUVCParameters*>> flags{
        {&BusProberDevice::supportScanningMode, manager->scanningMode().get()},
        {&BusProberDevice::supportAutoExposureMode, manager->autoExposureMode().get()},
        {&BusProberDevice::supportAutoExposurePriority, manager->autoExposurePriority().get()},
        {&BusProberDevice::supportExposureTime, manager->exposureTime().get()},
        {&BusProberDevice::supportIris, manager->iris().get()},
        {&BusProberDevice::supportAutoFocus, manager->autoFocus().get()},
        {&BusProberDevice::supportFocus, manager->focus().get()},
        {&BusProberDevice::supportZoom, manager->zoom().get()},
        {&BusProberDevice::supportPan, manager->panTilt().get()},
        {&BusProberDevice::supportTilt, manager->panTilt().get()},
        {&BusProberDevice::supportRoll, manager->roll().get()},
        {&BusProberDevice::supportBacklight, manager->backlight().get()},
        {&BusProberDevice::supportBright, manager->bright().get()},
        {&BusProberDevice::supportContrast, manager->contrast().get()},
        {&BusProberDevice::supportGain, manager->gain().get()},
        {&BusProberDevice::supportPowerLine, manager->powerLine().get()},
        {&BusProberDevice::supportAutoHue, manager->autoHue().get()},
        {&BusProberDevice::supportHue, manager->hue().get()},
        {&BusProberDevice::supportSaturation, manager->saturation().get()},
        {&BusProberDevice::supportSharpness, manager->sharpness().get()},
        {&BusProberDevice::supportGamma, manager->gamma().get()},
        {&BusProberDevice::supportAutoWhiteBalance, manager->autoWhiteBalance().get()},
        {&BusProberDevice::supportWhiteBalance, manager->whiteBalance().get()},
    };
    for (const auto& [flag, expected] : flags) {
        BusProberDevice only;
        only.*flag = true;
        std::vector<const KTUVCParameters*> listed;
        for (const ControlRow& row : controlTable()) {
            if (row.isListedBy(only)) listed.push_back(&record(row.control));
        }
        EXPECT_THAT(listed, ElementsAre(expected));
    }
}

TEST_F(TransportTest, PanTiltHoldsPanInTheLowHalfAndTiltInTheHigh) {
    script(KTUVCControl::panTilt, FakeUvcControl{{0x01, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF},
                                                 littleEndian(pair(-36000, -18000), 8),
                                                 littleEndian(pair(36000, 18000), 8),
                                                 littleEndian(pair(0, 7200), 8)});
    bind();
    const KTUVCParameters& panTilt = *manager->panTilt();
    EXPECT_TRUE(panTilt.supported());
    EXPECT_EQ(panTilt.actualSize(), 8);
    EXPECT_EQ(KTUVCParameters::first32BitValueFrom64BitValue(panTilt.val()), 1);
    EXPECT_EQ(KTUVCParameters::second32BitValueFrom64BitValue(panTilt.val()), -2);
    EXPECT_EQ(panTilt.min(), pair(-36000, -18000));
    EXPECT_EQ(panTilt.max(), pair(36000, 18000));
    EXPECT_EQ(panTilt.def(), pair(0, 7200));
}

TEST_F(TransportTest, ShortPanTiltReplyCoversTheLowBytesOnly) {
    bind();
    manager->panTilt()->setVal(pair(5, 7));
    FakeUvcControl answer = answers(0, 0, 0, 0, 8);
    answer.cur = {9, 0, 0, 0};
    script(KTUVCControl::panTilt, answer);
    manager->_populate2x4ByteParamSupport(*manager->panTilt(), true);
    EXPECT_EQ(manager->panTilt()->val(), pair(9, 7));
    EXPECT_EQ(manager->panTilt()->actualSize(), 4);
}

TEST_F(TransportTest, ControlLongerThanEightBytesIsUnsupported) {
    bind();
    const auto tooLong = std::make_shared<KTUVCParameters>(2, 2, 9, true, true, true, false, false,
                                                           KTUVCParameterType::range, "Long");
    manager->_populateParamSupport(*tooLong, true);
    expectUnsupported(*tooLong);
    EXPECT_EQ(camera->requests().size(), 1U); // GET_INFO
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

TEST_F(TransportTest, ControlsAreReadInTableOrder) {
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    std::vector<std::pair<int, int>> asked;
    for (const FakeUsbRequest& request : camera->requests()) {
        if (request.bRequest == FakeUvcCamera::getInfo)
            asked.emplace_back(request.entity(), request.selector());
    }
    std::vector<std::pair<int, int>> expected;
    for (const ControlRow& row : controlTable())
        expected.emplace_back(entityOf(row), row.selector);
    EXPECT_EQ(asked, expected);
}

TEST_F(TransportTest, ExplicitUnitAndSelectorAreWritten) {
    bind();
    const std::array<std::uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(manager->setBytesSizedToUnitSelector(bytes.data(), 8, 1, 13));
    EXPECT_TRUE(manager->setBytesSizedToUnitSelector(bytes.data(), 1, 7, 0x21)); // any other: processing unit
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
