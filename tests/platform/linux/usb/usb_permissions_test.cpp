// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_permissions.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>

#include "descriptor_builder.h"
#include "fake_sysfs.h"

namespace tavelo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class UsbPermissions : public testing::Test {
protected:
    UsbPermissions() {
        tree.addRootHub("pci0000:00/0000:00:14.0", 1);
        add("1-1", 4, configuration({interfaceDescriptor(0, 1, 0x03)})); // a keyboard
        add("1-2", 5, ordinaryCamera());
        add("1-3", 6, ordinaryCamera());
    }

    void add(const std::string& name, int number, const Bytes& configurationBytes) {
        FakeSysfs::Device device;
        device.name = name;
        device.deviceNumber = number;
        device.descriptors = join({deviceDescriptor(), configurationBytes});
        tree.addDevice(device);
    }

    std::optional<std::string> denied() {
        return deniedCamera(tree.root(), [this](const std::string& path) { return errors[path]; });
    }

    FakeSysfs tree;
    std::map<std::string, int> errors;
};

TEST_F(UsbPermissions, SufficeIfEachCameraCanBeOpened) {
    EXPECT_EQ(denied(), std::nullopt);
}

TEST_F(UsbPermissions, AreMissingIfOneCameraIsDenied) {
    errors["/dev/bus/usb/001/006"] = EACCES;
    EXPECT_EQ(denied(), "/dev/bus/usb/001/006");
    errors["/dev/bus/usb/001/005"] = EPERM;
    EXPECT_EQ(denied(), "/dev/bus/usb/001/005");
}

TEST_F(UsbPermissions, AreNotAskedOfDevicesThatAreNoCameras) {
    errors["/dev/bus/usb/001/004"] = EACCES;
    EXPECT_EQ(denied(), std::nullopt);
}

TEST_F(UsbPermissions, ACameraThatJustWentLacksNone) {
    errors["/dev/bus/usb/001/005"] = ENOENT;
    errors["/dev/bus/usb/001/006"] = ENODEV;
    EXPECT_EQ(denied(), std::nullopt);
}

TEST_F(UsbPermissions, TheLineSaysWhereTheRuleGoesAndHowToLoadIt) {
    const std::string line = missingPermissionLine("/dev/bus/usb/001/006");
    EXPECT_THAT(line, HasSubstr("/dev/bus/usb/001/006"));
    EXPECT_THAT(line, HasSubstr("70-tavelo-control-panel.rules"));
    EXPECT_THAT(line, HasSubstr("/etc/udev/rules.d"));
    EXPECT_THAT(line, HasSubstr("udevadm control --reload"));
    EXPECT_THAT(line, HasSubstr("udevadm trigger"));
    EXPECT_THAT(line, Not(HasSubstr("\n")));
}

TEST_F(UsbPermissions, TheRealProbeTellsWhatTheKernelSays) {
    EXPECT_EQ(usbNodeProbe()("/dev/null"), 0);
    EXPECT_EQ(usbNodeProbe()((tree.root() / "missing").string()), ENOENT);
}

} // namespace
} // namespace tavelo::test
