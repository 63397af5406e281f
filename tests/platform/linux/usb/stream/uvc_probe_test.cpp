// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <gmock/gmock.h>

#include <vector>

namespace tavelo {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

// Returns scripted answers and records the requests.
class ProbedCamera final : public UsbStreamPort {
public:
    struct Asked {
        std::uint8_t code;
        std::uint8_t selector;
        Bytes bytes;
    };

    UsbPortStatus request(const UsbStreamRequest& request, std::size_t& done) override {
        asked.push_back({request.code, request.selector, {request.data.begin(), request.data.end()}});
        if (asked.size() == failAt) return failure;
        done = request.data.size();
        if (request.code != 0x81) return UsbPortStatus::ok;
        done = std::min(answer.size(), request.data.size());
        std::copy_n(answer.begin(), done, request.data.begin());
        return UsbPortStatus::ok;
    }
    UsbPortStatus setAlternate(std::uint8_t) override { return UsbPortStatus::failed; }
    UsbPortStatus clearHalt(std::uint8_t) override { return UsbPortStatus::failed; }
    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape&, UsbTransferListener&) override {
        return nullptr;
    }
    UsbPortStatus handleEvents(std::chrono::milliseconds) override { return UsbPortStatus::failed; }

    Bytes answer = Bytes(48, 0);
    std::size_t failAt = 0; // counting from 1
    UsbPortStatus failure = UsbPortStatus::stalled;
    std::vector<Asked> asked;
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

TEST(UvcProbe, ReadsWhatTheCameraMakesOfIt) {
    ProbedCamera camera;
    camera.answer[2] = 1;
    camera.answer[3] = 3;
    camera.answer[4] = 0x40;
    camera.answer[20] = 0x0A; // 655,360 bytes per frame
    camera.answer[23] = 0x0C; // 3072 bytes per payload
    UvcProbe probe(0x0110);
    probe.setFrame(1, 2);
    ASSERT_EQ(probeStream(camera, probe), UsbPortStatus::ok);
    EXPECT_EQ(probe.formatIndex(), 1);
    EXPECT_EQ(probe.frameIndex(), 3);
    EXPECT_EQ(probe.frameInterval(), 0x40U);
    EXPECT_EQ(probe.maxFrameSize(), 0x0A0000U);
    EXPECT_EQ(probe.maxPayload(), 3072U);
    ASSERT_EQ(camera.asked.size(), 2U);
    EXPECT_EQ(camera.asked[0].code, 0x01);
    EXPECT_EQ(camera.asked[0].selector, 1);
    EXPECT_EQ(camera.asked[0].bytes[3], 2);
    EXPECT_EQ(camera.asked[1].code, 0x81);
}

TEST(UvcProbe, CommitsTheCamerasAnswerUnchanged) {
    ProbedCamera camera;
    for (std::size_t i = 0; i < camera.answer.size(); ++i)
        camera.answer[i] = std::uint8_t(i);
    UvcProbe probe(0x0150);
    ASSERT_EQ(probeStream(camera, probe), UsbPortStatus::ok);
    ASSERT_EQ(commitStream(camera, probe), UsbPortStatus::ok);
    EXPECT_EQ(camera.asked[2].code, 0x01);
    EXPECT_EQ(camera.asked[2].selector, 2);
    EXPECT_EQ(camera.asked[2].bytes, camera.answer);
}

TEST(UvcProbe, AnswersOfAnOlderVersionAreTakenAndSentBackAsTheyCame) {
    ProbedCamera camera;
    camera.answer.resize(26);
    UvcProbe probe(0x0150);
    ASSERT_EQ(probeStream(camera, probe), UsbPortStatus::ok);
    ASSERT_EQ(commitStream(camera, probe), UsbPortStatus::ok);
    EXPECT_EQ(camera.asked[2].bytes.size(), 26U);
}

TEST(UvcProbe, AnswersTooShortAreARefusal) {
    ProbedCamera camera;
    camera.answer.resize(25);
    UvcProbe probe(0x0110);
    EXPECT_EQ(probeStream(camera, probe), UsbPortStatus::stalled);
}

TEST(UvcProbe, FailuresComeThroughAsTheyAre) {
    for (const std::size_t step : {1U, 2U}) {
        ProbedCamera camera;
        camera.failAt = step;
        camera.failure = UsbPortStatus::gone;
        UvcProbe probe(0x0110);
        EXPECT_EQ(probeStream(camera, probe), UsbPortStatus::gone);
        EXPECT_EQ(camera.asked.size(), step) << "nothing more is asked";
    }
}

TEST(UvcProbe, APayloadExtendedByItsSignIsPutRight) {
    ProbedCamera camera;
    camera.answer[22] = 0x20;
    camera.answer[23] = 0x8C;
    camera.answer[24] = camera.answer[25] = 0xFF;
    UvcProbe probe(0x0110);
    ASSERT_EQ(probeStream(camera, probe), UsbPortStatus::ok);
    EXPECT_EQ(probe.maxPayload(), 0x8C20U);
}

} // namespace
} // namespace tavelo
