// SPDX-License-Identifier: MIT
#include "platform/linux/usb/backend.h"

#include <gmock/gmock.h>

#include <future>

#include "descriptor_builder.h"
#include "fake_sysfs.h"
#include "fake_udev_events.h"
#include "fake_usb_camera.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "support/manual_main_queue.h"
#include "support/recorded_device_changes.h"
#include "support/recorded_diagnostics.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr UsbInterfaceMatch videoControlMatch{14, 1, UsbInterfaceMatch::any, UsbInterfaceMatch::any};

class UsbBackendTest : public ::testing::Test {
protected:
    UsbBackendTest() { tree.addRootHub("pci0000:00/0000:00:14.0", 1); }

    void plug() {
        FakeSysfs::Device device;
        device.name = "1-2";
        device.deviceNumber = 9;
        device.descriptors =
            join({makeDeviceDescriptor(firmware.model()), makeConfigurationDescriptor(firmware.model())});
        tree.addDevice(device);
    }

    std::unique_ptr<UsbDevice> onlyDevice() {
        auto devices = backend.usb->listDevices();
        if (devices.size() != 1) return nullptr;
        const bool answers = devices.front()->CreatePlugInInterface() && devices.front()->QueryInterface();
        return answers ? std::move(devices.front()) : nullptr;
    }

    testing::RecordedDiagnostics diagnostics;
    testing::ManualMainQueue mainQueue;
    FakeSysfs tree;
    std::shared_ptr<FakeUsbCamera> camera = std::make_shared<FakeUsbCamera>(virtualCameraModel(1));
    VirtualCameraFirmware& firmware = camera->firmware();
    std::shared_ptr<UdevEventFeed> feed = std::make_shared<UdevEventFeed>();
    Backend backend = makeUsbBackend(
        {mainQueue, diagnostics}, {std::make_shared<UsbCameraClaims>(camera, nullptr, diagnostics),
                                   [this] { return std::make_unique<FakeUdevEvents>(feed); }, tree.root()});
};

TEST_F(UsbBackendTest, AnInspectorTakesTheCameraAndGivesItBack) {
    plug();
    auto inspector = onlyDevice()->openInspector(0);
    ASSERT_TRUE(inspector);
    EXPECT_EQ(camera->holder(0), FakeUsbCamera::Holder::us);
    const std::uint8_t unit = firmware.model().unitID;
    EXPECT_EQ(inspector->ask({unit, 2, 0x82, 2}), (RawAnswer{AnswerKind::answered, {0xC0, 0xFF}}));
    inspector.reset();
    EXPECT_TRUE(camera->waitForHolder(0, FakeUsbCamera::Holder::driver));
}

TEST_F(UsbBackendTest, ACameraThatCannotBeTakenHasNoInspector) {
    plug();
    camera->fail("claim 0", ErrorCode::busy);
    EXPECT_EQ(onlyDevice()->openInspector(0), nullptr);
    EXPECT_THAT(diagnostics.lines(), SizeIs(1));
}

TEST_F(UsbBackendTest, TheWalkLeadsFromTheDeviceToItsControlInterfaceAndTakesTheCamera) {
    plug();
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(numbers);
    ASSERT_THAT(*numbers, SizeIs(1));
    EXPECT_THAT(camera->calls(), IsEmpty()); // nothing is taken by looking
    auto interface = device->openInterface(numbers->front());
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->GetInterfaceNumber(), 0);
    EXPECT_EQ(camera->openedAddress(), (UsbAddress{1, 9}));
    EXPECT_EQ(camera->holder(1), FakeUsbCamera::Holder::us);
    interface.reset();
    EXPECT_TRUE(camera->waitForHolder(0, FakeUsbCamera::Holder::driver));
}

TEST_F(UsbBackendTest, ADeviceThatVanishedAfterTheListingGivesNoPlugIn) {
    plug();
    const auto devices = backend.usb->listDevices();
    tree.removeDevice("1-2");
    EXPECT_FALSE(devices.front()->CreatePlugInInterface());
}

TEST_F(UsbBackendTest, ADeviceThatVanishesOnTheWayHasNoInterfaces) {
    plug();
    const auto device = onlyDevice();
    tree.removeDevice("1-2");
    EXPECT_FALSE(device->CreateInterfaceIterator(videoControlMatch));
}

TEST_F(UsbBackendTest, AnInterfaceThatCannotBeTakenIsNullAndSaidWhy) {
    plug();
    const auto device = onlyDevice();
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    camera->fail("open", ErrorCode::denied);
    EXPECT_FALSE(device->openInterface(numbers->front()));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("1-2")));
}

TEST_F(UsbBackendTest, ADeviceThatIsNotReadyForAMomentIsTriedAgain) {
    plug();
    const auto device = onlyDevice();
    camera->fail("open", ErrorCode::failed, 1);
    EXPECT_TRUE(device->openInterface(device->CreateInterfaceIterator(videoControlMatch)->front()));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(UsbBackendTest, AManagerBindsReadsAllControlsAndWritesThem) {
    plug();
    firmware.setControlValue(control::autoExposureMode, 1);
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    ASSERT_THAT(manager.prober()->devicesArray(), SizeIs(1));
    const std::uint32_t location = manager.prober()->devicesArray().front()->locationID;
    ASSERT_TRUE(manager.refreshDataWithLocationID({location, location, location}));
    for (const auto& parameters : manager.parametersArray())
        EXPECT_TRUE(parameters->supported()) << parameters->string();
    bool taken = false;
    manager.setControlWithComplitionHandle(KTUVCControl::roll, -2, [&](bool success) { taken = success; });
    EXPECT_TRUE(taken);
    EXPECT_EQ(firmware.controlValue(control::roll), -2);
    manager.releasePlatform();
    EXPECT_TRUE(camera->waitForHolder(0, FakeUsbCamera::Holder::driver));
}

TEST_F(UsbBackendTest, ACameraThatStallsTheRangeOfItsPowerLineFrequencyHasThatControl) {
    plug();
    for (const UvcRequest request : {UvcRequest::getMin, UvcRequest::getMax}) {
        FirmwareFault stall;
        stall.control = control::powerLine;
        stall.request = request;
        firmware.order(stall);
    }
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    const std::uint32_t location = manager.prober()->devicesArray().front()->locationID;
    ASSERT_TRUE(manager.refreshDataWithLocationID({location, location, location}));
    EXPECT_TRUE(manager.powerLine()->supported());
    EXPECT_EQ(manager.powerLine()->min(), 0);
    EXPECT_EQ(manager.powerLine()->max(), 2);
    bool taken = false;
    manager.setPowerLineWithComplitionHandle(2, [&](bool success) { taken = success; });
    EXPECT_TRUE(taken);
    EXPECT_EQ(firmware.controlValue(control::powerLine), 2);
    EXPECT_THAT(diagnostics.lines(), SizeIs(2));
}

TEST_F(UsbBackendTest, ACameraThatVanishesInTheMiddleLosesOnlyTheControlsThatWereNotRead) {
    plug();
    int answers = 0;
    camera->answer([&](const UsbSetupPacket& setup, std::span<std::uint8_t> data) {
        return ++answers > 20 ? UsbResult{ErrorCode::gone} : camera->askFirmware(setup, data);
    });
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    const std::uint32_t location = manager.prober()->devicesArray().front()->locationID;
    EXPECT_TRUE(manager.refreshDataWithLocationID({location, location, location}));
    EXPECT_EQ(answers, 21); // the first failure is the last request
    EXPECT_TRUE(manager.parametersArray().front()->supported());
    EXPECT_FALSE(manager.parametersArray().back()->supported());
}

TEST_F(UsbBackendTest, TheCaptureHalfHearsOfACameraFromTheHotplugEvents) {
    testing::RecordedDeviceChanges changes;
    const auto& capture = backend.capture;
    capture->addObserver(&changes);
    EXPECT_THAT(capture->devicesWithMediaType(MediaType::video), IsEmpty());
    plug();
    feed->push({});
    EXPECT_TRUE(mainQueue.runUntil([&] { return !changes.names().empty(); }));
    EXPECT_THAT(changes.names(), ElementsAre(StartsWith("+")));
    EXPECT_THAT(capture->devicesWithMediaType(MediaType::video), SizeIs(1));
    EXPECT_THAT(capture->devicesWithMediaType(MediaType::audio), IsEmpty());
    tree.removeDevice("1-2");
    feed->push({});
    EXPECT_TRUE(mainQueue.runUntil([&] { return changes.names().size() > 1; }));
    EXPECT_THAT(changes.names(), ElementsAre(StartsWith("+"), StartsWith("-")));
    EXPECT_TRUE(capture->makeSession());
    capture->removeObserver(&changes);
}

TEST_F(UsbBackendTest, TheCaptureHalfEndsWhileADeviceIsUnsettled) {
    FakeSysfs::Device fresh;
    fresh.name = "1-3";
    fresh.configurationValue = "";
    fresh.descriptors = join({deviceDescriptor(), ordinaryCamera()});
    tree.addDevice(fresh);
    feed->push({});
    auto ended = std::async(std::launch::async, [&] { backend.capture.reset(); });
    EXPECT_EQ(ended.wait_for(std::chrono::seconds(2)), std::future_status::ready);
}

} // namespace
} // namespace tavelo::test
