// SPDX-License-Identifier: MIT
// A video-control interface held by the kernel's driver, accessed through its video node.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/diagnostics.h"
#include "platform/extension_unit.h"
#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/wake_event.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// The interface and the entities that requests are addressed to.
struct KernelInterfaceAddress {
    std::uint8_t interfaceNumber = 0;
    /// -1 if the descriptors do not tell; callers then use 1 and 2.
    std::int32_t terminalID = -1;
    std::int32_t unitID = -1;
    std::string name; ///< of the device in Diagnostics: "/dev/video0"
    std::vector<ExtensionUnit> units = {};
};

/// Pan and tilt as the caller knows them: last read or last written.  Thread-safe.
class HeldPair {
public:
    std::vector<std::uint8_t> get() const {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }
    void setWritten(std::vector<std::uint8_t> bytes) {
        const std::lock_guard lock(mutex_);
        bytes_ = std::move(bytes);
        ++writes_;
    }
    /// An answer does not replace what was written while it was awaited.
    /// @param writesBefore writes() before the camera was asked
    void setRead(std::vector<std::uint8_t> bytes, std::uint64_t writesBefore) {
        const std::lock_guard lock(mutex_);
        if (writes_ == writesBefore) bytes_ = std::move(bytes);
    }
    std::uint64_t writes() const {
        const std::lock_guard lock(mutex_);
        return writes_;
    }

private:
    mutable std::mutex mutex_; // guards the members below
    std::vector<std::uint8_t> bytes_;
    std::uint64_t writes_ = 0;
};

/// Thread-safe.  No lock is held while the camera is asked: a write that blocks delays nobody else, and
/// closing does not wait for it.
class KernelControlInterface final : public UsbInterface {
public:
    /// @param diagnostics must outlive the interface
    /// @param pair shared with earlier interfaces of the same camera: after a refusal the interface is
    ///     opened again without being read
    KernelControlInterface(std::shared_ptr<V4l2Node> device, KernelInterfaceAddress address,
                           Diagnostics& diagnostics,
                           std::shared_ptr<HeldPair> pair = std::make_shared<HeldPair>());
    ~KernelControlInterface() override;

    KernelControlInterface(const KernelControlInterface&) = delete;
    KernelControlInterface& operator=(const KernelControlInterface&) = delete;

    ErrorCode ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override;
    std::uint8_t GetInterfaceNumber() const override { return address_.interfaceNumber; }
    std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& events) override;

private:
    /// A control of the class; null if the driver has none for it.
    const KernelControl* findControl(const UsbControlRequest& request) const;
    bool isForUnit(const UsbControlRequest& request) const;
    ErrorCode read(V4l2Node& device, const KernelControl& control, UsbControlRequest& request);
    ErrorCode write(V4l2Node& device, const KernelControl& control, UsbControlRequest& request);
    /// Of an extension unit, which the driver passes on.
    ErrorCode exchange(V4l2Node& device, UsbControlRequest& request);
    std::vector<std::uint8_t> heldOf(const KernelControl& control);
    void report(std::string_view control, const UsbControlRequest& request, int error) noexcept;

    const KernelInterfaceAddress address_;
    Diagnostics& diagnostics_;

    const std::shared_ptr<HeldPair> heldPair_;

    std::mutex mutex_; // guards the two pointers, not what they point to
    std::shared_ptr<V4l2Node> device_;
    std::weak_ptr<WakeEvent> watchEnding_; // expires with the watch
};

} // namespace tavelo
