// SPDX-License-Identifier: MIT
#include <numeric>
#include <span>

#include <gmock/gmock.h>

#include "firmware_client.h"

namespace tavelo {
namespace {

using enum UsbReplyKind;

constexpr std::uint8_t controlInterface = 0;
constexpr std::uint8_t streamingInterface = 1;
using Bytes = std::vector<std::uint8_t>;

class StreamNegotiationTest : public ::testing::Test {
protected:
    static constexpr std::uint8_t yuyvFormat = 1;
    static constexpr std::uint8_t mjpegFormat = 2;

    explicit StreamNegotiationTest(StreamTransport transport = StreamTransport::isochronous)
        : firmware(model(transport)) {}

    static VirtualCameraModel model(StreamTransport transport) {
        VirtualCameraModel made = virtualCameraModel(1);
        made.transport = transport;
        return made;
    }

    static Bytes request(std::uint8_t format, std::uint8_t frame, std::uint32_t interval,
                         std::size_t size = 34) {
        Bytes bytes{1, 0, format, frame};
        appendLittleEndian(bytes, interval, 4);
        bytes.resize(size);
        return bytes;
    }

    UsbReply write(std::uint8_t selector, const Bytes& bytes) {
        return firmware.control(
            {uvc::classInterfaceOut, codeOf(UvcRequest::setCur), static_cast<std::uint16_t>(selector << 8),
             streamingInterface, static_cast<std::uint16_t>(bytes.size())},
            bytes);
    }
    Bytes read(std::uint8_t selector, UvcRequest code, std::uint16_t length = 34) {
        return firmware
            .control({uvc::classInterfaceIn, codeOf(code), static_cast<std::uint16_t>(selector << 8),
                      streamingInterface, length},
                     {})
            .data;
    }
    UsbReply setInterface(std::uint16_t interface, std::uint16_t alternate) {
        return firmware.control({0x01, uvc::setInterface, alternate, interface, 0}, {});
    }

    static std::uint32_t number(const Bytes& bytes, std::size_t at) {
        return static_cast<std::uint32_t>(littleEndian(std::span(bytes).subspan(at, 4)));
    }

    VirtualCameraFirmware firmware;
};

TEST_F(StreamNegotiationTest, probeAnswersWithWhatTheCameraWillDo) {
    EXPECT_EQ(write(uvc::probeControl, request(yuyvFormat, 2, 333'333)).kind, done);
    const Bytes probe = read(uvc::probeControl, UvcRequest::getCur);
    ASSERT_EQ(probe.size(), 34U);
    EXPECT_EQ(probe[2], yuyvFormat);
    EXPECT_EQ(probe[3], 2);
    EXPECT_EQ(number(probe, 4), 333'333U);
    EXPECT_EQ(number(probe, 18), 320U * 240 * 2);
    EXPECT_GE(number(probe, 22), 320U * 240 * 2 * 30 / 8000 + 12) << "fits its frames into the microframes";
}

TEST(StreamFormat, takesTheSmallestPayloadThatCarriesTheFramesInTime) {
    std::vector<std::uint32_t> sizes(3072);
    std::iota(sizes.begin(), sizes.end(), 1);
    const auto payload = [&sizes](StreamEncoding encoding, std::uint16_t width, std::uint16_t height) {
        StreamOffer offer;
        offer.encoding = encoding;
        offer.width = width;
        offer.height = height;
        return streamFormat(offer, 400'000, StreamTransport::isochronous, sizes).maxPayload;
    };
    // 25 frames a second, 8000 payloads with 12 bytes of header, and 5 % in reserve.
    EXPECT_EQ(payload(StreamEncoding::yuyv, 640, 480), 640 * 480 * 2 * 25 / 8000 * 105 / 100 + 12);
    EXPECT_EQ(payload(StreamEncoding::mjpeg, 1280, 720), 1280 * 720 / 4 * 25 / 8000 * 105 / 100 + 12);
    EXPECT_EQ(payload(StreamEncoding::yuyv, 1280, 720), 3072U) << "the largest, if none is large enough";
    sizes.clear();
    EXPECT_EQ(payload(StreamEncoding::yuyv, 640, 480), 0U);
}

TEST_F(StreamNegotiationTest, probeBendsToTheNearest) {
    write(uvc::probeControl, request(9, 77, 600'000));
    const Bytes probe = read(uvc::probeControl, UvcRequest::getCur);
    EXPECT_EQ(probe[2], 1);
    EXPECT_EQ(probe[3], 1);
    EXPECT_EQ(number(probe, 4), 666'666U);
}

TEST_F(StreamNegotiationTest, probingCommitsToNothing) {
    write(uvc::probeControl, request(mjpegFormat, 1, 333'333));
    EXPECT_EQ(firmware.committedFormat(), std::nullopt);
}

TEST_F(StreamNegotiationTest, commitTakesWhatAProbeAnswered) {
    write(uvc::probeControl, request(mjpegFormat, 1, 333'333));
    EXPECT_EQ(write(uvc::commitControl, read(uvc::probeControl, UvcRequest::getCur)).kind, done);
    const auto format = firmware.committedFormat();
    ASSERT_TRUE(format.has_value());
    EXPECT_EQ(format->encoding, StreamEncoding::mjpeg);
    EXPECT_EQ(format->width, 1280);
    EXPECT_EQ(format->height, 720);
    EXPECT_EQ(format->frameInterval, 333'333U);
}

TEST_F(StreamNegotiationTest, commitRefusesWhatTheCameraDoesNotOffer) {
    EXPECT_EQ(write(uvc::commitControl, request(yuyvFormat, 9, 333'333)).kind, stall);
    EXPECT_EQ(write(uvc::commitControl, request(yuyvFormat, 1, 100'000)).kind, stall);
    EXPECT_EQ(firmware.committedFormat(), std::nullopt);
}

TEST_F(StreamNegotiationTest, takesTheShorterProbeOfVersionOneAndNoneBelow) {
    EXPECT_EQ(write(uvc::commitControl, request(yuyvFormat, 1, 333'333, 26)).kind, done);
    EXPECT_EQ(write(uvc::commitControl, request(yuyvFormat, 1, 333'333, 25)).kind, stall);
    EXPECT_EQ(read(uvc::probeControl, UvcRequest::getCur, 26).size(), 26U);
}

TEST_F(StreamNegotiationTest, tellsLengthInfoAndDefaults) {
    EXPECT_EQ(read(uvc::probeControl, UvcRequest::getLen), (Bytes{34, 0}));
    EXPECT_EQ(read(uvc::probeControl, UvcRequest::getInfo), (Bytes{3}));
    EXPECT_EQ(number(read(uvc::probeControl, UvcRequest::getDef), 4), 333'333U);
    EXPECT_TRUE(read(9, UvcRequest::getCur).empty());
    EXPECT_TRUE(read(uvc::commitControl, UvcRequest::getDef).empty());
}

TEST_F(StreamNegotiationTest, everyOfferHasAnAlternateSettingOfItsPayload) {
    for (const StreamOffer& offer : firmware.model().offers) {
        for (const std::uint32_t interval : offer.frameIntervals) {
            const StreamFormat format =
                streamFormat(offer, interval, StreamTransport::isochronous, firmware.model().payloadSizes());
            bool found = false;
            for (const std::uint16_t size : isochronousPacketSizes)
                found = found || bytesPerMicroframe(size) == format.maxPayload;
            EXPECT_TRUE(found) << offer.width << "x" << offer.height;
            if (offer.encoding != StreamEncoding::yuyv) continue;
            const std::uint64_t perSecond = std::uint64_t{format.maxPayload - 12} * 8000;
            EXPECT_GE(perSecond, std::uint64_t{format.maxFrameSize} * 10'000'000 / interval)
                << offer.width << "x" << offer.height;
        }
    }
}

TEST_F(StreamNegotiationTest, streamsFromAnAlternateSettingWithBandwidthUntilSettingZero) {
    EXPECT_EQ(setInterface(streamingInterface, 3).kind, done);
    EXPECT_FALSE(firmware.streaming()) << "nothing is agreed yet";
    write(uvc::commitControl, request(yuyvFormat, 1, 333'333));
    EXPECT_EQ(setInterface(streamingInterface, 5).kind, done);
    EXPECT_TRUE(firmware.streaming());
    EXPECT_EQ(firmware.alternateSetting(), 5);
    EXPECT_EQ(firmware.control({0x81, uvc::getInterface, 0, streamingInterface, 1}, {}).data, Bytes{5});
    EXPECT_EQ(setInterface(streamingInterface, 0).kind, done);
    EXPECT_FALSE(firmware.streaming());
}

TEST_F(StreamNegotiationTest, refusesInterfacesAndSettingsThatAreNotThere) {
    EXPECT_EQ(setInterface(streamingInterface, 6).kind, stall);
    EXPECT_EQ(setInterface(controlInterface, 1).kind, stall);
    EXPECT_EQ(setInterface(2, 0).kind, stall);
    EXPECT_EQ(firmware.alternateSetting(), 0);
}

TEST_F(StreamNegotiationTest, configuringEndsTheStream) {
    write(uvc::commitControl, request(yuyvFormat, 1, 333'333));
    setInterface(streamingInterface, 5);
    EXPECT_EQ(firmware.control({0x00, uvc::setConfiguration, 1, 0, 0}, {}).kind, done);
    EXPECT_EQ(firmware.control({0x80, uvc::getConfiguration, 0, 0, 1}, {}).data, Bytes{1});
    EXPECT_FALSE(firmware.streaming());
    EXPECT_EQ(firmware.control({0x00, uvc::setConfiguration, 2, 0, 0}, {}).kind, stall);
}

TEST_F(StreamNegotiationTest, answersTheStandardRequestsOfEveryDevice) {
    EXPECT_EQ(firmware.control({0x80, uvc::getStatus, 0, 0, 2}, {}).data, (Bytes{0, 0}));
    EXPECT_EQ(firmware.control({0x81, uvc::getStatus, 0, 1, 2}, {}).data, (Bytes{0, 0}));
    EXPECT_EQ(firmware.control({0x02, uvc::setFeature, 0, 0x81, 0}, {}).kind, done);
    EXPECT_EQ(firmware.control({0x82, uvc::getStatus, 0, 0x81, 2}, {}).data, (Bytes{1, 0}));
    EXPECT_EQ(firmware.control({0x02, uvc::clearFeature, 0, 0x81, 0}, {}).kind, done);
    EXPECT_EQ(firmware.control({0x82, uvc::getStatus, 0, 0x81, 2}, {}).data, (Bytes{0, 0}));
    EXPECT_EQ(firmware.control({0x82, uvc::getStatus, 0, 0x83, 2}, {}).kind, stall);
    EXPECT_EQ(firmware.control({0x00, uvc::setAddress, 5, 0, 0}, {}).kind, done);
    EXPECT_EQ(firmware.control({0x80, 0x77, 0, 0, 2}, {}).kind, stall);
    EXPECT_EQ(firmware.control({0x83, uvc::getStatus, 0, 0, 2}, {}).kind, stall);
}

class BulkStreamTest : public StreamNegotiationTest {
protected:
    BulkStreamTest() : StreamNegotiationTest(StreamTransport::bulk) {}
};

TEST_F(BulkStreamTest, streamsFromTheCommitUntilTheEndpointIsCleared) {
    EXPECT_EQ(write(uvc::commitControl, request(yuyvFormat, 1, 333'333)).kind, done);
    EXPECT_TRUE(firmware.streaming());
    EXPECT_EQ(firmware.committedFormat()->maxPayload, 32'768U);
    EXPECT_EQ(firmware.control({0x02, uvc::clearFeature, 0, 0x81, 0}, {}).kind, done);
    EXPECT_FALSE(firmware.streaming());
    EXPECT_EQ(setInterface(streamingInterface, 1).kind, stall);
}

} // namespace
} // namespace tavelo
