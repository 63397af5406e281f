// SPDX-License-Identifier: MIT
// A virtual camera seen from the host: enumeration, negotiation, streams.
#include <gmock/gmock.h>

#include <memory>

#include "platform/virtual/picture/virtual_picture.h"
#include "platform/virtual/usbip/usbip_server.h"
#include "usbip_client.h"
#include "virtual-camera/served_cameras.h"

namespace tavelo {
namespace {

using test::Bytes;
using test::UsbipClient;
using testing::ElementsAre;

constexpr std::size_t width = 320;
constexpr std::size_t height = 240;
constexpr std::size_t frameSize = 2 * width * height;
constexpr std::uint8_t alternateSetting = 4; // 2 x 1024 bytes per microframe
constexpr std::uint32_t microframeBytes = 1024;

class VirtualCameraUsbTest : public testing::TestWithParam<StreamTransport> {
protected:
    void SetUp() override {
        Error error;
        server_ = usbip::UsbipServer::listen(0, error);
        ASSERT_TRUE(server_) << error.text;
        VirtualCameraModel model = virtualCameraModel(1);
        model.transport = GetParam();
        cameras_ = std::make_unique<ServedCameras>(*server_, std::vector{model}, nullptr);
        attach();
    }

    void attach() {
        client_ = std::make_unique<UsbipClient>(server_->port());
        ASSERT_EQ(client_->import("1-1"), 0U);
        ASSERT_EQ(client_->control({0x00, 9, 1, 0, 0, 0, 0, 0})->status, 0);
    }

    bool bulk() const { return GetParam() == StreamTransport::bulk; }

    // Negotiates format and frame by index and starts the stream.
    void start(std::uint8_t format, std::uint8_t frame) {
        Bytes probe(34);
        probe[2] = format;
        probe[3] = frame;
        ASSERT_EQ(client_->control({0x21, 0x01, 0, 1, 1, 0, 34, 0}, probe)->status, 0);
        const Bytes offered = client_->control({0xA1, 0x81, 0, 1, 1, 0, 34, 0})->data;
        ASSERT_EQ(offered.size(), 34U);
        ASSERT_EQ(client_->control({0x21, 0x01, 0, 2, 1, 0, 34, 0}, offered)->status, 0);
        if (bulk()) return;
        ASSERT_EQ(client_->control({0x01, 11, alternateSetting, 0, 1, 0, 0, 0})->status, 0);
    }

    void stop() {
        const auto reply = bulk() ? client_->control({0x02, 1, 0, 0, 0x81, 0, 0, 0})
                                  : client_->control({0x01, 11, 0, 0, 1, 0, 0, 0});
        ASSERT_EQ(reply->status, 0);
    }

    // Returns the payloads of the next transfer.
    std::vector<Bytes> nextPayloads() {
        if (bulk()) {
            client_->submitIn(1, 32768);
            return {client_->reply()->data};
        }
        client_->submitIso(1, std::vector<std::uint32_t>(32, microframeBytes));
        const auto reply = client_->reply();
        std::vector<Bytes> payloads;
        std::size_t at = 0;
        for (const auto& packet : reply->packets) {
            const auto begin = reply->data.begin() + static_cast<std::ptrdiff_t>(at);
            payloads.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(packet.actualLength));
            at += packet.actualLength;
        }
        return payloads;
    }

    // The next complete frame: from the first payload after an end of frame to the next end of frame.
    Bytes nextFrame() {
        Bytes frame;
        while (true)
            for (const Bytes& payload : nextPayloads()) {
                if (payload.empty()) continue;
                frame.insert(frame.end(), payload.begin() + payload[0], payload.end());
                const bool end = (payload[1] & 2) != 0;
                if (end && frame.size() == frameSize) return frame;
                if (end) frame.clear();
            }
    }

    static std::vector<int> yuv(const Bytes& frame, std::size_t x, std::size_t y) {
        const std::size_t at = 2 * (y * width + x / 2 * 2);
        return {frame.at(at), frame.at(at + 1), frame.at(at + 3)};
    }

    std::unique_ptr<usbip::UsbipServer> server_;
    std::unique_ptr<ServedCameras> cameras_;
    std::unique_ptr<UsbipClient> client_;
};

TEST_P(VirtualCameraUsbTest, EnumeratesWithTheFirmwaresDescriptors) {
    const auto device = client_->control({0x80, 6, 0, 1, 0, 0, 18, 0});
    ASSERT_EQ(device->data.size(), 18U);
    EXPECT_EQ(device->data[8] | device->data[9] << 8, 0x1209);
    const auto expected = cameras_->camera(1)->configurationDescriptor();
    const auto configuration = client_->control({0x80, 6, 0, 2, 0, 0, 0, 0x10});
    EXPECT_EQ(configuration->data, Bytes(expected.begin(), expected.end()));
}

TEST_P(VirtualCameraUsbTest, AControlWrittenOverTheBusChangesTheCamera) {
    const std::uint8_t unit = cameras_->camera(1)->model().unitID;
    ASSERT_EQ(client_->control({0x21, 0x01, 0, 2, 0, unit, 2, 0}, {0xF6, 0xFF})->status, 0);
    EXPECT_EQ(cameras_->camera(1)->controlValue(control::brightness), -10);
}

TEST_P(VirtualCameraUsbTest, SendsNothingUntilAStreamIsStarted) {
    if (bulk()) {
        const std::uint32_t waiting = client_->submitIn(1, 32768);
        ASSERT_EQ(client_->control({0x80, 6, 0, 1, 0, 0, 18, 0})->status, 0);
        client_->unlink(waiting);
        EXPECT_EQ(client_->reply()->status, -104);
    } else {
        EXPECT_THAT(nextPayloads(), testing::Each(testing::IsEmpty()));
    }
}

TEST_P(VirtualCameraUsbTest, StreamsWholeUncompressedFramesOfItsPicture) {
    start(1, 2);
    const Bytes frame = nextFrame();
    const std::size_t inside = VirtualPicture::patchSide(height) / 2;
    const auto red = yuv(frame, inside, inside);
    const auto blue = yuv(frame, inside, height - inside);
    EXPECT_GT(red[2], 180) << "red in the upper left corner";
    EXPECT_LT(red[1], 140);
    EXPECT_GT(blue[1], 180) << "blue in the lower left corner";
    EXPECT_LT(blue[2], 140);
}

TEST_P(VirtualCameraUsbTest, ThePictureFollowsAControl) {
    start(1, 2);
    const std::size_t inside = VirtualPicture::patchSide(height) / 2;
    const int before = yuv(nextFrame(), inside, inside)[0];
    cameras_->camera(1)->setControlValue(control::brightness, -64);
    nextFrame(); // one may have been made before
    nextFrame();
    EXPECT_LT(yuv(nextFrame(), inside, inside)[0], before - 20);
}

TEST_P(VirtualCameraUsbTest, StreamsCompressedFrames) {
    start(2, 3);
    Bytes frame;
    for (bool ended = false; !ended;)
        for (const Bytes& payload : nextPayloads()) {
            if (payload.empty() || ended) continue;
            frame.insert(frame.end(), payload.begin() + payload[0], payload.end());
            ended = (payload[1] & 2) != 0;
        }
    ASSERT_GT(frame.size(), 1000U);
    EXPECT_THAT(Bytes(frame.begin(), frame.begin() + 2), ElementsAre(0xFF, 0xD8));
    EXPECT_THAT(Bytes(frame.end() - 2, frame.end()), ElementsAre(0xFF, 0xD9));
}

TEST_P(VirtualCameraUsbTest, AStreamStartedAgainBeginsWithTheFirstByteOfAFrame) {
    start(1, 2);
    nextPayloads();
    stop();
    start(1, 2);
    std::vector<Bytes> first;
    while (first.empty()) {
        first = nextPayloads();
        std::erase_if(first, [](const Bytes& payload) { return payload.empty(); });
    }
    EXPECT_GT(first[0].at(first[0][0] + 3U), 180) << "the frame starts with the red corner";
}

TEST_P(VirtualCameraUsbTest, AClientThatDisconnectsEndsTheStream) {
    start(1, 2);
    nextFrame();
    client_.reset();
    while (cameras_->isImported(1))
        std::this_thread::yield();
    EXPECT_FALSE(cameras_->camera(1)->streaming());
}

TEST_P(VirtualCameraUsbTest, ACameraThatVanishesWhileItStreamsEndsTheConnection) {
    start(1, 2);
    nextFrame();
    EXPECT_TRUE(cameras_->vanish(1));
    EXPECT_FALSE(cameras_->vanish(1));
    EXPECT_TRUE(client_->ends());
    EXPECT_FALSE(cameras_->camera(1));
    EXPECT_EQ(UsbipClient(server_->port()).import("1-1"), 4U);
}

TEST_P(VirtualCameraUsbTest, ACameraThatVanishesWhileItDelaysAnAnswerEndsTheConnection) {
    FirmwareFault fault;
    fault.kind = FaultKind::delay;
    fault.wait = std::chrono::minutes(5);
    cameras_->camera(1)->order(fault);
    client_->submitControl({0xA1, 0x81, 0, 2, 0, cameras_->camera(1)->model().unitID, 2, 0});
    EXPECT_TRUE(cameras_->vanish(1));
    EXPECT_TRUE(client_->ends());
}

TEST_P(VirtualCameraUsbTest, APluggedInCameraHasItsDefaults) {
    cameras_->camera(1)->setControlValue(control::brightness, 33);
    cameras_->vanish(1);
    EXPECT_TRUE(cameras_->plug(1));
    EXPECT_FALSE(cameras_->plug(1));
    EXPECT_EQ(cameras_->camera(1)->controlValue(control::brightness), 0);
    attach();
    start(1, 2);
    EXPECT_EQ(nextFrame().size(), frameSize);
}

INSTANTIATE_TEST_SUITE_P(Transports, VirtualCameraUsbTest,
                         testing::Values(StreamTransport::isochronous, StreamTransport::bulk),
                         [](const auto& transport) {
                             return transport.param == StreamTransport::bulk ? "Bulk" : "Isochronous";
                         });

} // namespace
} // namespace tavelo
