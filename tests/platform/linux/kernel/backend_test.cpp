// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/backend.h"

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
#include "support/manual_main_queue.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

// Returns the errors queued for a path, then the one node.
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
    /// The last error of a queue is repeated.
    std::map<std::string, std::deque<int>> errors;
    std::vector<std::string> opened;
    std::function<void()> atOpening;
};

class KernelBackend : public ::testing::Test {
protected:
    KernelBackend() {
        opener->device->controls = everyControl();
        KernelBackendOptions machine;
        machine.sysfs = tree.root();
        machine.nodes.opener = opener;
        machine.nodes.pause = [this](std::chrono::milliseconds time) { paused += time; };
        backend = makeKernelBackend({mainQueue, diagnostics}, machine);
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
        auto devices = backend.usb->listDevices();
        if (devices.size() != 1) return nullptr;
        const bool answers = devices.front()->CreatePlugInInterface() && devices.front()->QueryInterface();
        return answers ? std::move(devices.front()) : nullptr;
    }

    std::shared_ptr<UsbInterface> openFirstInterface() const {
        const auto device = onlyDevice();
        if (!device) return nullptr;
        const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
        if (!numbers || numbers->empty()) return nullptr;
        return device->openInterface(numbers->front());
    }

    FakeSysfs tree;
    testing::RecordedDiagnostics diagnostics;
    testing::ManualMainQueue mainQueue;
    std::shared_ptr<FakeOpener> opener = std::make_shared<FakeOpener>();
    std::chrono::milliseconds paused{0};
    Backend backend;
};

TEST_F(KernelBackend, ABusWithoutDevicesListsNone) {
    EXPECT_THAT(backend.usb->listDevices(), IsEmpty());
}

TEST_F(KernelBackend, WalksFromTheDeviceDownToAControl) {
    addCamera();
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    EXPECT_EQ(device->GetLocationID() & 0x00FFFFFF, 0x00200000U);
    const auto interface = openFirstInterface();
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->GetInterfaceNumber(), 0);
    Bytes data(2, 0);
    UsbControlRequest request{0xA1, 0x81, 0x0200, 0x0500, 2, data.data(), 0}; // brightness of unit 5
    EXPECT_EQ(interface->ControlRequest(request), ErrorCode::none);
    EXPECT_THAT(data, ElementsAre(0xFD, 0xFF));
    EXPECT_THAT(opener->opened, ElementsAre("video0"));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelBackend, ReachesTheExtensionUnitsOfItsDescriptors) {
    addDevice("1-2",
              configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0xFF}),
                             processingUnit(5, 3, {0xFF}), extensionUnit(7, Bytes(16, 1), {5}, {0b1000})}));
    tree.addVideoNode("1-2:1.0", "video0", 0);
    opener->device->units[{7, 4, 0x81}] = {{1, 2, 3}};
    const auto interface = openFirstInterface();
    ASSERT_TRUE(interface);
    Bytes data(3, 0);
    UsbControlRequest request{0xA1, 0x81, 0x0400, 0x0700, 3, data.data(), 0};
    EXPECT_EQ(interface->ControlRequest(request), ErrorCode::none);
    EXPECT_THAT(data, ElementsAre(1, 2, 3));
}

TEST_F(KernelBackend, TellsADevicesFactsWithoutOpeningIt) {
    addCamera();
    FakeSysfs::write(tree.folderOf("1-2") / "speed", "5000\n");
    FakeSysfs::write(tree.folderOf("1-2") / "product", "Camera\x1b\n");
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    const auto facts = device->facts();
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->descriptors.device, deviceDescriptor());
    EXPECT_EQ(facts->descriptors.configuration, ordinaryCamera());
    EXPECT_EQ(facts->product, "Camera ");
    EXPECT_EQ(facts->speed, 5000U);
    EXPECT_THAT(opener->opened, IsEmpty());
    FakeSysfs::write(tree.folderOf("1-2") / "speed", "1.5\n");
    EXPECT_EQ(device->facts()->speed, 0U);
    tree.removeDevice("1-2");
    EXPECT_FALSE(device->facts());
}

TEST_F(KernelBackend, InspectsACameraThroughItsNode) {
    addCamera();
    const auto inspector = onlyDevice()->openInspector(0);
    ASSERT_TRUE(inspector);
    EXPECT_EQ(inspector->node(), "/dev/video0");
    EXPECT_EQ(inspector->ask({5, 2, 0x81, 2}), (RawAnswer{AnswerKind::answered, {0xFD, 0xFF}}));
    EXPECT_EQ(onlyDevice()->openInspector(7), nullptr);
}

TEST_F(KernelBackend, ADeviceThatVanishedAfterTheListingIsSkipped) {
    addCamera();
    const auto devices = backend.usb->listDevices();
    ASSERT_EQ(devices.size(), 1U);
    tree.removeDevice("1-2");
    EXPECT_FALSE(devices.front()->CreatePlugInInterface());
}

TEST_F(KernelBackend, ADeviceThatVanishesOnTheWayHasNoInterfaces) {
    addCamera();
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    tree.removeDevice("1-2");
    EXPECT_FALSE(device->CreateInterfaceIterator(videoControlMatch));
}

TEST_F(KernelBackend, AnInterfaceThatVanishesOnTheWayCannotBeOpened) {
    addCamera();
    const auto device = onlyDevice();
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(numbers);
    tree.removeDevice("1-2");
    EXPECT_EQ(device->openInterface(numbers->front()), nullptr);
}

TEST_F(KernelBackend, ACameraWithoutAControlInterfaceHasAnEmptyIterator) {
    addDevice("1-2", configuration({interfaceDescriptor(0, 1, 0x01), interfaceDescriptor(1, 2, 0x01)}));
    const auto device = onlyDevice();
    ASSERT_TRUE(device);
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(numbers);
    EXPECT_THAT(*numbers, IsEmpty());
}

TEST_F(KernelBackend, MatchesInterfacesByEachField) {
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

TEST_F(KernelBackend, ASecondFunctionSpeaksToItsOwnNodeAndEntities) {
    addDevice("1-2",
              configuration({videoControl(0), cameraTerminal(3, {0, 2, 0}), processingUnit(5, 3, {1, 0}),
                             interfaceDescriptor(1, 2), videoControl(2), cameraTerminal(8, {0, 2, 0}),
                             processingUnit(9, 8, {1, 0}), interfaceDescriptor(3, 2)}));
    tree.addVideoNode("1-2:1.0", "video0", 0);
    tree.addVideoNode("1-2:1.2", "video2", 0);
    const auto device = onlyDevice();
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_EQ(numbers->size(), 2U);
    const auto second = device->openInterface(numbers->back());
    ASSERT_TRUE(second);
    EXPECT_THAT(opener->opened, ElementsAre("video2"));
    EXPECT_EQ(second->GetInterfaceNumber(), 2);
    Bytes data(2, 0);
    UsbControlRequest request{0xA1, 0x81, 0x0200, 0x0902, 2, data.data(), 0};
    EXPECT_EQ(second->ControlRequest(request), ErrorCode::none);
    EXPECT_EQ(request.bytesDone, 2U);
}

TEST_F(KernelBackend, NodesAreTriedInTheDriversOrderAndNotByTheirNumbers) {
    addDevice("1-2", ordinaryCamera());
    tree.addVideoNode("1-2:1.0", "video7", 0);
    tree.addVideoNode("1-2:1.0", "video12", 2);
    tree.addVideoNode("1-2:1.0", "video3", 1);
    for (const char* node : {"video7", "video3", "video12"})
        opener->errors[node] = {ENOTTY};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video7", "video3", "video12"));
}

TEST_F(KernelBackend, NodesOfOtherInterfacesAndOtherKindsAreLeftAlone) {
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

TEST_F(KernelBackend, RightsToALaterNodeAreWaitedForToo) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    opener->errors["video1"] = {EACCES, 0};
    EXPECT_TRUE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0", "video1", "video0", "video1"));
    EXPECT_EQ(paused, std::chrono::milliseconds(20));
}

TEST_F(KernelBackend, AWaitEndsIfTheErrorChanges) {
    addCamera();
    opener->errors["video0"] = {EACCES, ENODEV};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_EQ(opener->opened.size(), 2U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: cannot be opened: No such device"));
}

TEST_F(KernelBackend, AFailureIsTriedFiveTimesWithinEightyMilliseconds) {
    addCamera();
    opener->errors["video0"] = {EPERM};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_EQ(opener->opened.size(), 5U);
    EXPECT_EQ(paused, std::chrono::milliseconds(80));
}

TEST_F(KernelBackend, ADeviceThatVanishesWhileItsNodeIsOpenedHasNoInterface) {
    addCamera();
    opener->atOpening = [this] { tree.removeDevice("1-2"); };
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0"));
}

TEST_F(KernelBackend, TheIteratorTellsTheNumbersOfTheInterfaces) {
    addDevice("1-2", configuration({videoControl(4), interfaceDescriptor(5, 2), videoControl(2)}));
    EXPECT_THAT(*onlyDevice()->CreateInterfaceIterator(videoControlMatch), ElementsAre(4, 2));
}

TEST_F(KernelBackend, ItsProberListsTheSameTree) {
    addCamera();
    const auto prober = backend.usb->initBusProber(2, nullptr);
    prober->refreshData(false);
    ASSERT_EQ(prober->devicesArray().size(), 1U);
    EXPECT_EQ(prober->devicesArray().front()->locationID, onlyDevice()->GetLocationID());
    EXPECT_EQ(prober->devicesArray().front()->controlInterface, 0);
}

TEST_F(KernelBackend, ANodeThatDoesNotCaptureIsPassedOver) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    EXPECT_TRUE(openFirstInterface());
    EXPECT_THAT(opener->opened, ElementsAre("video0", "video1"));
}

TEST_F(KernelBackend, ACameraThatOnlyHasMetadataNodesIsReported) {
    addCamera();
    opener->errors["video0"] = {ENOTTY};
    opener->errors["video1"] = {ENOTTY};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video1: cannot be used: it captures no pictures"));
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelBackend, RightsThatComeAMomentLaterAreWaitedFor) {
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

TEST_F(KernelBackend, ANodeWeMayNotOpenIsReportedOnceAndBlocksNoLongerThanATenthOfASecond) {
    addCamera();
    opener->errors["video0"] = {EACCES};
    EXPECT_FALSE(openFirstInterface());
    EXPECT_LE(paused.count(), 100);
    EXPECT_GE(opener->opened.size(), 3U);
    EXPECT_THAT(diagnostics.lines(), ElementsAre("/dev/video0: cannot be opened: Permission denied"));
}

TEST_F(KernelBackend, OtherFailuresToOpenAreNotTriedAgain) {
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

TEST_F(KernelBackend, ACameraThatNoDriverHoldsIsReported) {
    addDevice("1-2", ordinaryCamera());
    EXPECT_FALSE(openFirstInterface());
    ASSERT_EQ(diagnostics.lines().size(), 1U);
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("USB device 1-2: no video node"));
    EXPECT_EQ(paused.count(), 0);
}

TEST_F(KernelBackend, ItsObjectsOutliveIt) {
    addCamera();
    const auto device = onlyDevice();
    backend = {};
    const auto numbers = device->CreateInterfaceIterator(videoControlMatch);
    ASSERT_TRUE(numbers);
    EXPECT_TRUE(device->openInterface(numbers->front()));
}

TEST_F(KernelBackend, AnInterfaceThatIsOpenedAnewLeavesATiltAloneThatAnotherProgramMoved) {
    addCamera();
    std::array<std::uint8_t, 8> value{};
    UsbControlRequest request;
    request.wValue = 13 << 8; // pan and tilt
    request.wIndex = 3 << 8;
    request.wLength = value.size();
    request.data = value.data();
    request.bmRequestType = 0xA1;
    request.bRequest = 0x81;
    ASSERT_EQ(openFirstInterface()->ControlRequest(request), ErrorCode::none);
    ASSERT_EQ(request.bytesDone, 8U);

    opener->device->controls[V4L2_CID_TILT_ABSOLUTE].value = -18000;
    std::ranges::copy(std::array<std::uint8_t, 4>{0x10, 0x0E, 0, 0}, value.begin());
    request.bmRequestType = 0x21;
    request.bRequest = 0x01;
    EXPECT_EQ(openFirstInterface()->ControlRequest(request), ErrorCode::none);
    EXPECT_EQ(opener->device->controls[V4L2_CID_TILT_ABSOLUTE].value, -18000);
    EXPECT_EQ(opener->device->controls[V4L2_CID_PAN_ABSOLUTE].value, 3600);
}

} // namespace
} // namespace tavelo::test
