// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_usb_platform.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <functional>
#include <map>

#include "descriptor_builder.h"
#include "fake_control_node.h"
#include "fake_sysfs.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr UsbInterfaceMatch videoControlMatch{14, 1, UsbInterfaceMatch::any, UsbInterfaceMatch::any};

// One of several openings of a node.
class OpenedNode final : public V4l2Node {
public:
    explicit OpenedNode(std::shared_ptr<V4l2Node> node) : node_(std::move(node)) {}
    int control(unsigned long request, void* argument) override { return node_->control(request, argument); }
    V4l2Mapping map(std::size_t length, std::uint32_t offset) override { return node_->map(length, offset); }
    int descriptor() const override { return node_->descriptor(); }

private:
    const std::shared_ptr<V4l2Node> node_;
};

// Answers each path with the errors queued for it, then with the one node.
class FakeOpener final : public V4l2NodeOpener {
public:
    std::unique_ptr<V4l2Node> open(const std::string& path, int& error) override {
        opened.push_back(std::filesystem::path(path).filename().string());
        if (atOpening) atOpening();
        auto& queue = errors[opened.back()];
        error = queue.empty() ? 0 : queue.front();
        if (!queue.empty() && queue.size() > 1) queue.pop_front();
        if (error != 0) return nullptr;
        return std::make_unique<OpenedNode>(device);
    }

    std::shared_ptr<FakeControlNode> device = std::make_shared<FakeControlNode>();
    /// The last one of a queue stays.
    std::map<std::string, std::deque<int>> errors;
    std::vector<std::string> opened;
    std::function<void()> atOpening;
};

class KernelPlatform : public testing::Test {
protected:
    KernelPlatform() {
        auto newOpener = std::make_unique<FakeOpener>();
        opener = newOpener.get();
        opener->device->controls = everyControl();
        KernelUsbSurroundings surroundings;
        surroundings.sysfs = tree.root();
        surroundings.opener = std::move(newOpener);
        surroundings.pause = [this](std::chrono::milliseconds time) { paused += time; };
        platform = std::make_unique<KernelUsbPlatform>(diagnostics, std::move(surroundings));
        tree.addRootHub("pci0000:00/0000:00:14.0", 1);
    }

    void addDevice(const std::string& name, const Bytes& configurationBytes) {
        FakeSysfs::Device device;
        device.name = name;
        device.descriptors = join({deviceDescriptor(), configurationBytes});
        tree.addDevice(device);
    }

    void addCamera() {
        addDevice("1-2", ordinaryCamera());
        tree.addVideoNode("1-2:1.0", "video0", 0);
        tree.addVideoNode("1-2:1.0", "video1", 1);
    }

    std::unique_ptr<UsbDevice> onlyDevice() const {
        auto services = platform->matchingDeviceServices();
        if (services.size() != 1) return nullptr;
        auto plugIn = services.front()->CreatePlugInInterface();
        return plugIn ? plugIn->QueryInterface() : nullptr;
    }

    std::shared_ptr<UsbInterface> openFirstInterface() const {
        const auto device = onlyDevice();
        if (!device) return nullptr;
        const auto services = device->CreateInterfaceIterator(videoControlMatch);
        if (!services || services->empty()) return nullptr;
        return services->front()->openInterface();
    }

    FakeSysfs tree;
    RecordedDiagnostics diagnostics;
    FakeOpener* opener = nullptr;
    std::chrono::milliseconds paused{0};
    std::unique_ptr<KernelUsbPlatform> platform;
};

TEST_F(KernelPlatform, ABusWithoutDevicesHasNoServices) {
    EXPECT_THAT(platform->matchingDeviceServices(), IsEmpty());
}

TEST_F(KernelPlatform, WalksFromTheDeviceDownToAControl) {
    addCamera();
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    EXPECT_EQ(device->GetLocationID() & 0x00FFFFFF, 0x00200000U);
    const auto interface = openFirstInterface();
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->GetInterfaceNumber(), 0);
    Bytes data(2, 0);
    UsbControlRequest request{0xA1, 0x81, 0x0200, 0x0500, 2, data.data(), 0}; // brightness of unit 5
    EXPECT_EQ(interface->ControlRequest(request), UsbStatus::success);
    EXPECT_THAT(data, ElementsAre(0xFD, 0xFF));
    EXPECT_THAT(opener->opened, ElementsAre("video0"));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelPlatform, ADeviceThatVanishedAfterTheListingIsSkipped) {
    addCamera();
    const auto services = platform->matchingDeviceServices();
    ASSERT_EQ(services.size(), 1U);
    tree.removeDevice("1-2");
    EXPECT_EQ(services.front()->CreatePlugInInterface(), nullptr);
}

TEST_F(KernelPlatform, ADeviceThatVanishesOnTheWayHasNoInterfaces) {
    addCamera();
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    tree.removeDevice("1-2");
    EXPECT_FALSE(device->CreateInterfaceIterator(videoControlMatch));
}

TEST_F(KernelPlatform, AnInterfaceThatVanishesOnTheWayCannotBeOpened) {
    addCamera();
    const auto device = onlyDevice();
    const auto services = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(services);
    tree.removeDevice("1-2");
    EXPECT_EQ(services->front()->openInterface(), nullptr);
}

TEST_F(KernelPlatform, ACameraWithoutAControlInterfaceHasAnEmptyIterator) {
    addDevice("1-2", configuration({interfaceDescriptor(0, 1, 0x01), interfaceDescriptor(1, 2, 0x01)}));
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    const auto services = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(services);
    EXPECT_THAT(*services, IsEmpty());
}

TEST_F(KernelPlatform, MatchesInterfacesByEachField) {
    addDevice("1-2",
              configuration({videoControl(0), interfaceDescriptor(1, 2), interfaceDescriptor(1, 2, 0x0E, 1),
                             interfaceDescriptor(2, 1, 0x01), interfaceDescriptor(3, 1, 0x0E, 0, 1)}));
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    const auto count = [&](UsbInterfaceMatch match) {
        return device->CreateInterfaceIterator(match)->size();
    };
    EXPECT_EQ(count({}), 4U);
    EXPECT_EQ(count(videoControlMatch), 2U);
    EXPECT_EQ(count({.interfaceClass = 14, .interfaceSubClass = 1, .interfaceProtocol = 1}), 1U);
    EXPECT_EQ(count({.interfaceClass = 1}), 1U);
    EXPECT_EQ(count({.alternateSetting = 1}), 1U);
    EXPECT_EQ(count({.interfaceClass = 99}), 0U);
}

TEST_F(KernelPlatform, ASecondFunctionSpeaksToItsOwnNodeAndEntities) {
    addDevice("1-2",
              configuration({videoControl(0), cameraTerminal(3, {0, 2, 0}), processingUnit(5, 3, {1, 0}),
                             interfaceDescriptor(1, 2), videoControl(2), cameraTerminal(8, {0, 2, 0}),
                             processingUnit(9, 8, {1, 0}), interfaceDescriptor(3, 2)}));
    tree.addVideoNode("1-2:1.0", "video0", 0);
    tree.addVideoNode("1-2:1.2", "video2", 0);
    const auto services = onlyDevice()->CreateInterfaceIterator(videoControlMatch);
    ASSERT_EQ(services->size(), 2U);
    const auto second = services->back()->openInterface();
    ASSERT_TRUE(second);
    EXPECT_THAT(opener->opened, ElementsAre("video2"));
    EXPECT_EQ(second->GetInterfaceNumber(), 2);
    Bytes data(2, 0);
    UsbControlRequest request{0xA1, 0x81, 0x0200, 0x0902, 2, data.data(), 0};
    EXPECT_EQ(second->ControlRequest(request), UsbStatus::success);
    EXPECT_EQ(request.bytesDone, 2U);
}

TEST_F(KernelPlatform, NodesAreTriedInTheDriversOrderAndNotByTheirNumbers) {
    addDevice("1-2", ordinaryCamera());
    tree.addVideoNode("1-2:1.0", "video7", 0);
    tree.addVideoNode("1-2:1.0", "video12", 2);
    tree.addVideoNode("1-2:1.0", "video3", 1);
    for (const char* node : {"video7", "video3", "video12"})
        opener->errors[node] = {ENOTTY};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video7", "video3", "video12"));
}

TEST_F(KernelPlatform, NodesOfOtherInterfacesAndOtherKindsAreLeftAlone) {
    addDevice("1-2", ordinaryCamera());
    tree.addVideoNode("1-2:1.1", "video0", 0);
    tree.addVideoNode("1-2:1.0", "v4l-subdev0", 0);
    tree.addVideoNode("1-2:1.0", "videoX", 0);
    tree.addVideoNode("1-2:1.0", "video99999999999", 0);
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(opener->opened, IsEmpty());
    ASSERT_EQ(diagnostics.lines().size(), 1U);
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("no video node"));
}

TEST_F(KernelPlatform, RightsToALaterNodeAreWaitedForToo) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    opener->errors["video1"] = {EACCES, 0};
    EXPECT_TRUE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0", "video1", "video0", "video1"));
    EXPECT_EQ(paused, std::chrono::milliseconds(20));
}

TEST_F(KernelPlatform, AWaitEndsWhereTheReasonIsAnotherOne) {
    addCamera();
    opener->errors["video0"] = {EACCES, ENODEV};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_EQ(opener->opened.size(), 2U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: cannot be opened: No such device"));
}

TEST_F(KernelPlatform, AFailureIsTriedFiveTimesWithinEightyMilliseconds) {
    addCamera();
    opener->errors["video0"] = {EPERM};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_EQ(opener->opened.size(), 5U);
    EXPECT_EQ(paused, std::chrono::milliseconds(80));
}

TEST_F(KernelPlatform, ADeviceThatVanishesWhileItsNodeIsOpenedHasNoInterface) {
    addCamera();
    opener->atOpening = [this] { tree.removeDevice("1-2"); };
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0"));
}

TEST_F(KernelPlatform, ServicesTellTheNumbersOfTheirInterfaces) {
    addDevice("1-2", configuration({videoControl(4), interfaceDescriptor(5, 2), videoControl(2)}));
    const auto services = onlyDevice()->CreateInterfaceIterator(videoControlMatch);
    ASSERT_EQ(services->size(), 2U);
    EXPECT_EQ(services->front()->GetInterfaceNumber(), 4);
    EXPECT_EQ(services->back()->GetInterfaceNumber(), 2);
}

TEST_F(KernelPlatform, ItsProberListsTheSameTree) {
    addCamera();
    const auto prober = platform->initBusProber(2, nullptr);
    prober->refreshData(false);
    ASSERT_EQ(prober->devicesArray().size(), 1U);
    EXPECT_EQ(prober->devicesArray().front()->locationID, onlyDevice()->GetLocationID());
    EXPECT_EQ(prober->devicesArray().front()->controlInterface, 0);
}

TEST_F(KernelPlatform, ANodeThatDoesNotCaptureIsPassedOver) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    EXPECT_TRUE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0", "video1"));
}

TEST_F(KernelPlatform, ACameraThatOnlyHasMetadataNodesIsReported) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    opener->errors["video1"] = {ENOTTY};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video1: cannot be used: it captures no pictures"));
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelPlatform, RightsThatComeAMomentLaterAreWaitedFor) {
    for (const int error : {EACCES, EPERM, ENOENT}) {
        if (onlyDevice()) tree.removeDevice("1-2");
        std::filesystem::remove_all(tree.root() / "class/video4linux");
        std::filesystem::create_directories(tree.root() / "class/video4linux");
        std::filesystem::remove(tree.root() / "bus/usb/devices/1-2:1.0");
        addCamera();
        paused = {};
        opener->errors["video0"] = {error, error, 0};
        EXPECT_TRUE(openFirstInterface()) << error;
        EXPECT_GT(paused.count(), 0) << error;
    }
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelPlatform, ANodeWeMayNotOpenIsReportedOnceAndBlocksNoLongerThanATenthOfASecond) {
    addCamera();
    opener->errors["video0"] = {EACCES};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_LE(paused.count(), 100);
    EXPECT_GE(opener->opened.size(), 3U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: cannot be opened: Permission denied"));
}

TEST_F(KernelPlatform, OtherFailuresToOpenAreNotTriedAgain) {
    for (const int error : {EBUSY, ENODEV, EMFILE}) {
        opener->opened.clear();
        if (!onlyDevice()) addCamera();
        opener->errors["video0"] = {error};
        EXPECT_FALSE(openFirstInterface());
        EXPECT_THAT(opener->opened, ElementsAre("video0"));
    }
    EXPECT_EQ(paused.count(), 0);
    EXPECT_EQ(diagnostics.lines().size(), 3U);
}

TEST_F(KernelPlatform, ACameraThatNoDriverHoldsIsReported) {
    addDevice("1-2", ordinaryCamera());
    EXPECT_FALSE(openFirstInterface());
    ASSERT_EQ(diagnostics.lines().size(), 1U);
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("USB device 1-2: no video node"));
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelPlatform, WhatItHandsOutOutlivesIt) {
    addCamera();
    const auto device = onlyDevice();
    platform.reset();
    const auto services = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(services);
    EXPECT_TRUE(services->front()->openInterface());
}

TEST_F(KernelPlatform, AnInterfaceThatIsOpenedAnewLeavesATiltAloneThatAnotherProgramMoved) {
    addCamera();
    std::array<std::uint8_t, 8> value{};
    UsbControlRequest request;
    request.wValue = 13 << 8; // pan and tilt
    request.wIndex = 3 << 8;
    request.wLength = value.size();
    request.data = value.data();
    request.bmRequestType = 0xA1;
    request.bRequest = 0x81;
    ASSERT_EQ(openFirstInterface()->ControlRequest(request), UsbStatus::success);
    ASSERT_EQ(request.bytesDone, 8U);

    opener->device->controls[V4L2_CID_TILT_ABSOLUTE].value = -18000;
    std::ranges::copy(std::array<std::uint8_t, 4>{0x10, 0x0E, 0, 0}, value.begin());
    request.bmRequestType = 0x21;
    request.bRequest = 0x01;
    EXPECT_EQ(openFirstInterface()->ControlRequest(request), UsbStatus::success);
    EXPECT_EQ(opener->device->controls[V4L2_CID_TILT_ABSOLUTE].value, -18000);
    EXPECT_EQ(opener->device->controls[V4L2_CID_PAN_ABSOLUTE].value, 3600);
}

} // namespace
} // namespace tavelo::test
