// SPDX-License-Identifier: MIT
// A USB/IP client for tests.  Shares no code with the server, so that errors do not cancel out.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavelo::test {

using Bytes = std::vector<std::uint8_t>;

/// Appends big-endian numbers.
Bytes& put(Bytes& bytes, std::uint32_t value);
Bytes& put16(Bytes& bytes, std::uint16_t value);
std::uint32_t number(std::span<const std::uint8_t> bytes, std::size_t at);

struct PacketReply {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t actualLength = 0;
    std::int32_t status = 0;
};

struct UrbReply {
    std::uint32_t command = 0; ///< 3 submit, 4 unlink
    std::uint32_t sequence = 0;
    std::int32_t status = 0;
    std::uint32_t actualLength = 0;
    std::uint32_t startFrame = 0;
    Bytes data;
    std::vector<PacketReply> packets;
};

/// Not thread-safe.  Calls time out after ten seconds.
class UsbipClient {
public:
    explicit UsbipClient(std::uint16_t port);
    ~UsbipClient();

    UsbipClient(const UsbipClient&) = delete;
    UsbipClient& operator=(const UsbipClient&) = delete;

    /// False if the server has closed the connection.
    bool send(const Bytes& bytes);
    /// Returns fewer bytes if the connection ended.
    Bytes receive(std::size_t count);
    /// Waits for the server to close the connection, and skips remaining bytes.
    bool ends();
    /// Shuts down the sending side.
    void finishSending();
    void close();

    Bytes requestDeviceList();
    /// The status; if it is 0, `device` gets the device's description.
    std::optional<std::uint32_t> import(const std::string& busId, Bytes* device = nullptr);

    /// Each returns the sequence number.
    std::uint32_t submitControl(const Bytes& setup, const Bytes& out = {});
    std::uint32_t submitIn(std::uint8_t endpoint, std::uint32_t length);
    std::uint32_t submitIso(std::uint8_t endpoint, const std::vector<std::uint32_t>& packetLengths);
    std::uint32_t unlink(std::uint32_t target);
    /// For a transfer that is sent later than its number says.
    std::uint32_t takeNumber() { return nextSequence_++; }
    void numberFrom(std::uint32_t next) { nextSequence_ = next; }

    /// The next answer; empty if the connection ended.
    std::optional<UrbReply> reply();
    /// A complete control transfer.
    std::optional<UrbReply> control(const Bytes& setup, const Bytes& out = {});

    /// The bytes of a submit command, for tests that modify them.
    Bytes submitHeader(std::uint32_t sequence, bool in, std::uint32_t endpoint, std::uint32_t length,
                       std::uint32_t packets, const Bytes& setup) const;

private:
    int socket_ = -1;
    std::uint32_t nextSequence_ = 1;
    std::map<std::uint32_t, bool> isIn_; // by sequence number
};

} // namespace tavelo::test
