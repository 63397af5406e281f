// SPDX-License-Identifier: MIT
// Whole messages over a socket, with a file if need be.
#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

/// Connected or listening at a path; closed, with errno set, if that fails.
FileDescriptor connectLink(const std::string& path);
FileDescriptor listenForLinks(const std::string& path);

struct LinkEnds {
    FileDescriptor camera;
    FileDescriptor program;
};

/// Not open if that fails.
LinkEnds makeLink();

/// False if the other side is gone or, with MSG_DONTWAIT, the message does not fit.
bool sendBytes(int link, const void* bytes, std::size_t length, int file, int flags);

/// The message's length; 0 if the other side is gone, -1 with errno if it fails.  Takes over a file that came
/// with it.
long receiveBytes(int link, void* bytes, std::size_t length, FileDescriptor* file, int flags);

template <typename Message>
bool sendMessage(int link, const Message& message, int file = -1, int flags = 0) {
    static_assert(std::is_trivially_copyable_v<Message>);
    return sendBytes(link, &message, sizeof message, file, flags);
}

template <typename Message>
bool receiveMessage(int link, Message& message, FileDescriptor* file = nullptr, int flags = 0) {
    static_assert(std::is_trivially_copyable_v<Message>);
    return receiveBytes(link, &message, sizeof message, file, flags) == long(sizeof message);
}

} // namespace tavelo::bench
