// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/stream_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <system_error>

namespace tavelo {
namespace {

constexpr int waitingConnections = 16;
constexpr std::size_t maxParts = 4;

std::string reasonOf(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

void setLimit(int descriptor, int option, std::chrono::milliseconds limit) {
    timeval time{};
    time.tv_sec = static_cast<time_t>(limit.count() / 1000);
    time.tv_usec = static_cast<suseconds_t>(limit.count() % 1000 * 1000);
    ::setsockopt(descriptor, SOL_SOCKET, option, &time, sizeof time);
}

void closeOnExec(int descriptor) {
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

} // namespace

bool StreamSocket::read(std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::recv(descriptor_.get(), bytes.data(), bytes.size(), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool StreamSocket::write(std::initializer_list<std::span<const std::uint8_t>> parts) {
    assert(parts.size() <= maxParts);
    std::array<iovec, maxParts> pieces{};
    std::size_t count = 0;
    for (const std::span<const std::uint8_t> part : parts) {
        if (part.empty()) continue;
        // sendmsg() only reads; iovec is not const because reading calls use it too.
        pieces[count++] = {const_cast<std::uint8_t*>(part.data()), part.size()};
    }
    std::span<iovec> left = std::span(pieces).first(count);
    while (!left.empty()) {
        msghdr message{};
        message.msg_iov = left.data();
        message.msg_iovlen = left.size();
        const ssize_t result = ::sendmsg(descriptor_.get(), &message, MSG_NOSIGNAL);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) return false;
        auto sent = static_cast<std::size_t>(result);
        while (!left.empty() && sent >= left.front().iov_len) {
            sent -= left.front().iov_len;
            left = left.subspan(1);
        }
        if (left.empty()) break;
        left.front().iov_base = static_cast<std::uint8_t*>(left.front().iov_base) + sent;
        left.front().iov_len -= sent;
    }
    return true;
}

void StreamSocket::limitReads(std::chrono::milliseconds limit) {
    setLimit(descriptor_.get(), SO_RCVTIMEO, limit);
}

void StreamSocket::limitWrites(std::chrono::milliseconds limit) {
    setLimit(descriptor_.get(), SO_SNDTIMEO, limit);
}

void StreamSocket::shutdown() {
    ::shutdown(descriptor_.get(), SHUT_RDWR);
}

WakePipe WakePipe::make() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe(ends.data()) != 0) return {};
    for (const int end : ends) {
        closeOnExec(end);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void WakePipe::wake() const {
    const std::uint8_t byte = 0;
    // A full pipe wakes as well, so the result does not matter.
    [[maybe_unused]] const ssize_t written = ::write(writeEnd.get(), &byte, 1);
}

FileDescriptor listenOnLoopback(std::uint16_t port, Error& error) {
    FileDescriptor listener(::socket(AF_INET, SOCK_STREAM, 0));
    const auto fail = [&](int errorNumber) {
        const ErrorCode code = errorNumber == EADDRINUSE ? ErrorCode::busy
                               : errorNumber == EACCES   ? ErrorCode::denied
                                                         : ErrorCode::invalid;
        error = {code, "cannot listen on port " + std::to_string(port) + ": " + reasonOf(errorNumber)};
        return FileDescriptor();
    };
    if (!listener.isOpen()) return fail(errno);
    closeOnExec(listener.get());
    // accept() must not block if the connection is gone again after poll() reported it.
    ::fcntl(listener.get(), F_SETFL, O_NONBLOCK);
    const int yes = 1;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return fail(errno);
    if (::listen(listener.get(), waitingConnections) != 0) return fail(errno);
    return listener;
}

std::uint16_t localPort(const FileDescriptor& listener) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
    return ntohs(address.sin_port);
}

FileDescriptor acceptConnection(const FileDescriptor& listener) {
    FileDescriptor connection(::accept(listener.get(), nullptr, nullptr));
    if (!connection.isOpen()) return connection;
    closeOnExec(connection.get());
    ::fcntl(connection.get(), F_SETFL, 0); // on some systems it inherits O_NONBLOCK from the listener
    const int yes = 1;
    ::setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    return connection;
}

} // namespace tavelo
