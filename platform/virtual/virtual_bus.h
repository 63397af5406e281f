// SPDX-License-Identifier: MIT
// The bus that virtual cameras are plugged into.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "virtual-camera/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Told when a camera came or went.
class VirtualBusListener {
public:
    virtual ~VirtualBusListener() = default;

    /// On the thread that plugged or unplugged.  Must not add or remove listeners.
    virtual void virtualBusDidChange() = 0;
};

/// Cameras that come and go while the program runs.  Thread-safe.
class VirtualBus {
public:
    VirtualBus();
    ~VirtualBus();

    VirtualBus(const VirtualBus&) = delete;
    VirtualBus& operator=(const VirtualBus&) = delete;

    /// The camera, with factory settings; null where its location is taken.
    std::shared_ptr<VirtualCameraFirmware> plug(VirtualCameraModel model);

    /// As VirtualCameraFirmware::vanish() on that camera; false where no camera of that number is plugged in.
    bool unplug(int number);

    /// In the order of plugging in.
    std::vector<std::shared_ptr<VirtualCameraFirmware>> cameras() const;
    /// Null where there is none of that number.
    std::shared_ptr<VirtualCameraFirmware> camera(int number) const;

    void addListener(VirtualBusListener* listener);
    /// No call is under way once this has returned.
    void removeListener(VirtualBusListener* listener);

private:
    class Socket;

    void tellListeners();

    mutable std::mutex mutex_; // guards sockets_
    std::vector<std::unique_ptr<Socket>> sockets_;

    std::mutex listenersMutex_; // guards listeners_; held while they are called
    std::vector<VirtualBusListener*> listeners_;
};

} // namespace tavelo
