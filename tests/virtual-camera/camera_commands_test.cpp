// SPDX-License-Identifier: MIT
#include "virtual-camera/camera_commands.h"

#include <gmock/gmock.h>

#include "usbip_client.h"

namespace tavelo {
namespace {

using test::Bytes;
using test::UsbipClient;
using testing::StartsWith;

class CameraCommandsTest : public testing::Test {
protected:
    void SetUp() override {
        Error error;
        server_ = usbip::UsbipServer::listen(0, error);
        ASSERT_TRUE(server_) << error.text;
        cameras_ = std::make_unique<ServedCameras>(
            *server_, std::vector{virtualCameraModel(1), virtualCameraModel(2)}, nullptr);
        commands_ = std::make_unique<CameraCommands>(*cameras_);
    }

    std::string ask(std::string_view line) { return commands_->execute(line); }

    // A host's class request to the camera's processing unit.
    UsbReply request(int camera, std::uint8_t bRequest, std::uint8_t selector, const Bytes& out = {}) {
        const auto firmware = cameras_->camera(camera);
        UsbSetup setup;
        setup.bmRequestType = out.empty() ? 0xA1 : 0x21;
        setup.bRequest = bRequest;
        setup.wValue = static_cast<std::uint16_t>(selector << 8);
        setup.wIndex = static_cast<std::uint16_t>(firmware->model().unitID << 8);
        setup.wLength = out.empty() ? 2 : static_cast<std::uint16_t>(out.size());
        return firmware->control(setup, out);
    }

    std::unique_ptr<usbip::UsbipServer> server_;
    std::unique_ptr<ServedCameras> cameras_;
    std::unique_ptr<CameraCommands> commands_;
};

constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t brightness = 2;
constexpr std::uint8_t contrast = 3;

TEST_F(CameraCommandsTest, GetReturnsTheValueWrittenByTheHost) {
    EXPECT_EQ(ask("get 1 brightness"), "ok 0");
    request(1, setCur, brightness, {0xF6, 0xFF});
    EXPECT_EQ(ask("get 1 brightness"), "ok -10");
    EXPECT_EQ(ask("get 2 brightness"), "ok 0");
}

TEST_F(CameraCommandsTest, SetChangesTheValueThatTheHostReads) {
    EXPECT_EQ(ask("set 1 brightness 7"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).data, (Bytes{7, 0}));
}

TEST_F(CameraCommandsTest, PanAndTiltAreTwoNumbers) {
    EXPECT_EQ(ask("set 1 panTilt 3600 -7200"), "ok");
    EXPECT_EQ(ask("get 1 panTilt"), "ok 3600 -7200");
    EXPECT_THAT(ask("set 1 panTilt 3600"), StartsWith("error "));
}

TEST_F(CameraCommandsTest, SetOutOfRangeIsAnError) {
    EXPECT_THAT(ask("set 1 brightness 1000"), StartsWith("error "));
    EXPECT_EQ(ask("get 1 brightness"), "ok 0");
}

TEST_F(CameraCommandsTest, LimitsAreMinimumMaximumStepAndDefault) {
    EXPECT_EQ(ask("limits 1 brightness"), "ok -64 64 1 0");
}

TEST_F(CameraCommandsTest, StallRefusesWithItsErrorCode) {
    EXPECT_EQ(ask("stall 1 brightness 2"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::stall);
    EXPECT_EQ(request(1, setCur, brightness, {1, 0}).kind, UsbReplyKind::stall);
    EXPECT_EQ(cameras_->camera(1)->requestLog().back().errorCode, 2);
    EXPECT_EQ(request(1, getCur, contrast).kind, UsbReplyKind::done);
    EXPECT_EQ(request(2, getCur, brightness).kind, UsbReplyKind::done);
}

TEST_F(CameraCommandsTest, StallCanBeLimitedToWrites) {
    EXPECT_EQ(ask("stall 1 brightness writes"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::done);
    EXPECT_EQ(request(1, setCur, brightness, {1, 0}).kind, UsbReplyKind::stall);
}

TEST_F(CameraCommandsTest, StallCanBeLimitedToReads) {
    EXPECT_EQ(ask("stall 1 brightness reads 4"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::stall);
    EXPECT_EQ(request(1, setCur, brightness, {1, 0}).kind, UsbReplyKind::done);
}

TEST_F(CameraCommandsTest, SilenceLeavesARequestUnanswered) {
    EXPECT_EQ(ask("silence 1 brightness"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::silence);
}

TEST_F(CameraCommandsTest, ShortTruncatesReads) {
    EXPECT_EQ(ask("short 1 brightness 1"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).data.size(), 1U);
}

TEST_F(CameraCommandsTest, DelayMakesAnswersLate) {
    EXPECT_EQ(ask("delay 1 30 brightness"), "ok");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::done);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
}

TEST_F(CameraCommandsTest, ClearEndsAllFaults) {
    ask("stall 1 brightness");
    ask("delay 1 600000");
    EXPECT_EQ(ask("clear 1"), "ok");
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::done);
}

TEST_F(CameraCommandsTest, VanishingOrPluggingInTwiceIsAnError) {
    EXPECT_EQ(ask("status 1"), "ok free");
    EXPECT_EQ(ask("vanish 1"), "ok");
    EXPECT_EQ(ask("status 1"), "ok gone");
    EXPECT_THAT(ask("vanish 1"), StartsWith("error "));
    EXPECT_THAT(ask("get 1 brightness"), StartsWith("error "));
    EXPECT_EQ(ask("plug 1"), "ok");
    EXPECT_THAT(ask("plug 1"), StartsWith("error "));
    EXPECT_EQ(ask("get 1 brightness"), "ok 0");
}

TEST_F(CameraCommandsTest, StatusReportsTheHostAndTheStream) {
    UsbipClient client(server_->port());
    ASSERT_EQ(client.import("1-2"), 0U);
    EXPECT_EQ(ask("status 2"), "ok attached");
    Bytes commit = client.control({0xA1, 0x81, 0, 1, 1, 0, 34, 0})->data;
    client.control({0x21, 0x01, 0, 2, 1, 0, 34, 0}, commit);
    client.control({0x01, 11, 1, 0, 1, 0, 0, 0});
    EXPECT_EQ(ask("status 2"), "ok attached YUYV 640x480");
}

TEST_F(CameraCommandsTest, InvalidCommandsAreAnsweredWithTheReason) {
    for (const char* line : {"",
                             "  ",
                             "get",
                             "get 1",
                             "get 0 brightness",
                             "get 3 brightness",
                             "get x brightness",
                             "get 1 nothing",
                             "get 1 brightness 2",
                             "set 1 brightness",
                             "set 1 brightness x",
                             "set 1 brightness 1 2",
                             "set 1 brightness 99999999999999999999",
                             "stall 1",
                             "stall 1 brightness 256",
                             "stall 1 brightness reads x",
                             "silence 1 brightness 3",
                             "short 1 brightness",
                             "short 1 brightness -1",
                             "delay 1",
                             "delay 1 -5",
                             "delay 1 5 nothing",
                             "delay 1 99999999",
                             "clear 1 x",
                             "vanish 1 now",
                             "status",
                             "dance 1",
                             "limits 1"})
        EXPECT_THAT(ask(line), StartsWith("error ")) << line;
    EXPECT_EQ(request(1, getCur, brightness).kind, UsbReplyKind::done);
}

} // namespace
} // namespace tavelo
