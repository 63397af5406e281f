// SPDX-License-Identifier: MIT
// Which camera the manager talks to, and over what.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/bus_prober.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// Tells one binding from every other, even from an earlier one to the same camera.
using BindingIdentity = std::uint64_t;

/// The camera in use and the way to it; empty until a camera is bound.
struct CameraBinding {
    /// Grows with each binding; opening the camera's interface anew keeps it.
    BindingIdentity identity = 0;
    std::shared_ptr<const BusProberDevice> device;
    std::shared_ptr<UsbInterface> interface;
    std::uint32_t deviceLocationID = 0;
    std::int32_t interfaceNumber = 0;
    /// Entity identifiers; these are what a camera has if its descriptors do not tell.
    std::int32_t inputTerminalID = 1;
    std::int32_t processingUnitID = 2;
    /// Why a request failed on `interface`, which is closed for good since; success while it is open.
    UsbStatus failure = UsbStatus::success;
    std::chrono::steady_clock::time_point failedAt{};
    /// The camera is being read: its records belong to the reader alone.
    bool isBeingRead = false;
    /// Every record tells of this camera; false if the interface was closed before all were read.
    bool recordsAreRead = false;

    bool interfaceIsClosed() const { return failure != UsbStatus::success; }
};

/// A binding that one thread changes while others send requests.  Thread-safe.
///
/// Its lock also orders the records against rebinding: whoever stores into a record for a binding does it in
/// here, so that a late answer of one camera never lands in the record of the next.
class SharedCameraBinding {
public:
    /// A copy, so that a request is built and sent for one camera even if another is bound meanwhile.
    CameraBinding get() const {
        const std::lock_guard lock(mutex_);
        return binding_;
    }

    /// A copy to send a write with; nothing while the camera is being read, or if `only` names another
    /// binding.
    /// @param touch called before, under the lock: looks at the records, or stores into one
    template <typename Touch>
    std::optional<CameraBinding> forWriting(std::optional<BindingIdentity> only, Touch&& touch) {
        const std::lock_guard lock(mutex_);
        if (binding_.isBeingRead || (only && *only != binding_.identity)) return std::nullopt;
        touch();
        return binding_;
    }

    /// Calls `store` under the lock if that binding is still the current one.
    template <typename Store>
    void ifCurrent(BindingIdentity identity, Store&& store) {
        const std::lock_guard lock(mutex_);
        if (binding_.identity == identity && !binding_.isBeingRead) store();
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
    mutable std::mutex mutex_; // guards binding_, and stores into records against rebinding
    CameraBinding binding_;
};

} // namespace tavelo
