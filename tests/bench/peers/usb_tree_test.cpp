// SPDX-License-Identifier: MIT
#include "bench/peers/camera/usb_tree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/linux/bus/sysfs_usb.h"

namespace tavelo::bench {
namespace {

class UsbTreeTest : public testing::Test {
protected:
    UsbTreeTest() {
        std::string name = (std::filesystem::temp_directory_path() / "usb-tree-XXXXXX").string();
        sysfs_ = ::mkdtemp(name.data());
        makeUsbTree(sysfs_);
    }
    ~UsbTreeTest() override { std::filesystem::remove_all(sysfs_); }

    std::filesystem::path sysfs_;
};

TEST_F(UsbTreeTest, TheVideoNodeBelongsToAUsbCamera) {
    const auto identity = usbIdentityOfVideoNode(sysfs_, "video0");
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->productName, "Pretend Camera");
    EXPECT_EQ(identity->vendorID, 0x1209);
    EXPECT_TRUE(identity->isFirstVideoFunction);
}

TEST_F(UsbTreeTest, TheCameraHasVideoDescriptorsAndANode) {
    const auto devices = usbDevices(sysfs_);
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(usbSpeed(devices.front()), 480U);
    const auto descriptors = usbDescriptors(devices.front());
    ASSERT_TRUE(descriptors);
    EXPECT_EQ(descriptors->device.size(), 18U);
    EXPECT_GT(descriptors->configuration.size(), 9U);
    EXPECT_EQ(videoNodesOfInterface(devices.front(), 0), std::vector<std::string>{"video0"});
}

} // namespace
} // namespace tavelo::bench
