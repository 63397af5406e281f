// SPDX-License-Identifier: MIT
// A USB/IP client for tests, written from the protocol's description alone: it shares no code with the
// server.
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

/// Thread-bound.  No call waits longer than ten seconds.
class UsbipClient {
public:
    explicit UsbipClient(std::uint16_t port);
    ~UsbipClient();

    UsbipClient(const UsbipClient&) = delete;
    UsbipClient& operator=(const UsbipClient&) = delete;

    /// False where the server has closed the connection.
    bool send(const Bytes& bytes);
    /// Fewer bytes where the connection ended.
    Bytes receive(std::size_t count);
    /// Whether the server ends the connection; bytes still to come are skipped.
    bool ends();
    /// Tells the server that nothing more will come.
    void finishSending();
    void close();

    Bytes requestDeviceList();
    /// The status; the description follows in `device` where it is 0.
    std::optional<std::uint32_t> import(const std::string& busId, Bytes* device = nullptr);

    /// Each returns the sequence number.
    std::uint32_t submitControl(const Bytes& setup, const Bytes& out = {});
    std::uint32_t submitIn(std::uint8_t endpoint, std::uint32_t length);
    std::uint32_t submitIso(std::uint8_t endpoint, const std::vector<std::uint32_t>& packetLengths);
    std::uint32_t unlink(std::uint32_t target);

    /// The next answer; nothing where the connection ended.
    std::optional<UrbReply> reply();
    /// A control transfer from end to end.
    std::optional<UrbReply> control(const Bytes& setup, const Bytes& out = {});

    /// The bytes of a submit command, for tests that bend them.
    Bytes submitHeader(std::uint32_t sequence, bool in, std::uint32_t endpoint, std::uint32_t length,
                       std::uint32_t packets, const Bytes& setup) const;

private:
    int socket_ = -1;
    std::uint32_t nextSequence_ = 1;
    std::map<std::uint32_t, bool> isIn_; // by sequence number
};

} // namespace tavelo::test
