// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_usb.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "fake_sysfs.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string xhci = "pci0000:00/0000:00:14.0";

Bytes cameraDescriptors() {
    return join({deviceDescriptor(), ordinaryCamera()});
}

class SysfsUsb : public testing::Test {
protected:
    void addCamera(const std::string& name, std::uint16_t product = 0x0825) {
        FakeSysfs::Device device;
        device.name = name;
        device.product = product;
        device.descriptors = cameraDescriptors();
        tree.addDevice(device);
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& device : usbDevices(tree.root()))
            found.push_back(device.name);
        return found;
    }

    std::uint32_t locationOf(const std::string& name) const {
        for (const auto& device : usbDevices(tree.root())) {
            if (device.name == name) return device.locationID;
        }
        ADD_FAILURE() << name << " is not listed";
        return 0;
    }

    FakeSysfs tree;
};

TEST_F(SysfsUsb, AMachineWithoutUsbHasNoDevices) {
    EXPECT_THAT(usbDevices(tree.root()), IsEmpty());
    EXPECT_THAT(usbDevices(tree.root() / "nowhere"), IsEmpty());
    EXPECT_THAT(usbDevices(""), IsEmpty());
}

TEST_F(SysfsUsb, ReadsWhatADeviceIs) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2");
    const auto devices = usbDevices(tree.root());
    ASSERT_EQ(devices.size(), 1U);
    const auto& device = devices.front();
    EXPECT_EQ(device.name, "1-2");
    EXPECT_EQ(device.vendorID, 0x046D);
    EXPECT_EQ(device.productID, 0x0825);
    EXPECT_EQ(device.busNumber, 1);
    EXPECT_EQ(device.deviceNumber, 5);
    EXPECT_EQ(device.product, "Test Camera");
    EXPECT_EQ(device.locationID & 0x00FFFFFF, 0x00200000U);
}

TEST_F(SysfsUsb, ListsByBusAndPortAndLeavesRootHubsOut) {
    tree.addRootHub(xhci, 1);
    tree.addRootHub("pci0000:00/0000:00:1a.0", 10);
    for (const char* name : {"10-1", "1-10", "1-2", "1-2.10", "1-2.9"})
        addCamera(name);
    tree.addVideoNode("1-2:1.0", "video0", 0);
    EXPECT_THAT(names(), ElementsAre("1-2", "1-2.9", "1-2.10", "1-10", "10-1"));
}

TEST_F(SysfsUsb, SkipsADeviceThatIsHalfGone) {
    tree.addRootHub(xhci, 1);
    addCamera("1-1");
    addCamera("1-2");
    addCamera("1-3");
    std::filesystem::remove(tree.folderOf("1-1") / "idVendor");
    std::filesystem::remove_all(tree.folderOf("1-3")); // its link on the bus still exists
    EXPECT_THAT(names(), ElementsAre("1-2"));
}

TEST_F(SysfsUsb, SkipsNamesThatAreNoPlaces) {
    tree.addRootHub(xhci, 1);
    for (const char* name : {"1-", "1-2.", "1-2.x", "999-1", "-1", "1-256", "x"})
        std::filesystem::create_directories(tree.root() / "bus/usb/devices" / name);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(SysfsUsb, ALocationSurvivesAnotherBusNumber) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2");
    const std::uint32_t before = locationOf("1-2");
    FakeSysfs other;
    other.addRootHub("pci0000:00/0000:00:1a.0", 1);
    other.addRootHub(xhci, 4);
    FakeSysfs::Device device;
    device.name = "4-2";
    other.addDevice(device);
    ASSERT_EQ(usbDevices(other.root()).size(), 1U);
    EXPECT_EQ(usbDevices(other.root()).front().locationID, before);
}

TEST_F(SysfsUsb, TheTwoHubsOfOneControllerAreTwoPlaces) {
    tree.addRootHub(xhci, 1);
    tree.addRootHub(xhci, 2);
    addCamera("1-3");
    addCamera("2-3");
    EXPECT_NE(locationOf("1-3"), locationOf("2-3"));
    EXPECT_EQ(locationOf("1-3") & 0x00FFFFFF, locationOf("2-3") & 0x00FFFFFF);
}

TEST_F(SysfsUsb, ReadsDescriptorsOfTheActiveConfiguration) {
    tree.addRootHub(xhci, 1);
    const Bytes first = configuration({videoControl(0)}, 1);
    const Bytes second = configuration({videoControl(3)}, 2);
    FakeSysfs::Device device;
    device.descriptors = join({deviceDescriptor(), first, second});
    device.configurationValue = "2";
    tree.addDevice(device);
    const auto descriptors = usbDescriptors(usbDevices(tree.root()).front());
    ASSERT_TRUE(descriptors);
    EXPECT_EQ(descriptors->device, deviceDescriptor());
    EXPECT_EQ(descriptors->configuration, second);
}

TEST_F(SysfsUsb, AnUnconfiguredDeviceHasAnEmptyConfiguration) {
    tree.addRootHub(xhci, 1);
    FakeSysfs::Device device;
    device.descriptors = cameraDescriptors();
    device.configurationValue = "";
    tree.addDevice(device);
    const auto descriptors = usbDescriptors(usbDevices(tree.root()).front());
    ASSERT_TRUE(descriptors);
    EXPECT_THAT(descriptors->configuration, IsEmpty());
}

TEST_F(SysfsUsb, ADeviceThatWentAwayHasNoDescriptors) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2");
    const auto device = usbDevices(tree.root()).front();
    tree.removeDevice("1-2");
    EXPECT_FALSE(usbDescriptors(device));
    EXPECT_THAT(videoNodesOfInterface(device, 0), IsEmpty());
}

TEST_F(SysfsUsb, ShortDescriptorsAreReadAsFarAsTheyGo) {
    tree.addRootHub(xhci, 1);
    FakeSysfs::Device device;
    device.descriptors = {18, 1, 0, 2};
    tree.addDevice(device);
    const auto descriptors = usbDescriptors(usbDevices(tree.root()).front());
    ASSERT_TRUE(descriptors);
    EXPECT_THAT(descriptors->device, ElementsAre(18, 1, 0, 2));
    EXPECT_THAT(descriptors->configuration, IsEmpty());
}

TEST_F(SysfsUsb, FindsTheCameraBehindAVideoNode) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2", 0x0001); // serves as a hub here
    addCamera("1-2.4");
    tree.addVideoNode("1-2.4:1.0", "video3", 0);
    for (const char* node : {"video3", "/dev/video3", "/sys/devices/whatever/video4linux/video3"}) {
        const auto identity = usbIdentityOfVideoNode(tree.root(), node);
        ASSERT_TRUE(identity) << node;
        EXPECT_EQ(identity->locationID, locationOf("1-2.4"));
        EXPECT_EQ(identity->vendorID, 0x046D);
        EXPECT_EQ(identity->productID, 0x0825);
        EXPECT_EQ(identity->interfaceNumber, 0);
        EXPECT_TRUE(identity->isFirstVideoFunction);
        EXPECT_EQ(identity->productName, "Test Camera");
        EXPECT_EQ(identity->deviceName, "1-2.4");
    }
}

TEST_F(SysfsUsb, ANodeOffTheBusHasNoIdentity) {
    tree.addRootHub(xhci, 1);
    tree.addPlatformVideoNode("video9");
    EXPECT_FALSE(usbIdentityOfVideoNode(tree.root(), "video9"));
    EXPECT_FALSE(usbIdentityOfVideoNode(tree.root(), "video10"));
    EXPECT_FALSE(usbIdentityOfVideoNode(tree.root(), ""));
    EXPECT_FALSE(usbIdentityOfVideoNode(tree.root(), "/dev/"));
}

TEST_F(SysfsUsb, TheSecondVideoFunctionsIdentifierEndsInItsInterface) {
    tree.addRootHub(xhci, 1);
    FakeSysfs::Device device;
    device.descriptors =
        join({deviceDescriptor(), configuration({videoControl(0), interfaceDescriptor(1, 2), videoControl(2),
                                                 interfaceDescriptor(3, 2)})});
    tree.addDevice(device);
    tree.addVideoNode("1-2:1.0", "video0", 0);
    tree.addVideoNode("1-2:1.2", "video2", 0);
    const auto first = usbIdentityOfVideoNode(tree.root(), "video0");
    const auto second = usbIdentityOfVideoNode(tree.root(), "video2");
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->captureIdentifier().size(), 18U);
    EXPECT_EQ(second->captureIdentifier(), first->captureIdentifier() + "02");
}

TEST_F(SysfsUsb, ListsTheNodesOfAnInterfaceTheCapturingOneFirst) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2");
    tree.addVideoNode("1-2:1.0", "video1", 1);
    tree.addVideoNode("1-2:1.0", "video10", 0);
    tree.addVideoNode("1-2:1.2", "video4", 0);
    const auto device = usbDevices(tree.root()).front();
    EXPECT_THAT(videoNodesOfInterface(device, 0), ElementsAre("video10", "video1"));
    EXPECT_THAT(videoNodesOfInterface(device, 2), ElementsAre("video4"));
    EXPECT_THAT(videoNodesOfInterface(device, 1), IsEmpty());
}

TEST_F(SysfsUsb, NodesAndIdentitiesAreEachOthersInverse) {
    tree.addRootHub(xhci, 1);
    tree.addRootHub("pci0000:00/0000:00:1a.0", 2);
    addCamera("1-2");
    addCamera("2-2");
    tree.addVideoNode("1-2:1.0", "video0", 0);
    tree.addVideoNode("2-2:1.0", "video1", 0);
    for (const auto& device : usbDevices(tree.root())) {
        for (const auto& node : videoNodesOfInterface(device, 0)) {
            const auto identity = usbIdentityOfVideoNode(tree.root(), node);
            ASSERT_TRUE(identity);
            EXPECT_EQ(identity->locationID, device.locationID);
        }
    }
}

TEST_F(SysfsUsb, BrokenAttributesNeverCrash) {
    tree.addRootHub(xhci, 1);
    addCamera("1-2");
    tree.addVideoNode("1-2:1.0", "video0", 0);
    const auto folder = tree.folderOf("1-2");
    for (const std::string& content :
         {std::string(), std::string("\n"), std::string("zz"), std::string("123456"), std::string("-1"),
          std::string(100000, '\xFF'), std::string("04\0d", 4)}) {
        for (const char* attribute :
             {"idVendor", "devnum", "bConfigurationValue", "descriptors", "product"}) {
            const auto path = folder / attribute;
            std::filesystem::remove(path);
            FakeSysfs::write(path, content);
            usbIdentityOfVideoNode(tree.root(), "video0");
            for (const auto& device : usbDevices(tree.root()))
                usbDescriptors(device);
            FakeSysfs::write(path, "1\n");
        }
    }
    FakeSysfs::write(folder / "idVendor", "zz\n");
    EXPECT_THAT(names(), IsEmpty());
}

} // namespace
} // namespace tavelo::test
