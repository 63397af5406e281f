// SPDX-License-Identifier: MIT
#include "usbip_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace tavelo::test {

Bytes& put(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}

Bytes& put16(Bytes& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

std::uint32_t number(std::span<const std::uint8_t> bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, 4))
        value = value << 8 | byte;
    return value;
}

UsbipClient::UsbipClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{10, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("the server does not listen");
}

UsbipClient::~UsbipClient() {
    close();
}

void UsbipClient::close() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
}

void UsbipClient::finishSending() {
    ::shutdown(socket_, SHUT_WR);
}

bool UsbipClient::send(const Bytes& bytes) {
    std::span<const std::uint8_t> left = bytes;
    while (!left.empty()) {
        const ssize_t sent = ::send(socket_, left.data(), left.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        left = left.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

Bytes UsbipClient::receive(std::size_t count) {
    Bytes bytes(count);
    std::size_t filled = 0;
    while (filled < count) {
        const ssize_t got = ::recv(socket_, bytes.data() + filled, count - filled, 0);
        if (got <= 0) break;
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

bool UsbipClient::ends() {
    Bytes skipped(4096);
    while (true) {
        const ssize_t got = ::recv(socket_, skipped.data(), skipped.size(), 0);
        if (got == 0) return true;
        if (got < 0) return errno == ECONNRESET; // with bytes of ours unread, the end comes as a reset
    }
}

Bytes UsbipClient::requestDeviceList() {
    Bytes request;
    put(put16(put16(request, 0x0111), 0x8005), 0);
    send(request);
    Bytes answer;
    for (Bytes piece = receive(1); !piece.empty(); piece = receive(1))
        answer.push_back(piece.front());
    return answer;
}

std::optional<std::uint32_t> UsbipClient::import(const std::string& busId, Bytes* device) {
    Bytes request;
    put(put16(put16(request, 0x0111), 0x8003), 0);
    request.insert(request.end(), busId.begin(), busId.end());
    request.resize(40);
    send(request);
    const Bytes header = receive(8);
    if (header.size() != 8 || number(header, 0) != 0x01110003) return std::nullopt;
    const std::uint32_t status = number(header, 4);
    if (status != 0) return status;
    const Bytes description = receive(312);
    if (description.size() != 312) return std::nullopt;
    if (device != nullptr) *device = description;
    return status;
}

Bytes UsbipClient::submitHeader(std::uint32_t sequence, bool in, std::uint32_t endpoint, std::uint32_t length,
                                std::uint32_t packets, const Bytes& setup) const {
    Bytes bytes;
    for (const std::uint32_t value :
         {std::uint32_t{1}, sequence, std::uint32_t{0x10002}, std::uint32_t{in}, endpoint, std::uint32_t{0},
          length, std::uint32_t{0}, packets, std::uint32_t{1}})
        put(bytes, value);
    bytes.insert(bytes.end(), setup.begin(), setup.end());
    bytes.resize(48);
    return bytes;
}

std::uint32_t UsbipClient::submitControl(const Bytes& setup, const Bytes& out) {
    const bool in = (setup.at(0) & 0x80U) != 0;
    const std::uint32_t length = in ? setup.at(6) | static_cast<std::uint32_t>(setup.at(7)) << 8
                                    : static_cast<std::uint32_t>(out.size());
    const std::uint32_t sequence = nextSequence_++;
    isIn_[sequence] = in;
    Bytes bytes = submitHeader(sequence, in, 0, length, 0, setup);
    bytes.insert(bytes.end(), out.begin(), out.end());
    send(bytes);
    return sequence;
}

std::uint32_t UsbipClient::submitIn(std::uint8_t endpoint, std::uint32_t length) {
    const std::uint32_t sequence = nextSequence_++;
    isIn_[sequence] = true;
    send(submitHeader(sequence, true, endpoint, length, 0xFFFFFFFF, {}));
    return sequence;
}

std::uint32_t UsbipClient::submitIso(std::uint8_t endpoint, const std::vector<std::uint32_t>& packetLengths) {
    const std::uint32_t sequence = nextSequence_++;
    isIn_[sequence] = true;
    std::uint32_t total = 0;
    Bytes packets;
    for (const std::uint32_t length : packetLengths) {
        for (const std::uint32_t value : {total, length, std::uint32_t{0}, std::uint32_t{0}})
            put(packets, value);
        total += length;
    }
    Bytes bytes =
        submitHeader(sequence, true, endpoint, total, static_cast<std::uint32_t>(packetLengths.size()), {});
    bytes.insert(bytes.end(), packets.begin(), packets.end());
    send(bytes);
    return sequence;
}

std::uint32_t UsbipClient::unlink(std::uint32_t target) {
    const std::uint32_t sequence = nextSequence_++;
    Bytes bytes;
    for (const std::uint32_t value :
         {std::uint32_t{2}, sequence, std::uint32_t{0x10002}, std::uint32_t{0}, std::uint32_t{0}, target})
        put(bytes, value);
    bytes.resize(48);
    send(bytes);
    return sequence;
}

std::optional<UrbReply> UsbipClient::reply() {
    const Bytes header = receive(48);
    if (header.size() != 48) return std::nullopt;
    UrbReply reply;
    reply.command = number(header, 0);
    reply.sequence = number(header, 4);
    reply.status = static_cast<std::int32_t>(number(header, 20));
    if (reply.command != 3) return reply;
    reply.actualLength = number(header, 24);
    reply.startFrame = number(header, 28);
    const std::uint32_t packets = number(header, 32);
    if (isIn_[reply.sequence]) reply.data = receive(reply.actualLength);
    const Bytes descriptors = receive(std::size_t{16} * packets);
    for (std::size_t at = 0; at + 16 <= descriptors.size(); at += 16)
        reply.packets.push_back({number(descriptors, at), number(descriptors, at + 4),
                                 number(descriptors, at + 8),
                                 static_cast<std::int32_t>(number(descriptors, at + 12))});
    return reply;
}

std::optional<UrbReply> UsbipClient::control(const Bytes& setup, const Bytes& out) {
    const std::uint32_t sequence = submitControl(setup, out);
    std::optional<UrbReply> answer = reply();
    if (answer && answer->sequence != sequence) throw std::runtime_error("an answer to something else");
    return answer;
}

} // namespace tavelo::test
