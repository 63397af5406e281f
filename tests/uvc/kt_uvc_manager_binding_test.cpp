// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/recorded_bus_changes.h"
#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BindingTest : public ManagerTest {
protected:
    /// Plugs in a camera at this location, listed after the existing ones.
    std::shared_ptr<FakeUvcCamera> plugInAt(std::uint32_t locationID, std::uint8_t number = 0) {
        BusProberDevice record = everyControl();
        record.locationID = locationID;
        auto other = std::make_shared<FakeUvcCamera>(number);
        platform.plugIn(record, other);
        manager->prober()->refreshData(false);
        return other;
    }

    void expectUnbound() {
        EXPECT_EQ(manager->device(), nullptr);
        EXPECT_EQ(manager->interface(), nullptr);
    }
};

TEST_F(BindingTest, ProberIsMadeWithScopeAndObserverAndRefreshedOnce) {
    testing::RecordedBusChanges changes;
    platform.proberLog = {};
    manager->initProberWithBusProberScopeProberDelegate(2, &changes);
    EXPECT_NE(manager->prober(), nullptr);
    EXPECT_EQ(platform.proberLog.scope, 2);
    EXPECT_EQ(platform.proberLog.delegate, &changes);
    EXPECT_THAT(platform.proberLog.refreshes, ElementsAre(false));
}

TEST_F(BindingTest, EightDigitLocationIsFound) {
    EXPECT_TRUE(manager->uniqueIDIsCorrect("0x142000001bcf2b90"));
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString("0x142000001bcf2b90"));
    EXPECT_EQ(manager->deviceLocationID(), 0x14200000U);
    EXPECT_EQ(manager->device(), platform.records.front());
}

TEST_F(BindingTest, SevenDigitLocationIsFoundInTheSecondReading) {
    const auto other = plugInAt(0x1420000);
    const char* sevenDigits = "0x14200001bcf2b90"; // its first eight digits would be 0x14200001
    EXPECT_TRUE(manager->uniqueIDIsCorrect(sevenDigits));
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(sevenDigits));
    EXPECT_EQ(manager->deviceLocationID(), 0x1420000U);
    EXPECT_THAT(other->requests(), ::testing::Not(IsEmpty()));
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(BindingTest, SevenDigitLocationYieldsToARecordEqualToTheEightDigitReading) {
    platform.records.clear();
    platform.devices.clear();
    plugInAt(0x14200001);
    plugInAt(0x1420000);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString("0x14200001bcf2b90"));
    EXPECT_EQ(manager->deviceLocationID(), 0x14200001U);
}

TEST_F(BindingTest, SixDigitLocationIsFoundInTheThirdReading) {
    plugInAt(0x142000);
    const char* sixDigits = "0x1420001bcf2b90";
    EXPECT_TRUE(manager->uniqueIDIsCorrect(sixDigits));
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(sixDigits));
    EXPECT_EQ(manager->deviceLocationID(), 0x142000U);
}

TEST_F(BindingTest, SmallestLocationIsFoundThoughItsShorterReadingsAreZero) {
    plugInAt(0x5);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString("0x000000051bcf2b90"));
    EXPECT_EQ(manager->deviceLocationID(), 0x5U);
}

TEST_F(BindingTest, WithoutAProberNoCameraIsBoundAndTheBusIsNotAsked) {
    KTUVCManager other(KTUVCEnvironment{&platform, nullptr, [this] { return now; }});
    ASSERT_EQ(other.prober(), nullptr);
    EXPECT_FALSE(other.uniqueIDIsCorrect(uniqueID));
    EXPECT_FALSE(other.refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(other.device(), nullptr);
    EXPECT_EQ(platform.walks, 0);
}

TEST_F(BindingTest, UniqueIDWithoutLocationIsRefused) {
    platform.records.push_back(std::make_shared<BusProberDevice>()); // its location is 0
    manager->prober()->refreshData(false);
    for (const char* text : {"", "0x", "14200000", "0xcamera", "camera", "0x00000000"}) {
        EXPECT_FALSE(manager->uniqueIDIsCorrect(text)) << text;
        EXPECT_FALSE(manager->refreshDataWithUniqueIDString(text)) << text;
    }
    EXPECT_EQ(platform.walks, 0);
}

TEST_F(BindingTest, CameraThatTheProberDoesNotListIsRefusedBeforeTheBusIsAsked) {
    platform.records.clear();
    manager->prober()->refreshData(false);
    EXPECT_FALSE(manager->uniqueIDIsCorrect(uniqueID));
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(platform.walks, 0);
}

TEST_F(BindingTest, FirstRecordOfTheProberWins) {
    platform.records.clear();
    platform.devices.clear();
    plugInAt(0x1420000);
    plugInAt(0x14200000);
    ASSERT_TRUE(manager->refreshDataWithLocationID({0x14200000, 0x1420000, 0x142000}));
    EXPECT_EQ(manager->device(), platform.records[0]);
    EXPECT_EQ(manager->deviceLocationID(), 0x1420000U);
}

TEST_F(BindingTest, BindingTakesIdentifiersInterfaceAndNumber) {
    bind();
    EXPECT_EQ(manager->inputTerminalID(), terminal);
    EXPECT_EQ(manager->processingUnitID(), unit);
    EXPECT_EQ(manager->interfaceNumber(), interfaceNumber);
    EXPECT_NE(manager->interface(), nullptr);
    EXPECT_FALSE(manager->interfaceIsClosed());
    for (const auto& record : manager->parametersArray())
        EXPECT_TRUE(record->supported()) << record->string();
}

TEST_F(BindingTest, InterfaceNeverComesWithThePreviousCamerasNumber) {
    bind();
    const auto other = plugInAt(0x14300000, 9);
    std::vector<std::int32_t> seen;
    other->interfaceNumberAsked = [&] {
        if (manager->interface() != nullptr) seen.push_back(manager->interfaceNumber());
    };
    EXPECT_TRUE(manager->refreshDataWithLocationID({0x14300000, 0, 0}));
    EXPECT_THAT(seen, ElementsAre(9));
}

TEST_F(BindingTest, UnknownIdentifiersFallBackToOneAndTwo) {
    bind(); // to a camera with other identifiers first
    BusProberDevice record = everyControl();
    record.terminalID = -1;
    record.unitID = -1;
    setRecord(record);
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(manager->inputTerminalID(), 1);
    EXPECT_EQ(manager->processingUnitID(), 2);
}

TEST_F(BindingTest, VideoControlInterfacesAreAskedForWithAnyProtocolAndSetting) {
    bind();
    ASSERT_TRUE(device->asked);
    EXPECT_EQ(device->asked->interfaceClass, 14);
    EXPECT_EQ(device->asked->interfaceSubClass, 1);
    EXPECT_EQ(device->asked->interfaceProtocol, 0xFFFF);
    EXPECT_EQ(device->asked->alternateSetting, 0xFFFF);
}

TEST_F(BindingTest, OnlyTheFirstInterfaceIsTaken) {
    const auto second = std::make_shared<FakeUvcCamera>(std::uint8_t{6});
    device->cameras.push_back(second);
    bind();
    EXPECT_EQ(manager->interfaceNumber(), interfaceNumber);
    device->fault = FakeUsbFault::notOpened; // only the first one; the second would open
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(manager->interface(), nullptr);
    EXPECT_THAT(second->requests(), IsEmpty());
}

/// One device with a colour camera at interface 2 and an infrared camera at interface 6.
class TwoFunctionsTest : public BindingTest {
protected:
    static constexpr std::uint8_t infraredUnit = 9;

    void SetUp() override {
        BindingTest::SetUp();
        BusProberDevice colour = everyControl();
        colour.controlInterface = interfaceNumber;
        BusProberDevice infrared = everyControl();
        infrared.controlInterface = second->listedNumber();
        infrared.terminalID = 8;
        infrared.unitID = infraredUnit;
        platform.records = {std::make_shared<BusProberDevice>(colour),
                            std::make_shared<BusProberDevice>(infrared)};
        device->cameras.push_back(second);
        const auto size = static_cast<std::int32_t>(controlRow(KTUVCControl::bright).intendedSize);
        second->setControl(infraredUnit, 2, answers(40, 0, 100, 50, size));
        manager->prober()->refreshData(false);
        camera->forgetRequests();
    }

    const std::string infraredID = std::string(uniqueID) + "06";
    std::shared_ptr<FakeUvcCamera> second = std::make_shared<FakeUvcCamera>(std::uint8_t{6});
};

TEST_F(TwoFunctionsTest, TheIdentifierWithoutAnInterfaceBindsTheFirstFunction) {
    EXPECT_TRUE(manager->uniqueIDIsCorrect(uniqueID));
    bind();
    EXPECT_EQ(manager->interfaceNumber(), interfaceNumber);
    EXPECT_EQ(manager->processingUnitID(), unit);
    EXPECT_THAT(second->requests(), IsEmpty());
}

TEST_F(TwoFunctionsTest, AnIdentifierWithAnInterfaceBindsOnlyThatFunction) {
    EXPECT_TRUE(manager->uniqueIDIsCorrect(infraredID));
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(infraredID));
    EXPECT_EQ(manager->interfaceNumber(), 6);
    EXPECT_EQ(manager->processingUnitID(), infraredUnit);
    EXPECT_EQ(manager->bright()->val(), 40);
    manager->setBrightWithComplitionHandle(41, {});
    ASSERT_EQ(second->writes().size(), 1U);
    EXPECT_EQ(second->writes().front().wIndex, infraredUnit << 8 | 6);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(TwoFunctionsTest, AnUnknownInterfaceIsNeverReplacedByAnother) {
    const std::string unknownID = std::string(uniqueID) + "04";
    EXPECT_FALSE(manager->uniqueIDIsCorrect(unknownID));
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString(unknownID));
    device->cameras.pop_back(); // still listed by the prober, but gone from the device
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(infraredID));
    EXPECT_EQ(manager->interface(), nullptr);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(TwoFunctionsTest, ReopeningKeepsTheFunction) {
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(infraredID));
    second->setFailure(infraredUnit, 2, FakeUvcCamera::setCur, ErrorCode::refused);
    manager->setBrightWithComplitionHandle(41, {});
    ASSERT_TRUE(manager->interfaceIsClosed());
    EXPECT_TRUE(manager->openInterfaceAgain());
    EXPECT_EQ(manager->interface()->GetInterfaceNumber(), 6);
}

TEST_F(TwoFunctionsTest, RereadingKeepsTheFunction) {
    second->setFailure(infraredUnit, 2, FakeUvcCamera::getCur, ErrorCode::failed);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(infraredID));
    ASSERT_TRUE(manager->interfaceIsClosed());
    second->setFailure(infraredUnit, 2, FakeUvcCamera::getCur, ErrorCode::none);
    EXPECT_TRUE(manager->openInterfaceAgain());
    EXPECT_EQ(manager->interfaceNumber(), 6);
    EXPECT_EQ(manager->bright()->val(), 40);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(BindingTest, CameraWithoutControlInterfaceIsBoundWithEveryControlUnsupported) {
    for (const FakeUsbFault fault :
         {FakeUsbFault::noIterator, FakeUsbFault::noInterface, FakeUsbFault::notOpened}) {
        device->fault = FakeUsbFault::none;
        bind();
        device->fault = fault;
        EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
        EXPECT_NE(manager->device(), nullptr);
        EXPECT_EQ(manager->interface(), nullptr);
        for (const auto& record : manager->parametersArray()) {
            EXPECT_FALSE(record->supported());
            EXPECT_EQ(record->val(), -1);
        }
        EXPECT_THAT(camera->requests(), IsEmpty());
    }
}

TEST_F(BindingTest, DeviceWithoutAccessIsSkipped) {
    platform.devices.insert(platform.devices.begin(), std::make_shared<FakeUsbDevice>());
    platform.devices.front()->locationID = location;
    platform.devices.front()->fault = FakeUsbFault::noPlugIn;
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(platform.devices.front()->plugInsMade, 1);
    EXPECT_NE(manager->interface(), nullptr);
}

TEST_F(BindingTest, DeviceThatDoesNotAnswerEndsTheSearch) {
    platform.devices.insert(platform.devices.begin(), std::make_shared<FakeUsbDevice>());
    platform.devices.front()->fault = FakeUsbFault::noDevice;
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(device->plugInsMade, 0);
    EXPECT_EQ(manager->interface(), nullptr);
}

TEST_F(BindingTest, DevicesAtOtherLocationsAreSkipped) {
    platform.devices.insert(platform.devices.begin(), std::make_shared<FakeUsbDevice>());
    platform.devices.front()->locationID = 0x14100000;
    EXPECT_TRUE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_FALSE(platform.devices.front()->asked);
    EXPECT_EQ(manager->interfaceNumber(), interfaceNumber);
}

TEST_F(BindingTest, BindingAnUnpluggedCameraReturnsFalse) {
    platform.devices.clear();
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString(uniqueID));
    EXPECT_EQ(manager->interface(), nullptr);
}

TEST_F(BindingTest, FailedBindingLeavesTheManagerUnbound) {
    bind();
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString("0x99900000"));
    expectUnbound();
    EXPECT_EQ(manager->inputTerminalID(), 1);
    EXPECT_EQ(manager->processingUnitID(), 2);
    Completion done;
    manager->setBrightWithComplitionHandle(7, done.handle());
    EXPECT_EQ(done.calls, 1);
    EXPECT_FALSE(done.success);
}

TEST_F(BindingTest, RebindingDropsTheOldInterfaceWithoutClosingIt) {
    bind();
    const auto held = std::dynamic_pointer_cast<FakeUsbInterface>(manager->interface());
    bind();
    EXPECT_NE(manager->interface(), held);
    EXPECT_FALSE(held->isClosed());
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(BindingTest, RebindingKeepsTheRecordsAndReadsThemAgain) {
    bind();
    const auto before = manager->parametersArray();
    script(KTUVCControl::bright, 33, 50);
    bind();
    EXPECT_EQ(manager->parametersArray(), before);
    EXPECT_EQ(manager->bright()->val(), 33);
}

TEST_F(BindingTest, BindingAgainOpensAnInterfaceThatAFailureClosed) {
    bind();
    fail(KTUVCControl::bright, FakeUvcCamera::setCur);
    manager->setBrightWithComplitionHandle(7, {});
    EXPECT_TRUE(manager->interfaceIsClosed());
    bind();
    EXPECT_FALSE(manager->interfaceIsClosed());
    Completion done;
    manager->setContrastWithComplitionHandle(7, done.handle());
    EXPECT_TRUE(done.success);
}

TEST_F(BindingTest, ReleasedManagerHoldsNothingOfThePlatform) {
    bind();
    const std::weak_ptr<UsbInterface> interface = manager->interface();
    manager->releasePlatform();
    expectUnbound();
    EXPECT_TRUE(interface.expired());
    EXPECT_EQ(manager->prober(), nullptr);
    EXPECT_FALSE(manager->uniqueIDIsCorrect(uniqueID));
    EXPECT_FALSE(manager->refreshDataWithUniqueIDString(uniqueID));
}

TEST(BindingWithoutPlatform, RefusesEveryIdentifier) {
    KTUVCManager manager{KTUVCEnvironment{}};
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    EXPECT_EQ(manager.prober(), nullptr);
    EXPECT_FALSE(manager.uniqueIDIsCorrect("0x14200000"));
    EXPECT_FALSE(manager.refreshDataWithUniqueIDString("0x14200000"));
}

} // namespace
} // namespace tavelo
