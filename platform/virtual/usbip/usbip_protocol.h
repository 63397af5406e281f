// SPDX-License-Identifier: MIT
// The messages of USB/IP 1.1.1 and their encoding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace tavelo::usbip {

inline constexpr std::uint16_t protocolVersion = 0x0111;

/// Numbers of the two operations that open a connection; a reply has the low byte only.
inline constexpr std::uint16_t requestImport = 0x8003;
inline constexpr std::uint16_t replyImport = 0x0003;
inline constexpr std::uint16_t requestDeviceList = 0x8005;
inline constexpr std::uint16_t replyDeviceList = 0x0005;

enum class OperationStatus : std::uint32_t { ok = 0, busy = 2, noDevice = 4, error = 5 };

/// Results of a transfer.  The wire carries Linux error numbers on every system.
enum class UrbStatus : std::int32_t {
    ok = 0,
    invalid = -22,   ///< the request is invalid
    stalled = -32,   ///< the device refused
    unlinked = -104, ///< unlinked before it was done
};

inline constexpr std::size_t operationHeaderSize = 8;
inline constexpr std::size_t busIdSize = 32;
inline constexpr std::size_t urbHeaderSize = 48;
inline constexpr std::size_t isoPacketSize = 16;

/// Limits on client requests, so that a client cannot make the server use unbounded memory.
inline constexpr std::uint32_t maxTransferLength = 4U << 20U;
inline constexpr std::uint32_t maxIsoPackets = 1024;

using UrbHeader = std::array<std::uint8_t, urbHeaderSize>;

struct OperationHeader {
    std::uint16_t version = protocolVersion;
    std::uint16_t code = 0;
    std::uint32_t status = 0;
};
OperationHeader decodeOperation(std::span<const std::uint8_t, operationHeaderSize> bytes);

/// The text of a zero-padded field.
std::string decodeBusId(std::span<const std::uint8_t, busIdSize> bytes);

struct InterfaceClass {
    std::uint8_t interfaceClass = 0;
    std::uint8_t subClass = 0;
    std::uint8_t protocol = 0;
};

/// A device in the list of exported devices.
/// As the kernel numbers them.
enum class DeviceSpeed : std::uint32_t { full = 2, high = 3, super = 5 };

struct ExportedDevice {
    std::string path;
    std::string busId;
    std::uint32_t busNumber = 0;
    std::uint32_t deviceNumber = 0;
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::uint16_t release = 0; ///< bcdDevice
    DeviceSpeed speed = DeviceSpeed::high;
    InterfaceClass deviceClass;
    std::uint8_t configurationValue = 0;
    std::uint8_t configurationCount = 0;
    std::vector<InterfaceClass> interfaces;
};

std::vector<std::uint8_t> encodeDeviceList(std::span<const ExportedDevice> devices);
/// @param device null unless the status is ok
std::vector<std::uint8_t> encodeImportReply(OperationStatus status, const ExportedDevice* device);

/// A transfer requested by the client.  An OUT transfer's data and the packet descriptors follow it.
struct SubmitCommand {
    std::uint32_t sequence = 0;
    std::uint8_t endpoint = 0; ///< number without direction, 0 to 15
    bool in = false;
    std::uint32_t bufferLength = 0;
    std::uint32_t packetCount = 0; ///< for an isochronous transfer, else 0
    std::array<std::uint8_t, 8> setup{};
};

struct UnlinkCommand {
    std::uint32_t sequence = 0;
    std::uint32_t target = 0; ///< sequence number of the transfer to unlink
};

using Command = std::variant<SubmitCommand, UnlinkCommand>;

/// Nothing if the bytes are not a command or exceed the limits above: what follows cannot be parsed then.
std::optional<Command> decodeCommand(std::span<const std::uint8_t, urbHeaderSize> bytes);

/// One packet of an isochronous transfer.
struct IsoPacket {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t actualLength = 0;
    UrbStatus status = UrbStatus::ok;
};
IsoPacket decodeIsoPacket(std::span<const std::uint8_t, isoPacketSize> bytes);
void encodeIsoPacket(const IsoPacket& packet, std::span<std::uint8_t, isoPacketSize> bytes);

/// The header of an answer; data of an IN transfer and packet descriptors follow it.
struct SubmitReply {
    std::uint32_t sequence = 0;
    UrbStatus status = UrbStatus::ok;
    std::uint32_t actualLength = 0;
    std::uint32_t startFrame = 0;  ///< isochronous only
    std::uint32_t packetCount = 0; ///< isochronous only
    std::uint32_t errorCount = 0;  ///< isochronous only: packets that failed
};
UrbHeader encodeSubmitReply(const SubmitReply& reply);
UrbHeader encodeUnlinkReply(std::uint32_t sequence, UrbStatus status);

} // namespace tavelo::usbip
