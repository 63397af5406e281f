// SPDX-License-Identifier: MIT
#include "platform/uvc/usb_video_function.h"

#include <gmock/gmock.h>

#include <chrono>

#include "descriptor_builder.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Bytes headerNaming(const Bytes& interfaces) {
    return descriptor(
        join({{0x24, 0x01, 0x10, 0x01, 100, 0, 0x80, 0x8D, 0x5B, 0, std::uint8_t(interfaces.size())},
              interfaces}));
}

TEST(VideoFunction, HasTheStreamingInterfacesThatItsHeaderNames) {
    const UsbVideoFunction function = videoFunctionOf(ordinaryCamera(), 0);
    EXPECT_EQ(function.controlInterface, 0);
    EXPECT_THAT(function.streamingInterfaces, ElementsAre(1));
}

TEST(VideoFunction, TwoFunctionsOfOneDeviceHaveEachTheirOwn) {
    const Bytes two =
        configuration({videoControl(0), headerNaming({1}), interfaceDescriptor(1, 2), videoControl(2),
                       headerNaming({3, 4}), interfaceDescriptor(3, 2), interfaceDescriptor(4, 2)});
    EXPECT_THAT(videoFunctionOf(two, 0).streamingInterfaces, ElementsAre(1));
    EXPECT_THAT(videoFunctionOf(two, 2).streamingInterfaces, ElementsAre(3, 4));
}

TEST(VideoFunction, AlternateSettingsMakeNoFurtherInterfaces) {
    const Bytes bytes = configuration(
        {videoControl(0), headerNaming({1}), interfaceDescriptor(1, 2), interfaceDescriptor(1, 2, 0x0E, 1)});
    EXPECT_THAT(videoFunctionOf(bytes, 0).streamingInterfaces, ElementsAre(1));
}

TEST(VideoFunction, ANamedInterfaceThatDoesNotStreamIsLeftOut) {
    const Bytes bytes = configuration({videoControl(0), headerNaming({0, 1, 1, 7, 2}),
                                       interfaceDescriptor(1, 2), interfaceDescriptor(2, 1, 0x01)});
    EXPECT_THAT(videoFunctionOf(bytes, 0).streamingInterfaces, ElementsAre(1));
}

TEST(VideoFunction, ThousandsOfNamesAndInterfacesAreReadInOnePass) {
    Bytes bytes = configuration({videoControl(0)});
    for (int i = 0; i < 260; ++i) {
        const Bytes header = headerNaming(Bytes(200, 9));
        bytes.insert(bytes.end(), header.begin(), header.end());
    }
    for (int i = 0; i < 7000; ++i) {
        const Bytes interface = interfaceDescriptor(1, 2);
        bytes.insert(bytes.end(), interface.begin(), interface.end());
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(videoFunctionOf(bytes, 0).streamingInterfaces, IsEmpty());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST(VideoFunction, OnlyAControlInterfaceHasEntities) {
    const Bytes bytes =
        configuration({interfaceDescriptor(0, 2), headerNaming({1}), interfaceDescriptor(1, 2)});
    EXPECT_THAT(videoFunctionOf(bytes, 0).streamingInterfaces, IsEmpty());
}

TEST(VideoFunction, KnowsTheVersionOfTheClassAndTheKindsOfEntities) {
    const UsbVideoFunction function = videoFunctionOf(ordinaryCamera(), 0);
    EXPECT_EQ(function.classVersion, 0x0110);
    EXPECT_EQ(function.kindOf(3), UvcEntity::cameraTerminal);
    EXPECT_EQ(function.kindOf(5), UvcEntity::processingUnit);
    EXPECT_EQ(function.kindOf(1), std::nullopt);
}

TEST(VideoFunction, AHeaderThatLiesAboutItsLengthNamesWhatItHolds) {
    Bytes lying = headerNaming({1});
    lying[11] = 200;
    const Bytes bytes = configuration({videoControl(0), lying, interfaceDescriptor(1, 2)});
    EXPECT_THAT(videoFunctionOf(bytes, 0).streamingInterfaces, ElementsAre(1));
}

TEST(VideoFunction, OfNothingIsEmptyAndListsEverything) {
    const UsbVideoFunction function = videoFunctionOf({}, 3);
    EXPECT_EQ(function.controlInterface, 3);
    EXPECT_THAT(function.streamingInterfaces, IsEmpty());
    EXPECT_TRUE(function.lists(1, 2));
}

TEST(VideoFunction, CutOffAnywhereItIsReadWithoutHarm) {
    const Bytes whole = ordinaryCamera();
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        // A copy of just this length, so that the sanitizer sees a byte too many.
        const Bytes cut(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        EXPECT_EQ(videoFunctionOf(cut, 0).controlInterface, 0);
    }
}

TEST(VideoFunction, ListsTheControlsThatTheFirmwareHas) {
    for (int number = 1; number <= 8; ++number) {
        const VirtualCameraFirmware firmware(virtualCameraModel(number));
        const VirtualCameraModel& model = firmware.model();
        const UsbVideoFunction function = videoFunctionOf(makeConfigurationDescriptor(model), 0);
        for (const FirmwareControl& control : firmwareControls()) {
            const bool terminal = control.address.entity == UvcEntity::cameraTerminal;
            const std::uint8_t entity = terminal ? model.terminalID : model.unitID;
            EXPECT_EQ(function.lists(entity, control.address.selector),
                      firmware.listsControl(entity, control.address.selector))
                << number << " " << control.name;
        }
        EXPECT_FALSE(function.lists(model.unitID, 0x60));
    }
}

} // namespace
} // namespace tavelo::test
