// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/usbip_server.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "platform/virtual/usbip/gadget_layout.h"

namespace tavelo::usbip {
namespace {

constexpr std::size_t maxConnections = 64;
/// If accept() fails (no descriptors left), poll() reports the same connection over and over.
constexpr int pauseAfterFailure = 100; // ms

} // namespace

std::unique_ptr<UsbipServer> UsbipServer::listen(std::uint16_t port, Error& error) {
    FileDescriptor listener = listenOnLoopback(port, error);
    if (!listener.isOpen()) return nullptr;
    WakePipe pipe = WakePipe::make();
    if (!pipe.readEnd.isOpen()) {
        error = {ErrorCode::invalid, "cannot make a pipe"};
        return nullptr;
    }
    return std::unique_ptr<UsbipServer>(new UsbipServer(std::move(listener), std::move(pipe)));
}

UsbipServer::UsbipServer(FileDescriptor listener, WakePipe pipe)
    : listener_(std::move(listener)),
      pipe_(std::move(pipe)),
      thread_([this] { run(); }) {}

UsbipServer::~UsbipServer() {
    stopping_ = true;
    pipe_.wake();
    thread_.join();
}

std::uint16_t UsbipServer::port() const {
    return localPort(listener_);
}

void UsbipServer::plug(const std::string& busId, std::shared_ptr<UsbGadget> gadget) {
    unplug(busId);
    const std::scoped_lock lock(mutex_);
    slots_[busId] = {std::move(gadget), nullptr};
}

void UsbipServer::unplug(const std::string& busId) {
    const std::scoped_lock lock(mutex_);
    const auto slot = slots_.find(busId);
    if (slot == slots_.end()) return;
    // release() takes the lock, so the session is alive here.
    if (slot->second.importer != nullptr) slot->second.importer->shutdown();
    slots_.erase(slot);
}

bool UsbipServer::isImported(const std::string& busId) const {
    const std::scoped_lock lock(mutex_);
    const auto slot = slots_.find(busId);
    return slot != slots_.end() && slot->second.importer != nullptr;
}

std::vector<ExportedDevice> UsbipServer::exportedDevices() const {
    const std::scoped_lock lock(mutex_);
    std::vector<ExportedDevice> devices;
    for (const auto& [busId, slot] : slots_)
        if (slot.importer == nullptr) devices.push_back(describe(*slot.gadget, busId));
    return devices;
}

DeviceDirectory::Claim UsbipServer::claim(const std::string& busId, UsbipSession& session) {
    const std::scoped_lock lock(mutex_);
    const auto slot = slots_.find(busId);
    if (slot == slots_.end()) return {OperationStatus::noDevice, nullptr};
    if (slot->second.importer != nullptr) return {OperationStatus::busy, nullptr};
    slot->second.importer = &session;
    return {OperationStatus::ok, slot->second.gadget};
}

void UsbipServer::release(const std::string& busId, UsbipSession& session) {
    const std::scoped_lock lock(mutex_);
    const auto slot = slots_.find(busId);
    if (slot != slots_.end() && slot->second.importer == &session) slot->second.importer = nullptr;
}

void UsbipServer::run() {
    while (!stopping_) {
        std::array<pollfd, 2> watched{{{pipe_.readEnd.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), -1) < 0) continue;
        if ((watched[0].revents & POLLIN) != 0) {
            std::array<std::uint8_t, 64> drained{};
            while (::read(pipe_.readEnd.get(), drained.data(), drained.size()) > 0) {
            }
        }
        joinEnded();
        if (!stopping_ && (watched[1].revents & POLLIN) != 0) accept();
    }
    endAll();
}

void UsbipServer::accept() {
    FileDescriptor descriptor = acceptConnection(listener_);
    if (!descriptor.isOpen()) {
        pollfd pipe{pipe_.readEnd.get(), POLLIN, 0};
        ::poll(&pipe, 1, pauseAfterFailure);
        return;
    }
    if (connections_.size() >= maxConnections) return;
    Connection& connection = connections_.emplace_back(*this, std::move(descriptor));
    connection.thread = std::thread([this, &connection] {
        connection.session.run();
        connection.ended = true;
        pipe_.wake();
    });
}

void UsbipServer::joinEnded() {
    connections_.remove_if([](Connection& connection) {
        if (!connection.ended) return false;
        connection.thread.join();
        return true;
    });
}

void UsbipServer::endAll() {
    for (Connection& connection : connections_)
        connection.session.shutdown();
    for (Connection& connection : connections_)
        connection.thread.join();
    connections_.clear();
}

} // namespace tavelo::usbip
