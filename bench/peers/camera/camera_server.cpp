// SPDX-License-Identifier: MIT
#include "bench/peers/camera/camera_server.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <optional>
#include <utility>

namespace tavelo::bench {
namespace {

timespec untilThen(FrameClock::time_point then) {
    const std::chrono::nanoseconds left = std::max(then - FrameClock::now(), FrameClock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {seconds.count(), (left - seconds).count()};
}

} // namespace

CameraServer::CameraServer(std::vector<PreparedFrames> modes, FileDescriptor listener)
    : modes_(std::move(modes)),
      listener_(std::move(listener)) {}

bool CameraServer::runOnce() {
    std::vector<bool> ready;
    if (!wait(ready)) return false;
    deliverDueFrames();
    serve(ready);
    if (ready.front()) welcome();
    return true;
}

// One entry for the listener, then one for each client.
bool CameraServer::wait(std::vector<bool>& ready) const {
    std::vector<pollfd> waiting{{listener_.get(), POLLIN, 0}};
    std::optional<FrameClock::time_point> next;
    for (const auto& client : clients_) {
        waiting.push_back({client->link(), POLLIN, 0});
        if (client->isStreaming()) next = client->nextFrame();
    }
    const timespec left = next ? untilThen(*next) : timespec{};
    if (::ppoll(waiting.data(), waiting.size(), next ? &left : nullptr, nullptr) < 0 && errno != EINTR)
        return false;
    for (const pollfd& one : waiting)
        ready.push_back(one.revents != 0);
    return true;
}

void CameraServer::deliverDueFrames() {
    for (const auto& client : clients_)
        while (client->isStreaming() && client->nextFrame() <= FrameClock::now())
            client->deliverFrame();
}

void CameraServer::serve(const std::vector<bool>& ready) {
    for (std::size_t at = 0; at < clients_.size(); ++at) {
        const bool gone = ready[at + 1] && !clients_[at]->serve(othersHaveBuffers(*clients_[at]));
        if (gone) clients_[at].reset();
    }
    std::erase(clients_, nullptr);
}

bool CameraServer::othersHaveBuffers(const CameraClient& client) const {
    return std::ranges::any_of(
        clients_, [&](const auto& other) { return other && other.get() != &client && other->hasBuffers(); });
}

void CameraServer::welcome() {
    FileDescriptor link(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (link.isOpen()) clients_.push_back(std::make_unique<CameraClient>(std::move(link), modes_));
}

} // namespace tavelo::bench
