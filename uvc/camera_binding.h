// SPDX-License-Identifier: MIT
// Which camera the manager talks to, and over what.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/bus_prober.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// The camera in use and the way to it; empty until a camera is bound.
struct CameraBinding {
    std::shared_ptr<const BusProberDevice> device;
    std::shared_ptr<UsbInterface> interface;
    std::uint32_t deviceLocationID = 0;
    std::int32_t interfaceNumber = 0;
    /// Entity identifiers; these are what a camera has whose descriptors do not tell.
    std::int32_t inputTerminalID = 1;
    std::int32_t processingUnitID = 2;
    /// A request failed on `interface`, which is closed for good since.
    bool interfaceIsClosed = false;
    /// Every record tells of this camera; false where the interface was closed before all were read.
    bool recordsAreRead = false;
};

/// A binding that one thread changes while others send requests.  Thread-safe.
class SharedCameraBinding {
public:
    /// A copy, so that a request is built and sent for one camera even when another is bound meanwhile.
    CameraBinding get() const {
        const std::lock_guard lock(mutex_);
        return binding_;
    }

    /// @param edit changes the binding that it is given; must be short and take no lock
    template <typename Edit>
    void change(Edit&& edit) {
        // The last reference to an interface closes it, which may take a while: never under the lock.
        CameraBinding previous;
        {
            const std::lock_guard lock(mutex_);
            previous = binding_;
            edit(binding_);
        }
    }

private:
    mutable std::mutex mutex_; // guards binding_
    CameraBinding binding_;
};

} // namespace tavelo
