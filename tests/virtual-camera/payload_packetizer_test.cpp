// SPDX-License-Identifier: MIT
#include "virtual-camera/payload_packetizer.h"

#include <gmock/gmock.h>

#include <numeric>
#include <vector>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t header = 6;
constexpr std::uint8_t frameIdentifier = 1;
constexpr std::uint8_t endOfFrame = 2;

Bytes numberedFrame(std::size_t size) {
    Bytes frame(size);
    std::iota(frame.begin(), frame.end(), std::uint8_t{0});
    return frame;
}

// The next packet, of at most `room` bytes.
Bytes next(PayloadPacketizer& packetizer, std::size_t room) {
    Bytes packet(room);
    packet.resize(packetizer.packet(packet));
    return packet;
}

// The rest of the frame as packets.
std::vector<Bytes> all(PayloadPacketizer& packetizer, std::size_t room) {
    std::vector<Bytes> packets;
    while (!packetizer.finished())
        packets.push_back(next(packetizer, room));
    return packets;
}

// Joins the payloads like a host on an isochronous endpoint, where each packet has a header.
Bytes joined(const std::vector<Bytes>& payloads) {
    Bytes frame;
    for (const Bytes& payload : payloads)
        frame.insert(frame.end(), payload.begin() + payload.at(0), payload.end());
    return frame;
}

TEST(PayloadPacketizer, HasNothingToSendBeforeTheFirstFrame) {
    EXPECT_TRUE(PayloadPacketizer(StreamTransport::isochronous, 100).finished());
    EXPECT_TRUE(PayloadPacketizer(StreamTransport::bulk, 100).finished());
}

TEST(PayloadPacketizer, IsochronousPacketsCarryTheWholeFrame) {
    const Bytes frame = numberedFrame(1000);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 192);
    packetizer.begin(frame, 0);
    const auto packets = all(packetizer, 192);
    EXPECT_EQ(packets.size(), (1000 + 185) / 186U);
    EXPECT_EQ(joined(packets), frame);
}

TEST(PayloadPacketizer, NoPacketIsLongerThanNegotiated) {
    const Bytes frame = numberedFrame(1000);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 100);
    packetizer.begin(frame, 0);
    for (const Bytes& packet : all(packetizer, 192))
        EXPECT_LE(packet.size(), 100U);
}

TEST(PayloadPacketizer, OnlyTheLastPayloadHasTheEndOfFrameBit) {
    const Bytes frame = numberedFrame(500);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 192);
    packetizer.begin(frame, 0);
    const auto packets = all(packetizer, 192);
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_EQ(packets[0][1] & endOfFrame, 0);
    EXPECT_EQ(packets[1][1] & endOfFrame, 0);
    EXPECT_EQ(packets[2][1] & endOfFrame, endOfFrame);
}

TEST(PayloadPacketizer, TheFrameIdentifierTogglesFromFrameToFrame) {
    const Bytes frame = numberedFrame(500);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 192);
    std::vector<int> identifiers;
    for (int i = 0; i < 4; ++i) {
        packetizer.begin(frame, 0);
        const auto packets = all(packetizer, 192);
        for (const Bytes& packet : packets)
            EXPECT_EQ(packet[1] & frameIdentifier, packets[0][1] & frameIdentifier);
        identifiers.push_back(packets[0][1] & frameIdentifier);
    }
    EXPECT_NE(identifiers[0], identifiers[1]);
    EXPECT_EQ(identifiers[0], identifiers[2]);
    EXPECT_EQ(identifiers[1], identifiers[3]);
}

TEST(PayloadPacketizer, EveryPayloadCarriesTheTimeOfItsFrame) {
    const Bytes frame = numberedFrame(500);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 192);
    packetizer.begin(frame, 0x04030201);
    for (const Bytes& packet : all(packetizer, 192)) {
        EXPECT_EQ(packet[0], header);
        EXPECT_EQ(packet[1] & 0x84, 0x84); // the end-of-header and presentation-time bits
        EXPECT_THAT(Bytes(packet.begin() + 2, packet.begin() + 6), testing::ElementsAre(1, 2, 3, 4));
    }
}

TEST(PayloadPacketizer, APacketWithoutRoomForDataIsEmptyAndLosesNothing) {
    const Bytes frame = numberedFrame(50);
    PayloadPacketizer packetizer(StreamTransport::isochronous, 192);
    packetizer.begin(frame, 0);
    EXPECT_TRUE(next(packetizer, header).empty());
    EXPECT_TRUE(next(packetizer, 0).empty());
    EXPECT_EQ(joined(all(packetizer, 192)), frame);
}

TEST(PayloadPacketizer, ABulkPayloadFillsSeveralPacketsBehindOneHeader) {
    const Bytes frame = numberedFrame(1000);
    PayloadPacketizer packetizer(StreamTransport::bulk, 4096);
    packetizer.begin(frame, 0);
    const auto packets = all(packetizer, 512);
    ASSERT_EQ(packets.size(), 2U);
    EXPECT_EQ(packets[0].size(), 512U);
    EXPECT_EQ(packets[1].size(), 1000U + header - 512U); // a short packet ends the payload
    Bytes payload = packets[0];
    payload.insert(payload.end(), packets[1].begin(), packets[1].end());
    EXPECT_EQ(joined({payload}), frame);
}

TEST(PayloadPacketizer, ABulkPayloadThatEndsWithAFullPacketIsClosedByAnEmptyOne) {
    const Bytes frame = numberedFrame(1024 - header);
    PayloadPacketizer packetizer(StreamTransport::bulk, 4096);
    packetizer.begin(frame, 0);
    const auto packets = all(packetizer, 512);
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_EQ(packets[1].size(), 512U);
    EXPECT_TRUE(packets[2].empty());
}

TEST(PayloadPacketizer, ABulkPayloadOfTheFullSizeNeedsNoEmptyPacket) {
    const Bytes frame = numberedFrame(2 * (1024 - header));
    PayloadPacketizer packetizer(StreamTransport::bulk, 1024);
    packetizer.begin(frame, 0);
    const auto packets = all(packetizer, 512);
    ASSERT_EQ(packets.size(), 4U);
    for (const Bytes& packet : packets)
        EXPECT_EQ(packet.size(), 512U);
    EXPECT_EQ(packets[0][0], header);
    EXPECT_EQ(packets[2][0], header);
    EXPECT_EQ(packets[0][1] & endOfFrame, 0);
    EXPECT_EQ(packets[2][1] & endOfFrame, endOfFrame);
}

TEST(PayloadPacketizer, ABulkHeaderMayBeSpreadOverTinyPackets) {
    const Bytes frame = numberedFrame(10);
    PayloadPacketizer packetizer(StreamTransport::bulk, 4096);
    packetizer.begin(frame, 0);
    Bytes payload;
    for (const Bytes& packet : all(packetizer, 4))
        payload.insert(payload.end(), packet.begin(), packet.end());
    EXPECT_EQ(joined({payload}), frame);
}

TEST(PayloadPacketizer, ANewFrameReplacesTheUnsentRestOfTheOldOne) {
    const Bytes first(500, 1);
    const Bytes second(100, 2);
    for (const StreamTransport transport : {StreamTransport::isochronous, StreamTransport::bulk}) {
        PayloadPacketizer packetizer(transport, 4096);
        packetizer.begin(first, 0);
        next(packetizer, 64);
        packetizer.begin(second, 0);
        const auto packets = all(packetizer, 512);
        EXPECT_EQ(joined(packets), second);
    }
}

} // namespace
} // namespace tavelo
