// SPDX-License-Identifier: MIT
#include "bench/peers/link/link_socket.h"

#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace tavelo::bench {
namespace {

constexpr int linkType = SOCK_SEQPACKET | SOCK_CLOEXEC;

bool addressOf(const std::string& path, sockaddr_un& address) {
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(&address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

using BindOrConnect = int (*)(int, const sockaddr*, socklen_t);

FileDescriptor socketAt(const std::string& path, BindOrConnect attach) {
    sockaddr_un address{};
    if (!addressOf(path, address)) return {};
    FileDescriptor link(::socket(AF_UNIX, linkType, 0));
    if (!link.isOpen() ||
        attach(link.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return link;
}

union FileMessage {
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
    cmsghdr aligned;
};

} // namespace

FileDescriptor connectLink(const std::string& path) {
    return socketAt(path, ::connect);
}

FileDescriptor listenForLinks(const std::string& path) {
    FileDescriptor link = socketAt(path, ::bind);
    if (link.isOpen() && ::listen(link.get(), SOMAXCONN) != 0) link.reset();
    return link;
}

LinkEnds makeLink() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, linkType, 0, ends.data()) != 0) return {};
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool sendBytes(int link, const void* bytes, std::size_t length, int file, int flags) {
    iovec part{const_cast<void*>(bytes), length};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    FileMessage attached{};
    if (file >= 0) {
        message.msg_control = &attached;
        message.msg_controllen = sizeof attached.bytes;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof file);
        std::memcpy(CMSG_DATA(header), &file, sizeof file);
    }
    long sent = 0;
    do {
        sent = ::sendmsg(link, &message, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == long(length);
}

long receiveBytes(int link, void* bytes, std::size_t length, FileDescriptor* file, int flags) {
    iovec part{bytes, length};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    FileMessage attached{};
    message.msg_control = &attached;
    message.msg_controllen = sizeof attached.bytes;
    const long received = ::recvmsg(link, &message, flags | MSG_CMSG_CLOEXEC);
    if (received < 0) return received;
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (header != nullptr && header->cmsg_type == SCM_RIGHTS) {
        int passed = -1;
        std::memcpy(&passed, CMSG_DATA(header), sizeof passed);
        FileDescriptor owner(passed);
        if (file != nullptr) *file = std::move(owner);
    }
    return received;
}

} // namespace tavelo::bench
