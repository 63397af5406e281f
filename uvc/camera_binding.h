// SPDX-License-Identifier: MIT
// The camera that the manager talks to, and its interface.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/bus_prober.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// Identifies a binding; binding the same camera again gives a new identity.
using BindingIdentity = std::uint64_t;

/// The bound camera and its interface; empty until a camera is bound.
struct CameraBinding {
    /// Increases with each binding; reopening the camera's interface keeps it.
    BindingIdentity identity = 0;
    std::shared_ptr<const BusProberDevice> device;
    std::shared_ptr<UsbInterface> interface;
    std::uint32_t deviceLocationID = 0;
    std::int32_t interfaceNumber = 0;
    /// Entity identifiers; the defaults are used if the descriptors have none.
    std::int32_t inputTerminalID = 1;
    std::int32_t processingUnitID = 2;
    /// Why the request that closed `interface` failed; none while it is open.
    ErrorCode failure = ErrorCode::none;
    std::chrono::steady_clock::time_point failedAt{};
    /// The camera is being read: only the reader may use its records.
    bool isBeingRead = false;
    /// All records were read from this camera; false if the interface was closed before.
    bool recordsAreRead = false;

    bool interfaceIsClosed() const { return failure != ErrorCode::none; }
};

/// A binding that one thread changes while others send requests.  Thread-safe.
///
/// Its lock also orders the records against rebinding: a record is only written through this class, so that a
/// late answer of one camera never lands in the record of the next.
class SharedCameraBinding {
public:
    /// A copy, so that a request is built and sent for one camera even if another is bound meanwhile.
    CameraBinding get() const {
        const std::lock_guard lock(mutex_);
        return binding_;
    }

    /// A copy to send a write with; nothing while the camera is being read, or if `only` names another
    /// binding.
    /// @param touch called first, under the lock; may read the records or store into one
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
        // Releasing the last reference to an interface closes it, which may take a while: never under the
        // lock.
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
