// SPDX-License-Identifier: MIT
#include <array>
#include <thread>

#include <gmock/gmock.h>

#include "platform/virtual/backend.h"
#include "platform/virtual/firmware/firmware_client.h"
#include "support/manual_main_queue.h"
#include "support/recorded_bus_changes.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;

constexpr UsbInterfaceMatch videoControl{14, 1, UsbInterfaceMatch::any, UsbInterfaceMatch::any};

class VirtualUsbTest : public ::testing::Test {
protected:
    explicit VirtualUsbTest(int cameras = 2) : backend(makeVirtualBackend(cameras, {}, mainQueue)) {}

    std::shared_ptr<UsbInterface> openInterface(std::size_t index) {
        const auto devices = backend.usb->listDevices();
        const auto& device = devices.at(index);
        return device->openInterface(device->CreateInterfaceIterator(videoControl)->at(0));
    }

    UsbControlRequest request(UvcRequest code, ControlAddress address, std::span<std::uint8_t> data) {
        FirmwareClient client(*backend.bus->camera(1));
        const bool write = code == UvcRequest::setCur;
        return {write ? uvc::classInterfaceOut : uvc::classInterfaceIn,
                codeOf(code),
                static_cast<std::uint16_t>(address.selector << 8),
                client.indexOf(address),
                static_cast<std::uint16_t>(data.size()),
                data.data(),
                0};
    }

    ErrorCode send(UsbControlRequest& request) { return interface->ControlRequest(request); }

    testing::ManualMainQueue mainQueue;
    VirtualBackend backend;
    std::shared_ptr<UsbInterface> interface = openInterface(0);
    std::shared_ptr<VirtualCameraFirmware> camera = backend.bus->camera(1);
    std::array<std::uint8_t, 8> bytes{};
};

TEST_F(VirtualUsbTest, devicesLeadToTheControlInterfaceOfEachCamera) {
    const auto devices = backend.usb->listDevices();
    ASSERT_EQ(devices.size(), 2U);
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const auto& device = devices[i];
        EXPECT_TRUE(device->CreatePlugInInterface());
        EXPECT_TRUE(device->QueryInterface());
        EXPECT_EQ(device->GetLocationID(), virtualCameraModel(static_cast<int>(i) + 1).locationID);
        const auto found = device->CreateInterfaceIterator(videoControl);
        ASSERT_TRUE(found.has_value());
        ASSERT_EQ(found->size(), 1U);
        EXPECT_EQ(device->openInterface(found->at(0))->GetInterfaceNumber(), 0);
    }
}

TEST_F(VirtualUsbTest, iteratorListsWhatMatches) {
    const auto device = std::move(backend.usb->listDevices().front());
    EXPECT_THAT(*device->CreateInterfaceIterator({14, 2, UsbInterfaceMatch::any, 0}), ElementsAre(1));
    EXPECT_THAT(*device->CreateInterfaceIterator({14, 2, UsbInterfaceMatch::any, UsbInterfaceMatch::any}),
                ElementsAre(1))
        << "once, although it has six settings";
    EXPECT_THAT(*device->CreateInterfaceIterator({}), ElementsAre(0, 1));
    EXPECT_TRUE(device->CreateInterfaceIterator({3, 1, 1, 0})->empty());
}

TEST_F(VirtualUsbTest, aReadDeliversTheCamerasBytes) {
    camera->setControlValue(control::brightness, -2);
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(get), ErrorCode::none);
    EXPECT_EQ(get.bytesDone, 2U);
    EXPECT_EQ(bytes[0], 0xFE);
    EXPECT_EQ(bytes[1], 0xFF);
}

TEST_F(VirtualUsbTest, aReadOfMoreThanTheControlHasTellsHowMuchCame) {
    auto get = request(UvcRequest::getCur, control::powerLine, std::span(bytes).first(2));
    EXPECT_EQ(send(get), ErrorCode::none);
    EXPECT_EQ(get.bytesDone, 1U);
}

TEST_F(VirtualUsbTest, aWriteReachesTheCamera) {
    bytes = {42, 0};
    auto set = request(UvcRequest::setCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(set), ErrorCode::none);
    EXPECT_EQ(set.bytesDone, 2U);
    EXPECT_EQ(camera->controlValue(control::brightness), 42);
    const auto log = camera->requestLog();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].setup.bmRequestType, 0x21);
    EXPECT_EQ(log[0].setup.wValue, 0x0200);
    EXPECT_EQ(log[0].data, (std::vector<std::uint8_t>{42, 0}));
}

TEST_F(VirtualUsbTest, aRefusedWriteIsRefusedAndTheInterfaceStaysOpen) {
    bytes = {0x00, 0x70};
    auto set = request(UvcRequest::setCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(set), ErrorCode::refused);
    EXPECT_EQ(set.bytesDone, 0U);
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(get), ErrorCode::none);
}

TEST_F(VirtualUsbTest, aStalledReadIsAnAnswerOfNoBytes) {
    auto get = request(UvcRequest::getMin, control::autoFocus, std::span(bytes).first(1));
    EXPECT_EQ(send(get), ErrorCode::none);
    EXPECT_EQ(get.bytesDone, 0U);
}

TEST_F(VirtualUsbTest, aWriteToAControlThatIsNotListedCompletesWithNoBytes) {
    auto set = request(UvcRequest::setCur, {UvcEntity::processingUnit, 40}, std::span(bytes).first(2));
    EXPECT_EQ(send(set), ErrorCode::none);
    EXPECT_EQ(set.bytesDone, 0U);
    set.wIndex = 0xEE00;
    EXPECT_EQ(send(set), ErrorCode::none) << "an entity that does not exist";
    EXPECT_EQ(set.bytesDone, 0U);
}

TEST_F(VirtualUsbTest, twoBytesOfAHundredToRelativeExposureAreTaken) {
    bytes = {100, 0};
    auto set = request(UvcRequest::setCur, control::exposureTimeRelative, std::span(bytes).first(2));
    EXPECT_EQ(send(set), ErrorCode::none);
    EXPECT_EQ(set.bytesDone, 2U);
}

TEST_F(VirtualUsbTest, aRequestForBytesWithoutAPlaceForThemFails) {
    for (const UvcRequest code : {UvcRequest::getCur, UvcRequest::setCur}) {
        auto nowhere = request(code, control::brightness, std::span(bytes).first(2));
        nowhere.data = nullptr;
        EXPECT_EQ(send(nowhere), ErrorCode::failed);
        EXPECT_EQ(nowhere.bytesDone, 0U);
    }
    EXPECT_TRUE(camera->requestLog().empty());
}

TEST_F(VirtualUsbTest, silenceIsATimeout) {
    FirmwareFault fault;
    fault.kind = FaultKind::silence;
    camera->order(fault);
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(get), ErrorCode::timeout);
}

TEST_F(VirtualUsbTest, aClosedInterfaceAnswersNothingAndReachesNobody) {
    interface->USBInterfaceClose();
    interface->USBInterfaceClose();
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    EXPECT_EQ(send(get), ErrorCode::closed);
    EXPECT_TRUE(camera->requestLog().empty());
    EXPECT_EQ(interface->GetInterfaceNumber(), 0);
    EXPECT_NE(openInterface(0), interface) << "bound again, it answers";
}

TEST_F(VirtualUsbTest, anUnpluggedCameraIsGoneAtEveryStep) {
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    const auto devices = backend.usb->listDevices();
    const auto& device = devices[0];
    const auto found = device->CreateInterfaceIterator(videoControl);
    EXPECT_TRUE(backend.bus->unplug(1));
    EXPECT_FALSE(backend.bus->unplug(1));

    EXPECT_EQ(send(get), ErrorCode::gone);
    EXPECT_EQ(device->openInterface(found->at(0)), nullptr);
    EXPECT_EQ(device->CreateInterfaceIterator(videoControl), std::nullopt);
    EXPECT_FALSE(device->QueryInterface());
    EXPECT_FALSE(device->CreatePlugInInterface());
    EXPECT_EQ(backend.usb->listDevices().size(), 1U);
}

TEST_F(VirtualUsbTest, unpluggingDuringARequestEndsIt) {
    FirmwareFault fault;
    fault.kind = FaultKind::delay;
    fault.wait = std::chrono::hours(1);
    camera->order(fault);
    auto get = request(UvcRequest::getCur, control::brightness, std::span(bytes).first(2));
    std::thread unplugger([&] { backend.bus->unplug(1); });
    EXPECT_EQ(send(get), ErrorCode::gone);
    unplugger.join();
}

TEST_F(VirtualUsbTest, aCameraPluggedInAgainHasForgottenItsSettings) {
    camera->setControlValue(control::brightness, 20);
    backend.bus->unplug(1);
    const auto again = backend.bus->plug(virtualCameraModel(1));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->controlValue(control::brightness), 0);
    EXPECT_EQ(backend.bus->plug(virtualCameraModel(1)), nullptr) << "its place is taken";
}

TEST_F(VirtualUsbTest, proberReadsTheCamerasDescriptors) {
    const auto prober = backend.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    ASSERT_EQ(prober->devicesArray().size(), 2U);
    for (int number = 1; number <= 2; ++number) {
        const VirtualCameraModel model = virtualCameraModel(number);
        const BusProberDevice& device = *prober->devicesArray()[static_cast<std::size_t>(number) - 1];
        EXPECT_EQ(device.locationID, model.locationID);
        EXPECT_EQ(device.terminalID, model.terminalID);
        EXPECT_EQ(device.unitID, model.unitID);
        EXPECT_EQ(device.vendorID, 0x1209);
        EXPECT_EQ(device.productID, 0x0001);
        EXPECT_EQ(device.name, model.product);
        EXPECT_TRUE(device.supportScanningMode && device.supportAutoExposureMode && device.supportRoll);
        EXPECT_TRUE(device.supportPan && device.supportTilt && device.supportZoom && device.supportFocus);
        EXPECT_TRUE(device.supportBright && device.supportPowerLine && device.supportAutoHue);
        EXPECT_TRUE(device.supportWhiteBalance && device.supportAutoWhiteBalance && device.supportGamma);
    }
}

TEST_F(VirtualUsbTest, proberSeesOnlyWhatACameraLists) {
    VirtualCameraModel model = virtualCameraModel(3);
    model.unitControls &= ~1U; // brightness
    backend.bus->plug(model);
    const auto prober = backend.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    EXPECT_FALSE(prober->devicesArray().at(2)->supportBright);
    EXPECT_TRUE(prober->devicesArray().at(2)->supportContrast);
}

TEST_F(VirtualUsbTest, aCameraWithBrokenDescriptorsHasNoIdentifiers) {
    VirtualCameraModel model = virtualCameraModel(3);
    model.alterConfiguration = [](std::vector<std::uint8_t>& configuration) { configuration.resize(12); };
    backend.bus->plug(model);
    const auto prober = backend.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    EXPECT_EQ(prober->devicesArray().at(2)->terminalID, -1);
    EXPECT_EQ(prober->devicesArray().at(2)->unitID, -1);
    EXPECT_EQ(prober->devicesArray().at(2)->locationID, model.locationID);
}

TEST_F(VirtualUsbTest, recordsHandedOutBeforeARescanStayValid) {
    const auto prober = backend.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    const auto record = prober->devicesArray()[0];
    backend.bus->unplug(1);
    prober->refreshData(true);
    EXPECT_EQ(prober->devicesArray().size(), 1U);
    EXPECT_EQ(record->name, "Tavelo Virtual Camera 1");
}

TEST_F(VirtualUsbTest, theProberReportsArrivalAndRemovalOnItsOwnThread) {
    testing::RecordedBusChanges changes;
    auto prober = backend.usb->initBusProber(2, &changes);
    prober->refreshData(false);
    backend.bus->plug(virtualCameraModel(3));
    EXPECT_TRUE(changes.waitForChanges(1));
    EXPECT_NE(changes.thread(), std::this_thread::get_id());
    backend.bus->unplug(3);
    EXPECT_TRUE(changes.waitForChanges(2));
    prober.reset();
    backend.bus->plug(virtualCameraModel(4));
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(VirtualUsbTest, aScanReportsAChangeOnlyIfAsked) {
    testing::RecordedBusChanges changes;
    auto prober = backend.usb->initBusProber(2, &changes);
    prober->refreshData(false);
    prober->refreshData(true);                // nothing new
    backend.bus->plug(virtualCameraModel(3)); // the first call
    prober->refreshData(true);                // the second
    EXPECT_TRUE(changes.waitForChanges(2));
    prober.reset(); // runs what is queued
    EXPECT_EQ(changes.count(), 2);
}

} // namespace
} // namespace tavelo
