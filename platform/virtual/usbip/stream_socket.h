// SPDX-License-Identifier: MIT
// A connected stream socket that closes itself, and functions that open one.
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "platform/common/file_descriptor.h"
#include "platform/error.h"

namespace tavelo {

/// One thread may read while another writes; shutdown() may come from a third.
class StreamSocket {
public:
    explicit StreamSocket(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

    /// Blocks until all bytes are there; false when the connection ended or the time limit passed.
    bool read(std::span<std::uint8_t> bytes);
    /// Blocks until all parts are sent, in order; false when the connection ended or the time limit passed.
    bool write(std::initializer_list<std::span<const std::uint8_t>> parts);

    /// Time limit for a single step of read or write; zero means no limit.
    void limitReads(std::chrono::milliseconds limit);
    void limitWrites(std::chrono::milliseconds limit);

    /// Ends the connection: a blocked read or write returns false.  The descriptor stays valid.
    void shutdown();

private:
    FileDescriptor descriptor_;
};

/// Two ends of a pipe, to wake a poll().
struct WakePipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    static WakePipe make();
    void wake() const;
};

/// Opens a TCP socket that listens on 127.0.0.1 only.
/// @param port 0 lets the system choose
/// @return no descriptor, with `error` set, on failure
FileDescriptor listenOnLoopback(std::uint16_t port, Error& error);
/// The port of a listening socket.
std::uint16_t localPort(const FileDescriptor& listener);
/// A pending connection, or none.
FileDescriptor acceptConnection(const FileDescriptor& listener);

} // namespace tavelo
