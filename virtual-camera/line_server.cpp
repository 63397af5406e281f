// SPDX-License-Identifier: MIT
#include "virtual-camera/line_server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

constexpr std::size_t maxLineLength = 4096;
constexpr std::size_t maxClients = 32;
constexpr int waitingConnections = 8;

void removeLeftover(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) ::unlink(path.c_str());
}

bool sendAll(const FileDescriptor& connection, std::string_view text) {
    while (!text.empty()) {
        const ssize_t sent = ::send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL);
        // A client that does not read its answers fills its socket and is dropped.
        if (sent <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

} // namespace

std::unique_ptr<LineServer> LineServer::listen(const std::string& path, Handler handler, Error& error) {
    const auto fail = [&](const std::string& reason) {
        error = {ErrorCode::invalid, "cannot listen on " + path + ": " + reason};
        return nullptr;
    };
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) return fail("the path is empty or too long");
    std::ranges::copy(path, address.sun_path);
    FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM, 0));
    const auto reason = [] { return std::generic_category().message(errno); };
    if (!listener.isOpen()) return fail(reason());
    ::fcntl(listener.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(listener.get(), F_SETFL, O_NONBLOCK);
    removeLeftover(path);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return fail(reason());
    ::chmod(path.c_str(), S_IRUSR | S_IWUSR);
    if (::listen(listener.get(), waitingConnections) != 0) return fail(reason());
    return std::unique_ptr<LineServer>(new LineServer(std::move(listener), path, std::move(handler)));
}

LineServer::LineServer(FileDescriptor listener, std::string path, Handler handler)
    : listener_(std::move(listener)),
      path_(std::move(path)),
      handler_(std::move(handler)),
      thread_([this] { run(); }) {}

LineServer::~LineServer() {
    stop_.wake();
    thread_.join();
    removeLeftover(path_);
}

void LineServer::run() {
    while (true) {
        std::vector<pollfd> watched{{stop_.readEnd.get(), POLLIN, 0}};
        // At the limit, new clients wait until one leaves.
        const bool open = clients_.size() < maxClients;
        watched.push_back({open ? listener_.get() : -1, POLLIN, 0});
        for (const Client& client : clients_)
            watched.push_back({client.connection.get(), POLLIN, 0});
        if (::poll(watched.data(), watched.size(), -1) < 0) continue;
        if (watched[0].revents != 0) return;
        std::size_t index = 2;
        clients_.remove_if([&](Client& client) { return watched[index++].revents != 0 && !serve(client); });
        if (watched[1].revents == 0) continue;
        FileDescriptor connection(::accept(listener_.get(), nullptr, nullptr));
        if (!connection.isOpen()) continue;
        ::fcntl(connection.get(), F_SETFD, FD_CLOEXEC);
        ::fcntl(connection.get(), F_SETFL, O_NONBLOCK);
        clients_.push_back({std::move(connection), {}});
    }
}

// False if the client has disconnected or must be dropped.
bool LineServer::serve(Client& client) {
    std::array<char, 512> bytes{};
    const ssize_t count = ::recv(client.connection.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) return false;
    client.received.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = client.received.find('\n'); end != std::string::npos;
         end = client.received.find('\n')) {
        const std::string answer = handler_(std::string_view(client.received).substr(0, end)) + '\n';
        client.received.erase(0, end + 1);
        if (!sendAll(client.connection, answer)) return false;
    }
    return client.received.size() <= maxLineLength;
}

} // namespace tavelo
