// SPDX-License-Identifier: MIT
// The bus that virtual cameras are plugged into.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Notified when a camera is plugged or unplugged.
class VirtualBusListener {
public:
    virtual ~VirtualBusListener() = default;

    /// Called on the thread that plugs or unplugs.  Must not add or remove listeners.
    virtual void virtualBusDidChange() = 0;
};

/// Cameras that come and go while the program runs.  Thread-safe.
class VirtualBus {
public:
    VirtualBus();
    ~VirtualBus();

    VirtualBus(const VirtualBus&) = delete;
    VirtualBus& operator=(const VirtualBus&) = delete;

    /// Returns the camera, with factory settings; null if its location is taken.
    std::shared_ptr<VirtualCameraFirmware> plug(VirtualCameraModel model);

    /// Calls VirtualCameraFirmware::vanish() on the camera; false if no camera with this number is plugged
    /// in.
    bool unplug(int number);

    /// In the order of plugging in.
    std::vector<std::shared_ptr<VirtualCameraFirmware>> cameras() const;
    /// Null if there is none with this number.
    std::shared_ptr<VirtualCameraFirmware> camera(int number) const;

    void addListener(VirtualBusListener* listener);
    /// No call is in progress once this returns.
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
