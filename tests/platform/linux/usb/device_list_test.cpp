// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device_list.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "fake_sysfs.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "support/manual_main_queue.h"
#include "support/recorded_device_changes.h"

namespace tavelo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Bytes twoFunctions() {
    return configuration({videoControl(0), header(0x0110), interfaceDescriptor(1, 2), videoControl(2),
                          descriptor({0x24, 0x01, 0x10, 0x01, 100, 0, 0, 0, 0, 0, 1, 3}),
                          interfaceDescriptor(3, 2)});
}

class CameraList : public ::testing::Test {
protected:
    CameraList() { tree.addRootHub("pci0000:00/0000:00:14.0", 1); }

    void plug(const std::string& name, const std::string& product, int number = 5,
              const Bytes& configurationBytes = ordinaryCamera()) {
        FakeSysfs::Device device;
        device.name = name;
        device.productName = product;
        device.deviceNumber = number;
        device.descriptors = join({deviceDescriptor(), configurationBytes});
        tree.addDevice(device);
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& device : list.devices())
            found.push_back(device->localizedName());
        return found;
    }

    FakeSysfs tree;
    testing::ManualMainQueue mainQueue;
    std::vector<std::string> inputsOf;
    UsbDeviceList list{tree.root(), mainQueue,
                       [this](const auto& device, const UsbCamera& camera, Error& error) {
                           inputsOf.push_back(device->uniqueID() + " " + camera.address.device.path());
                           error = {ErrorCode::busy, "taken"};
                           return nullptr;
                       }};
    testing::RecordedDeviceChanges changes;
};

TEST_F(CameraList, ACameraHasTheIdentifierThatItsVideoNodeHas) {
    plug("1-2", "Camera", 5, twoFunctions());
    tree.addVideoNode("1-2:1.0", "video0", 0);
    tree.addVideoNode("1-2:1.2", "video2", 0);
    const auto cameras = scanUsbCameras(tree.root()).cameras;
    ASSERT_THAT(cameras, SizeIs(2));
    EXPECT_EQ(cameras[0].uniqueID, usbIdentityOfVideoNode(tree.root(), "video0")->captureIdentifier());
    EXPECT_EQ(cameras[1].uniqueID, usbIdentityOfVideoNode(tree.root(), "video2")->captureIdentifier());
    EXPECT_EQ(cameras[0].address.device, (UsbAddress{1, 5}));
    EXPECT_THAT(cameras[0].address.interfaces(), ElementsAre(0, 1));
    EXPECT_THAT(cameras[1].address.interfaces(), ElementsAre(2, 3));
    EXPECT_EQ(cameras[0].localizedName, "Camera");
    EXPECT_NE(cameras[1].localizedName, "Camera");
    EXPECT_EQ(cameras[0].configurationDescriptor, twoFunctions());
}

TEST_F(CameraList, ACameraNamesItsDeviceItsPlaceAndItsFormats) {
    plug("1-2", "Camera", 5, makeConfigurationDescriptor(virtualCameraModel(1)));
    list.fill();
    const auto camera = list.devices().front();
    EXPECT_EQ(camera->node(), "/dev/bus/usb/001/005");
    EXPECT_EQ(camera->place(), "1-2");
    ASSERT_THAT(camera->formats(), SizeIs(7));
    EXPECT_EQ(camera->formats().front().fourcc, "YUYV");
    EXPECT_EQ(camera->formats().front().size, (CaptureFormatRequest::Size{640, 480}));
    EXPECT_NEAR(camera->formats().front().framesPerSecond, 30, 0.01);
}

TEST_F(CameraList, NeedsNoVideoNodeSinceADetachedDriverHasNone) {
    plug("1-2", "Camera");
    list.fill();
    EXPECT_THAT(names(), ElementsAre("Camera"));
}

TEST_F(CameraList, LeavesOutWhatIsNoCameraAndWhatCannotStream) {
    plug("1-1", "Keyboard", 5, configuration({interfaceDescriptor(0, 1, 0x03)}));
    plug("1-2", "Control alone", 6, configuration({videoControl(0), header(0x0110)}));
    list.fill();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(CameraList, NamesACameraWithoutAProductStringAsTheKernelDoes) {
    plug("1-2", "");
    list.fill();
    EXPECT_THAT(names(), ElementsAre("UVC Camera (046d:0825)"));
}

TEST_F(CameraList, ANameThatWouldSteerATerminalIsMadeHarmless) {
    plug("1-2", "Cam\x1B[2J");
    list.fill();
    EXPECT_THAT(names(), ElementsAre("Cam [2J"));
}

TEST_F(CameraList, ReportsArrivalAndRemovalOnTheMainQueue) {
    plug("1-2", "First");
    list.fill();
    list.addObserver(&changes);
    plug("1-1", "Second", 6);
    EXPECT_TRUE(list.rescan());
    EXPECT_THAT(changes.names(), IsEmpty());
    mainQueue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("+Second"));
    EXPECT_THAT(names(), ElementsAre("First", "Second"));
    tree.removeDevice("1-2");
    list.rescan();
    mainQueue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("+Second", "-First"));
    list.removeObserver(&changes);
    tree.removeDevice("1-1");
    list.rescan();
    mainQueue.drain();
    EXPECT_THAT(changes.names(), SizeIs(2));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(CameraList, ACameraThatStaysIsTheSameObjectAndAReplacedOneIsNot) {
    plug("1-2", "Camera", 5);
    list.fill();
    const auto before = list.devices().front();
    list.rescan();
    mainQueue.drain();
    EXPECT_EQ(list.devices().front(), before);
    tree.removeDevice("1-2");
    plug("1-2", "Camera", 6); // pulled out and put back before anybody looked
    list.addObserver(&changes);
    list.rescan();
    mainQueue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("-Camera", "+Camera"));
    EXPECT_NE(list.devices().front(), before);
    EXPECT_EQ(list.devices().front()->uniqueID(), before->uniqueID());
}

TEST_F(CameraList, CamerasOfOneModelThatSwapSocketsSwapIdentifiersWhateverTheirNumbersAre) {
    const auto plugBoth = [this](const std::string& first, const std::string& second) {
        plug(first, "Camera", 5);
        plug(second, "Camera", 6);
        FakeSysfs::write(tree.folderOf(first) / "serial", "1\n");
        FakeSysfs::write(tree.folderOf(second) / "serial", "2\n");
    };
    plugBoth("1-1", "1-2");
    list.fill();
    list.addObserver(&changes);
    const auto before = list.devices();
    ASSERT_THAT(before, SizeIs(2));
    ASSERT_NE(before[0]->uniqueID(), before[1]->uniqueID());
    tree.removeDevice("1-1");
    tree.removeDevice("1-2");
    plugBoth("1-2", "1-1");
    list.rescan();
    mainQueue.drain();
    EXPECT_THAT(changes.names(), ElementsAre("-Camera", "-Camera", "+Camera", "+Camera"));
    const auto after = list.devices();
    ASSERT_THAT(after, SizeIs(2));
    for (const auto& device : after) {
        const bool isFirst = device->place() == "1-1";
        EXPECT_EQ(device->uniqueID(), before[isFirst ? 0 : 1]->uniqueID()) << "that of the socket";
        EXPECT_EQ(device->node(), isFirst ? "/dev/bus/usb/001/006" : "/dev/bus/usb/001/005");
    }
}

TEST_F(CameraList, ADeviceWithoutAConfigurationIsLookedAtAgain) {
    FakeSysfs::Device fresh;
    fresh.name = "1-2";
    fresh.descriptors = join({deviceDescriptor(), ordinaryCamera()});
    fresh.configurationValue = "";
    tree.addDevice(fresh);
    EXPECT_FALSE(list.rescan());
    mainQueue.drain();
    EXPECT_THAT(names(), IsEmpty());
    FakeSysfs::write(tree.folderOf("1-2") / "bConfigurationValue", "1\n");
    EXPECT_TRUE(list.rescan());
    mainQueue.drain();
    EXPECT_THAT(names(), ElementsAre("Test Camera"));
}

TEST_F(CameraList, AnInputIsMadeForTheCameraThatWasAsked) {
    plug("1-2", "Camera", 7);
    list.fill();
    Error error;
    EXPECT_FALSE(list.devices().front()->makeInput(error));
    EXPECT_EQ(error.code, ErrorCode::busy);
    EXPECT_THAT(inputsOf, ElementsAre(list.devices().front()->uniqueID() + " /dev/bus/usb/001/007"));
}

TEST_F(CameraList, DropsChangesAfterItsDestruction) {
    {
        UsbDeviceList brief(tree.root(), mainQueue, nullptr);
        brief.addObserver(&changes);
        plug("1-2", "Camera");
        brief.rescan();
    }
    mainQueue.drain();
    EXPECT_THAT(changes.names(), IsEmpty());
}

} // namespace
} // namespace tavelo::test
