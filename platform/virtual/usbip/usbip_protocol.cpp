// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/usbip_protocol.h"

#include <algorithm>
#include <string_view>

namespace tavelo::usbip {
namespace {

constexpr std::size_t pathSize = 256;
constexpr std::uint32_t noPackets =
    0xFFFFFFFF; // what some clients write for "not isochronous", others write 0

constexpr std::uint32_t commandSubmit = 1;
constexpr std::uint32_t commandUnlink = 2;
constexpr std::uint32_t replySubmit = 3;
constexpr std::uint32_t replyUnlink = 4;
constexpr std::uint32_t directionOut = 0;
constexpr std::uint32_t directionIn = 1;

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8U | bytes[at + i];
    return value;
}

void putBigEndian(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<std::uint8_t>(value >> 8U * (3 - i));
}

// Appends fields to a message.
class Writer {
public:
    void byte(std::uint8_t value) { bytes_.push_back(value); }
    void word(std::uint16_t value) {
        byte(static_cast<std::uint8_t>(value >> 8U));
        byte(static_cast<std::uint8_t>(value));
    }
    void dword(std::uint32_t value) {
        word(static_cast<std::uint16_t>(value >> 16U));
        word(static_cast<std::uint16_t>(value));
    }
    // The last byte is always zero, so that readers of C strings are safe.
    void text(std::string_view text, std::size_t size) {
        const std::string_view kept = text.substr(0, size - 1);
        bytes_.insert(bytes_.end(), kept.begin(), kept.end());
        bytes_.insert(bytes_.end(), size - kept.size(), 0);
    }
    void operation(std::uint16_t code, OperationStatus status) {
        word(protocolVersion);
        word(code);
        dword(static_cast<std::uint32_t>(status));
    }
    void device(const ExportedDevice& device) {
        text(device.path, pathSize);
        text(device.busId, busIdSize);
        dword(device.busNumber);
        dword(device.deviceNumber);
        dword(static_cast<std::uint32_t>(device.speed));
        word(device.vendorID);
        word(device.productID);
        word(device.release);
        byte(device.deviceClass.interfaceClass);
        byte(device.deviceClass.subClass);
        byte(device.deviceClass.protocol);
        byte(device.configurationValue);
        byte(device.configurationCount);
        byte(static_cast<std::uint8_t>(device.interfaces.size()));
    }
    std::vector<std::uint8_t> take() { return std::move(bytes_); }

private:
    std::vector<std::uint8_t> bytes_;
};

std::optional<Command> decodeSubmit(std::span<const std::uint8_t, urbHeaderSize> bytes) {
    SubmitCommand command;
    command.sequence = bigEndian(bytes, 4, 4);
    const std::uint32_t direction = bigEndian(bytes, 12, 4);
    const std::uint32_t endpoint = bigEndian(bytes, 16, 4);
    command.bufferLength = bigEndian(bytes, 24, 4);
    const std::uint32_t packets = bigEndian(bytes, 32, 4);
    command.packetCount = packets == noPackets ? 0 : packets;
    if (direction != directionOut && direction != directionIn) return std::nullopt;
    if (endpoint > 15) return std::nullopt;
    if (command.bufferLength > maxTransferLength || command.packetCount > maxIsoPackets) return std::nullopt;
    command.in = direction == directionIn;
    command.endpoint = static_cast<std::uint8_t>(endpoint);
    std::copy_n(bytes.begin() + 40, command.setup.size(), command.setup.begin());
    return command;
}

} // namespace

OperationHeader decodeOperation(std::span<const std::uint8_t, operationHeaderSize> bytes) {
    return {static_cast<std::uint16_t>(bigEndian(bytes, 0, 2)),
            static_cast<std::uint16_t>(bigEndian(bytes, 2, 2)), bigEndian(bytes, 4, 4)};
}

std::string decodeBusId(std::span<const std::uint8_t, busIdSize> bytes) {
    return {bytes.begin(), std::ranges::find(bytes, std::uint8_t{0})};
}

std::vector<std::uint8_t> encodeDeviceList(std::span<const ExportedDevice> devices) {
    Writer writer;
    writer.operation(replyDeviceList, OperationStatus::ok);
    writer.dword(static_cast<std::uint32_t>(devices.size()));
    for (const ExportedDevice& device : devices) {
        writer.device(device);
        for (const InterfaceClass& interface : device.interfaces) {
            writer.byte(interface.interfaceClass);
            writer.byte(interface.subClass);
            writer.byte(interface.protocol);
            writer.byte(0);
        }
    }
    return writer.take();
}

std::vector<std::uint8_t> encodeImportReply(OperationStatus status, const ExportedDevice* device) {
    Writer writer;
    writer.operation(replyImport, status);
    if (device != nullptr) writer.device(*device);
    return writer.take();
}

std::optional<Command> decodeCommand(std::span<const std::uint8_t, urbHeaderSize> bytes) {
    switch (bigEndian(bytes, 0, 4)) {
        case commandSubmit:
            return decodeSubmit(bytes);
        case commandUnlink:
            return UnlinkCommand{bigEndian(bytes, 4, 4), bigEndian(bytes, 20, 4)};
        default:
            return std::nullopt;
    }
}

IsoPacket decodeIsoPacket(std::span<const std::uint8_t, isoPacketSize> bytes) {
    return {bigEndian(bytes, 0, 4), bigEndian(bytes, 4, 4), 0, UrbStatus::ok};
}

void encodeIsoPacket(const IsoPacket& packet, std::span<std::uint8_t, isoPacketSize> bytes) {
    putBigEndian(bytes, 0, packet.offset);
    putBigEndian(bytes, 4, packet.length);
    putBigEndian(bytes, 8, packet.actualLength);
    putBigEndian(bytes, 12, static_cast<std::uint32_t>(packet.status));
}

UrbHeader encodeSubmitReply(const SubmitReply& reply) {
    UrbHeader bytes{};
    putBigEndian(bytes, 0, replySubmit);
    putBigEndian(bytes, 4, reply.sequence);
    putBigEndian(bytes, 20, static_cast<std::uint32_t>(reply.status));
    putBigEndian(bytes, 24, reply.actualLength);
    putBigEndian(bytes, 28, reply.startFrame);
    putBigEndian(bytes, 32, reply.packetCount);
    putBigEndian(bytes, 36, reply.errorCount);
    return bytes;
}

UrbHeader encodeUnlinkReply(std::uint32_t sequence, UrbStatus status) {
    UrbHeader bytes{};
    putBigEndian(bytes, 0, replyUnlink);
    putBigEndian(bytes, 4, sequence);
    putBigEndian(bytes, 20, static_cast<std::uint32_t>(status));
    return bytes;
}

} // namespace tavelo::usbip
