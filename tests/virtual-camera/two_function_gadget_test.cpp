// SPDX-License-Identifier: MIT
#include "virtual-camera/two_function_gadget.h"

#include <gmock/gmock.h>

#include "platform/uvc/descriptors.h"
#include "platform/uvc/uvc_protocol.h"
#include "virtual-camera/served_cameras.h"

namespace tavelo {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

class TwoFunctions : public testing::Test {
protected:
    UsbReply brightness(const VirtualCameraFirmware& function, UvcRequest request, const Bytes& out = {}) {
        const VirtualCameraModel& model = function.model();
        const auto index = static_cast<std::uint16_t>(model.unitID << 8 | model.controlInterface());
        const std::uint8_t type = out.empty() ? uvc::classInterfaceIn : uvc::classInterfaceOut;
        return gadget.control({type, codeOf(request), 0x0200, index, 2}, out);
    }
    UsbReply setInterface(std::uint8_t interface, std::uint16_t setting) {
        return gadget.control({0x01, uvc::setInterface, setting, interface, 0}, {});
    }

    std::shared_ptr<VirtualCameraFirmware> first =
        std::make_shared<VirtualCameraFirmware>(virtualCameraModel(1));
    std::shared_ptr<VirtualCameraFirmware> second =
        std::make_shared<VirtualCameraFirmware>(secondFunctionOf(first->model(), 2));
    TwoFunctionGadget gadget{first, second};
};

TEST_F(TwoFunctions, FollowEachOtherInOneConfiguration) {
    const Bytes whole = gadget.control({0x80, uvc::getDescriptor, 0x0200, 0, 0xFFFF}, {}).data;
    EXPECT_EQ(whole, Bytes(gadget.configurationDescriptor().begin(), gadget.configurationDescriptor().end()));
    EXPECT_EQ(whole.size(), std::size_t(whole[2] | whole[3] << 8));
    EXPECT_EQ(whole[4], 4);
    EXPECT_THAT(videoControlInterfaces(whole), ElementsAre(0, 2));
    EXPECT_EQ(gadget.control({0x80, uvc::getDescriptor, 0x0200, 0, 9}, {}).data.size(), 9U);
    for (const auto& function : {first, second}) {
        const VirtualCameraModel& model = function->model();
        const auto record = probeDescriptors(gadget.deviceDescriptor(), whole, model.controlInterface());
        EXPECT_EQ(record.terminalID, model.terminalID);
        EXPECT_EQ(record.unitID, model.unitID);
    }
}

TEST_F(TwoFunctions, HaveSeparateValues) {
    EXPECT_EQ(brightness(*first, UvcRequest::setCur, {7, 0}).kind, UsbReplyKind::done);
    EXPECT_EQ(brightness(*second, UvcRequest::setCur, {9, 0}).kind, UsbReplyKind::done);
    EXPECT_EQ(brightness(*first, UvcRequest::getCur).data, (Bytes{7, 0}));
    EXPECT_EQ(brightness(*second, UvcRequest::getCur).data, (Bytes{9, 0}));
    EXPECT_EQ(second->controlValue(control::brightness), 9);
    FirmwareFault stall;
    stall.control = control::brightness;
    second->order(stall);
    EXPECT_EQ(brightness(*second, UvcRequest::getCur).kind, UsbReplyKind::stall);
    EXPECT_EQ(brightness(*first, UvcRequest::getCur).kind, UsbReplyKind::done);
}

TEST_F(TwoFunctions, HaveSeparateAlternateSettings) {
    EXPECT_EQ(setInterface(3, 2).kind, UsbReplyKind::done);
    EXPECT_EQ(first->alternateSetting(), 0);
    EXPECT_EQ(second->alternateSetting(), 2);
    EXPECT_EQ(setInterface(4, 0).kind, UsbReplyKind::stall);
    EXPECT_EQ(gadget.control({0x00, uvc::setConfiguration, 1, 0, 0}, {}).kind, UsbReplyKind::done);
    EXPECT_EQ(second->alternateSetting(), 0);
}

TEST(TwoFunctionCameras, PlugsAndUnplugsBothTogether) {
    Error error;
    const auto server = usbip::UsbipServer::listen(0, error);
    ASSERT_TRUE(server) << error.text;
    ServedCameras cameras(*server, {virtualCameraModel(1), virtualCameraModel(2)}, nullptr, true);
    EXPECT_EQ(cameras.size(), 4);
    ASSERT_TRUE(cameras.camera(3));
    EXPECT_EQ(cameras.camera(3)->model().firstInterface, 2);
    EXPECT_NE(cameras.camera(3)->model().unitID, cameras.camera(1)->model().unitID);
    EXPECT_FALSE(cameras.vanish(3));
    EXPECT_FALSE(cameras.plug(3));
    EXPECT_TRUE(cameras.vanish(1));
    EXPECT_FALSE(cameras.camera(3));
    EXPECT_TRUE(cameras.camera(4));
    EXPECT_TRUE(cameras.plug(1));
    EXPECT_TRUE(cameras.camera(3));
}

} // namespace
} // namespace tavelo
