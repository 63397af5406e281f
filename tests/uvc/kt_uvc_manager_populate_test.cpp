// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t pair(std::int32_t pan, std::int32_t tilt) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(tilt)) << 32 |
                                     static_cast<std::uint32_t>(pan));
}

class PopulateTest : public ManagerTest {
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

TEST_F(PopulateTest, QueriesThatAControlDoesNotAnswerAreNotSent) {
    bind();
    manager->_populateParamSupport(*manager->scanningMode(), true);
    manager->_populateParamSupport(*manager->autoFocus(), true);
    std::vector<int> codes;
    for (const FakeUsbRequest& request : camera->requests())
        codes.push_back(request.bRequest);
    EXPECT_THAT(codes, ElementsAre(0x86, 0x81, 0x86, 0x81, 0x87));
}

TEST_F(PopulateTest, InfoMustNameBothGetAndSet) {
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

TEST_F(PopulateTest, RefusedInfoSendsNothingMoreForTheControl) {
    script(KTUVCControl::bright, FakeUvcControl{{}, {}, {}, {}, {0x01}});
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(requestsOf(KTUVCControl::bright).size(), 1U);
}

TEST_F(PopulateTest, SupportedRecordHoldsWhatTheCameraSaid) {
    const KTUVCParameters& bright = brightAfterBinding(answers(-3, -64, 64, 5, 2));
    EXPECT_TRUE(bright.supported());
    EXPECT_EQ(bright.val(), -3);
    EXPECT_EQ(bright.min(), -64);
    EXPECT_EQ(bright.max(), 64);
    EXPECT_EQ(bright.def(), 5);
    EXPECT_EQ(bright.actualSize(), 2);
}

TEST_F(PopulateTest, SignedMinimumIsNegativeAndUnsignedIsNot) {
    const FakeUvcControl answer{{0, 0}, {0x00, 0x80}, {0, 0}, {0, 0}};
    EXPECT_EQ(brightAfterBinding(answer).min(), -32768);
    script(KTUVCControl::contrast, answer);
    bind();
    EXPECT_EQ(manager->contrast()->min(), 32768);
}

TEST_F(PopulateTest, UnsignedByteOfAllOnesIs255) {
    script(KTUVCControl::autoExposureMode, FakeUvcControl{{0xFF}, {}, {}, {1}});
    bind();
    EXPECT_EQ(manager->autoExposureMode()->val(), 255);
}

TEST_F(PopulateTest, ActualSizeIsWhatTheCameraDelivered) {
    script(KTUVCControl::powerLine, FakeUvcControl{{2}, {0}, {2}, {1}});
    script(KTUVCControl::whiteBalance, answers(4600, 2800, 6500, 4000, 2));
    bind();
    EXPECT_TRUE(manager->powerLine()->supported());
    EXPECT_EQ(manager->powerLine()->actualSize(), 1);
    EXPECT_EQ(manager->powerLine()->val(), 2);
    EXPECT_EQ(manager->whiteBalance()->actualSize(), 2);
    EXPECT_EQ(manager->whiteBalance()->max(), 6500);
}

TEST_F(PopulateTest, ControlWithoutDefaultQueryKeepsItsDefaultAndStaysSupported) {
    bind();
    EXPECT_TRUE(manager->scanningMode()->supported());
    EXPECT_EQ(manager->scanningMode()->def(), 0);
    EXPECT_EQ(manager->scanningMode()->val(), 1);

    manager->setInterface(nullptr);
    manager->generalInit(); // makes every control unsupported
    bind();
    EXPECT_TRUE(manager->scanningMode()->supported());
    EXPECT_EQ(manager->scanningMode()->def(), -1);
}

TEST_F(PopulateTest, AMissingAnswerAffectsOnlyItsControl) {
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

TEST_F(PopulateTest, ControlThatTheDescriptorsDoNotListIsNotAsked) {
    bind();
    manager->_populateParamSupport(*manager->zoom(), false);
    manager->_populate2x4ByteParamSupport(*manager->panTilt(), false);
    expectUnsupported(*manager->zoom());
    expectUnsupported(*manager->panTilt());
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(PopulateTest, EveryControlIsAskedIfTheDescriptorsWereUnreadable) {
    BusProberDevice unknown;
    unknown.locationID = location;
    setRecord(unknown);
    auto plain = std::make_shared<FakeUvcCamera>(interfaceNumber);
    plain->setControl(1, 11, answers(1, 0, 100, 50, 2)); // the identifiers fall back to 1 and 2
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

TEST_F(PopulateTest, OneKnownIdentifierIsEnoughToTrustTheDescriptors) {
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

TEST_F(PopulateTest, EachControlFollowsItsOwnSupportFlag) {
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

TEST_F(PopulateTest, SupportFlagsBelongToTheControlsOfTheirNames) {
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

TEST_F(PopulateTest, PanTiltHoldsPanInTheLowHalfAndTiltInTheHigh) {
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

TEST_F(PopulateTest, ShortPanTiltReplyCoversTheLowBytesOnly) {
    bind();
    manager->panTilt()->setVal(pair(5, 7));
    FakeUvcControl answer = answers(0, 0, 0, 0, 8);
    answer.cur = {9, 0, 0, 0};
    script(KTUVCControl::panTilt, answer);
    manager->_populate2x4ByteParamSupport(*manager->panTilt(), true);
    EXPECT_EQ(manager->panTilt()->val(), pair(9, 7));
    EXPECT_EQ(manager->panTilt()->actualSize(), 4);
}

TEST_F(PopulateTest, ShortPanTiltRepliesLeaveTheHighBytesOfEveryField) {
    script(KTUVCControl::panTilt, answers(pair(1, 11), pair(2, 12), pair(3, 13), pair(4, 14), 8));
    bind();
    script(KTUVCControl::panTilt, answers(5, 6, 7, 8, 4));
    bind();
    const KTUVCParameters& panTilt = *manager->panTilt();
    EXPECT_EQ(panTilt.val(), pair(5, 11));
    EXPECT_EQ(panTilt.min(), pair(6, 12));
    EXPECT_EQ(panTilt.max(), pair(7, 13));
    EXPECT_EQ(panTilt.def(), pair(8, 14));
}

TEST_F(PopulateTest, ControlLongerThanEightBytesIsUnsupported) {
    bind();
    const auto tooLong = std::make_shared<KTUVCParameters>(2, 2, 9, true, true, true, false, false,
                                                           KTUVCParameterType::range, "Long");
    manager->_populateParamSupport(*tooLong, true);
    expectUnsupported(*tooLong);
    EXPECT_EQ(camera->requests().size(), 1U); // GET_INFO
}

TEST_F(PopulateTest, ControlsAreReadInTableOrder) {
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

} // namespace
} // namespace tavelo
