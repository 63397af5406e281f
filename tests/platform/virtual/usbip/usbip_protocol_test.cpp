// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/usbip_protocol.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace tavelo::usbip {
namespace {

using testing::ElementsAre;

UrbHeader submitBytes() {
    UrbHeader bytes{};
    bytes[3] = 1;     // submit
    bytes[7] = 42;    // sequence
    bytes[15] = 1;    // in
    bytes[19] = 2;    // endpoint
    bytes[26] = 0x40; // 16384 bytes
    bytes[40] = 0x80;
    bytes[47] = 0x12;
    return bytes;
}

TEST(UsbipProtocol, ReadsAnOperationHeaderInNetworkByteOrder) {
    const std::array<std::uint8_t, operationHeaderSize> bytes{0x01, 0x11, 0x80, 0x05, 0, 0, 0, 7};
    const OperationHeader header = decodeOperation(bytes);
    EXPECT_EQ(header.version, protocolVersion);
    EXPECT_EQ(header.code, requestDeviceList);
    EXPECT_EQ(header.status, 7U);
}

TEST(UsbipProtocol, TakesABusIdThatFillsItsWholeField) {
    std::array<std::uint8_t, busIdSize> bytes{};
    bytes.fill('7');
    EXPECT_EQ(decodeBusId(bytes), std::string(busIdSize, '7'));
    bytes[3] = 0;
    EXPECT_EQ(decodeBusId(bytes), "777");
}

TEST(UsbipProtocol, ReadsASubmitCommand) {
    const auto command = decodeCommand(submitBytes());
    ASSERT_TRUE(command && std::holds_alternative<SubmitCommand>(*command));
    const auto& submit = std::get<SubmitCommand>(*command);
    EXPECT_EQ(submit.sequence, 42U);
    EXPECT_TRUE(submit.in);
    EXPECT_EQ(submit.endpoint, 2);
    EXPECT_EQ(submit.bufferLength, 16384U);
    EXPECT_EQ(submit.packetCount, 0U);
    EXPECT_THAT(submit.setup, ElementsAre(0x80, 0, 0, 0, 0, 0, 0, 0x12));
}

TEST(UsbipProtocol, TakesAllOnesForNoPackets) {
    UrbHeader bytes = submitBytes();
    std::fill_n(bytes.begin() + 32, 4, std::uint8_t{0xFF});
    EXPECT_EQ(std::get<SubmitCommand>(*decodeCommand(bytes)).packetCount, 0U);
}

TEST(UsbipProtocol, RefusesAnUnknownCommand) {
    UrbHeader bytes = submitBytes();
    bytes[3] = 3;
    EXPECT_FALSE(decodeCommand(bytes));
}

TEST(UsbipProtocol, RefusesADirectionThatDoesNotExist) {
    UrbHeader bytes = submitBytes();
    bytes[15] = 2;
    EXPECT_FALSE(decodeCommand(bytes));
}

TEST(UsbipProtocol, RefusesAnEndpointNumberAbove15) {
    UrbHeader bytes = submitBytes();
    bytes[19] = 16;
    EXPECT_FALSE(decodeCommand(bytes));
}

TEST(UsbipProtocol, RefusesATransferBeyondTheBound) {
    UrbHeader bytes = submitBytes();
    bytes[25] = maxTransferLength >> 16U;
    bytes[26] = 0;
    EXPECT_TRUE(decodeCommand(bytes));
    bytes[27] = 1;
    EXPECT_FALSE(decodeCommand(bytes));
}

TEST(UsbipProtocol, RefusesMorePacketsThanTheBound) {
    UrbHeader bytes = submitBytes();
    bytes[34] = maxIsoPackets >> 8U;
    EXPECT_TRUE(decodeCommand(bytes));
    bytes[35] = 1;
    EXPECT_FALSE(decodeCommand(bytes));
}

TEST(UsbipProtocol, ReadsAnUnlinkCommand) {
    UrbHeader bytes{};
    bytes[3] = 2;
    bytes[7] = 9;
    bytes[23] = 8;
    const auto command = decodeCommand(bytes);
    ASSERT_TRUE(command && std::holds_alternative<UnlinkCommand>(*command));
    EXPECT_EQ(std::get<UnlinkCommand>(*command).sequence, 9U);
    EXPECT_EQ(std::get<UnlinkCommand>(*command).target, 8U);
}

TEST(UsbipProtocol, WritesASubmitReplyFieldByField) {
    const UrbHeader bytes = encodeSubmitReply({.sequence = 0x01020304,
                                               .status = UrbStatus::stalled,
                                               .actualLength = 0x10,
                                               .startFrame = 0x20,
                                               .packetCount = 0x30,
                                               .errorCount = 0x40});
    EXPECT_THAT(
        std::vector(bytes.begin(), bytes.end()),
        ElementsAre(0, 0, 0, 3, 1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xE0, 0, 0,
                    0, 0x10, 0, 0, 0, 0x20, 0, 0, 0, 0x30, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(UsbipProtocol, WritesAnUnlinkReplyWithTheStatusOfATransferTakenBack) {
    const UrbHeader bytes = encodeUnlinkReply(5, UrbStatus::unlinked);
    EXPECT_EQ(bytes[3], 4);
    EXPECT_EQ(bytes[7], 5);
    EXPECT_THAT(std::vector(bytes.begin() + 20, bytes.begin() + 24), ElementsAre(0xFF, 0xFF, 0xFF, 0x98));
}

TEST(UsbipProtocol, CutsTextsThatAreLongerThanTheirField) {
    ExportedDevice device;
    device.path = std::string(1000, 'p');
    device.busId = std::string(100, 'b');
    const auto bytes = encodeImportReply(OperationStatus::ok, &device);
    ASSERT_EQ(bytes.size(), 8U + 312U);
    EXPECT_EQ(bytes[8 + 254], 'p');
    EXPECT_EQ(bytes[8 + 255], 0);
    EXPECT_EQ(bytes[8 + 256 + 30], 'b');
    EXPECT_EQ(bytes[8 + 256 + 31], 0);
}

TEST(UsbipProtocol, APacketDescriptorKeepsItsPlaceOnTheWayThroughTheServer) {
    const std::array<std::uint8_t, isoPacketSize> asked{0, 0, 1, 0, 0, 0, 2, 0, 9, 9, 9, 9, 9, 9, 9, 9};
    IsoPacket packet = decodeIsoPacket(asked);
    EXPECT_EQ(packet.actualLength, 0U) << "nothing has come for it yet";
    EXPECT_EQ(packet.status, UrbStatus::ok);
    packet.actualLength = 3;
    std::array<std::uint8_t, isoPacketSize> answered{};
    encodeIsoPacket(packet, answered);
    EXPECT_THAT(answered, ElementsAre(0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0, 0, 0, 0));
}

} // namespace
} // namespace tavelo::usbip
