// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "fake_usb_camera.h"

namespace tavelo {
namespace {

using test::FakeUsbCamera;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t interface = 1;

// A camera with scripted answers.
class ProbedCamera : public testing::Test {
protected:
    ProbedCamera() {
        camera.answer([this](const UsbSetupPacket& setup, std::span<std::uint8_t> data) {
            if (setup.request != 0x81) return UsbResult{ErrorCode::none, data.size()};
            const std::size_t count = std::min(answer.size(), data.size());
            std::copy_n(answer.begin(), count, data.begin());
            return UsbResult{ErrorCode::none, count};
        });
    }

    Bytes answer = Bytes(48, 0);
    FakeUsbCamera camera;
    Error error;
    std::unique_ptr<UsbHandle> handle = camera.open({}, error);
};

TEST(UvcProbe, HasTheSizeOfItsVersion) {
    EXPECT_EQ(UvcProbe(0x0100).bytes().size(), 26U);
    EXPECT_EQ(UvcProbe(0x010A).bytes().size(), 26U);
    EXPECT_EQ(UvcProbe(0x0110).bytes().size(), 34U);
    EXPECT_EQ(UvcProbe(0x0150).bytes().size(), 48U);
}

TEST(UvcProbe, PutsItsFieldsWhereTheyBelong) {
    UvcProbe probe(0x0100);
    probe.setFrame(2, 7);
    probe.setFrameInterval(0x00051615);
    EXPECT_THAT(Bytes(probe.bytes().begin(), probe.bytes().begin() + 8),
                ElementsAre(1, 0, 2, 7, 0x15, 0x16, 0x05, 0));
    EXPECT_THAT(Bytes(probe.bytes().begin() + 8, probe.bytes().end()), testing::Each(0));
}

TEST_F(ProbedCamera, ReadsWhatTheCameraMakesOfIt) {
    answer[2] = 1;
    answer[3] = 3;
    answer[4] = 0x40;
    answer[20] = 0x0A; // 655,360 bytes a frame
    answer[23] = 0x0C; // 3072 a payload
    UvcProbe probe(0x0110);
    probe.setFrame(1, 2);
    ASSERT_EQ(probeStream(*handle, interface, probe), ErrorCode::none);
    EXPECT_EQ(probe.formatIndex(), 1);
    EXPECT_EQ(probe.frameIndex(), 3);
    EXPECT_EQ(probe.frameInterval(), 0x40U);
    EXPECT_EQ(probe.maxFrameSize(), 0x0A0000U);
    EXPECT_EQ(probe.maxPayload(), 3072U);
    const auto asked = camera.requests();
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].setup, (UsbSetupPacket{0x21, 0x01, 0x0100, interface}));
    EXPECT_EQ(asked[0].data[3], 2);
    EXPECT_EQ(asked[0].patience, std::chrono::seconds(5));
    EXPECT_EQ(asked[1].setup, (UsbSetupPacket{0xA1, 0x81, 0x0100, interface}));
    EXPECT_EQ(asked[1].patience, std::chrono::seconds(5));
}

TEST_F(ProbedCamera, CommitsTheCamerasAnswerUnchanged) {
    for (std::size_t i = 0; i < answer.size(); ++i)
        answer[i] = std::uint8_t(i);
    UvcProbe probe(0x0150);
    ASSERT_EQ(probeStream(*handle, interface, probe), ErrorCode::none);
    ASSERT_EQ(commitStream(*handle, interface, probe), ErrorCode::none);
    EXPECT_EQ(camera.requests()[2].setup, (UsbSetupPacket{0x21, 0x01, 0x0200, interface}));
    EXPECT_EQ(camera.requests()[2].data, answer);
}

TEST_F(ProbedCamera, AnswersOfAnOlderVersionAreTakenAndSentBackAsTheyCame) {
    answer.resize(26);
    UvcProbe probe(0x0150);
    ASSERT_EQ(probeStream(*handle, interface, probe), ErrorCode::none);
    ASSERT_EQ(commitStream(*handle, interface, probe), ErrorCode::none);
    EXPECT_EQ(camera.requests()[2].data.size(), 26U);
}

TEST_F(ProbedCamera, AnswersTooShortAreARefusal) {
    answer.resize(25);
    UvcProbe probe(0x0110);
    EXPECT_EQ(probeStream(*handle, interface, probe), ErrorCode::refused);
}

TEST_F(ProbedCamera, FailuresComeThroughAsTheyAre) {
    std::size_t asked = 0;
    for (const auto& [code, step] : {std::pair<std::uint8_t, std::size_t>{0x01, 1}, {0x81, 2}}) {
        camera.failRequest(code, 1, ErrorCode::gone);
        UvcProbe probe(0x0110);
        EXPECT_EQ(probeStream(*handle, interface, probe), ErrorCode::gone);
        asked += step;
        EXPECT_EQ(camera.requests().size(), asked) << "nothing more is asked";
    }
}

TEST_F(ProbedCamera, APayloadExtendedByItsSignIsPutRight) {
    answer[22] = 0x20;
    answer[23] = 0x8C;
    answer[24] = answer[25] = 0xFF;
    UvcProbe probe(0x0110);
    ASSERT_EQ(probeStream(*handle, interface, probe), ErrorCode::none);
    EXPECT_EQ(probe.maxPayload(), 0x8C20U);
}

} // namespace
} // namespace tavelo
