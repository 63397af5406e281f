// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_bus.h"

#include <algorithm>
#include <utility>

namespace tavelo {

// Holds a camera and is notified when it vanishes.
class VirtualBus::Socket final : public FirmwareObserver {
public:
    Socket(VirtualBus& bus, std::shared_ptr<VirtualCameraFirmware> firmware)
        : bus_(bus),
          firmware_(std::move(firmware)) {
        firmware_->addObserver(this);
    }
    ~Socket() override { firmware_->removeObserver(this); }

    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    const std::shared_ptr<VirtualCameraFirmware>& firmware() const { return firmware_; }

    void requestAnswered(const RequestRecord& /*record*/) override {}
    void vanished() override { bus_.tellListeners(); }

private:
    VirtualBus& bus_;
    std::shared_ptr<VirtualCameraFirmware> firmware_;
};

VirtualBus::VirtualBus() = default;
VirtualBus::~VirtualBus() = default;

std::shared_ptr<VirtualCameraFirmware> VirtualBus::plug(VirtualCameraModel model) {
    std::vector<std::unique_ptr<Socket>> empty; // destroyed without the lock: they wait for calls into us
    std::shared_ptr<VirtualCameraFirmware> firmware;
    {
        const std::scoped_lock lock(mutex_);
        const auto firstEmpty =
            std::stable_partition(sockets_.begin(), sockets_.end(),
                                  [](const auto& socket) { return socket->firmware()->present(); });
        std::move(firstEmpty, sockets_.end(), std::back_inserter(empty));
        sockets_.erase(firstEmpty, sockets_.end());
        for (const auto& socket : sockets_)
            if (socket->firmware()->model().locationID == model.locationID) return nullptr;
        firmware = std::make_shared<VirtualCameraFirmware>(std::move(model));
        sockets_.push_back(std::make_unique<Socket>(*this, firmware));
    }
    tellListeners();
    return firmware;
}

bool VirtualBus::unplug(int number) {
    const auto firmware = camera(number);
    if (firmware == nullptr) return false;
    firmware->vanish();
    return true;
}

std::vector<std::shared_ptr<VirtualCameraFirmware>> VirtualBus::cameras() const {
    const std::scoped_lock lock(mutex_);
    std::vector<std::shared_ptr<VirtualCameraFirmware>> result;
    for (const auto& socket : sockets_)
        if (socket->firmware()->present()) result.push_back(socket->firmware());
    return result;
}

std::shared_ptr<VirtualCameraFirmware> VirtualBus::camera(int number) const {
    for (const auto& firmware : cameras())
        if (firmware->model().number == number) return firmware;
    return nullptr;
}

void VirtualBus::addListener(VirtualBusListener* listener) {
    const std::scoped_lock lock(listenersMutex_);
    listeners_.push_back(listener);
}

void VirtualBus::removeListener(VirtualBusListener* listener) {
    const std::scoped_lock lock(listenersMutex_);
    std::erase(listeners_, listener);
}

void VirtualBus::tellListeners() {
    const std::scoped_lock lock(listenersMutex_);
    for (VirtualBusListener* listener : listeners_)
        listener->virtualBusDidChange();
}

} // namespace tavelo
