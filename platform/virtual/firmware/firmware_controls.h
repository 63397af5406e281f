// SPDX-License-Identifier: MIT
// The controls behind a virtual camera's entities.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/uvc/controls.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// The result of a class request; `data` is the answer to a read.
struct ControlResult {
    UsbReplyKind kind = UsbReplyKind::done;
    std::uint8_t errorCode = 0; ///< for a stall
    std::vector<std::uint8_t> data;
    std::optional<ControlAddress> set = {}; ///< the control whose value a write set

    static ControlResult done(std::vector<std::uint8_t> data = {}) {
        return {UsbReplyKind::done, 0, std::move(data), {}};
    }
    static ControlResult stall(std::uint8_t errorCode) { return {UsbReplyKind::stall, errorCode, {}, {}}; }
    static ControlResult silence() { return {UsbReplyKind::silence, 0, {}, {}}; }
};

/// A control's range; for pan and tilt, that of each half.
struct ControlLimits {
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    std::int64_t resolution = 0;
    std::int64_t defaultValue = 0;

    friend bool operator==(const ControlLimits&, const ControlLimits&) = default;
};

/// Reentrant.
class FirmwareControls {
public:
    virtual ~FirmwareControls() = default;

    /// Why no control of this entity can be reached: the request error code, or 0 if there is no reason.
    virtual std::uint8_t entityError(std::uint8_t entity) const = 0;
    /// The control's name in the class, whether or not the camera has it; nothing for entities other than
    /// the camera terminal and the processing unit.
    virtual std::optional<ControlAddress> addressOf(std::uint8_t entity, std::uint8_t selector) const = 0;
    /// Whether the descriptors list it.
    virtual bool lists(std::uint8_t entity, std::uint8_t selector) const = 0;

    virtual ControlResult read(std::uint8_t entity, std::uint8_t selector, UvcRequest request) const = 0;
    /// SET_CUR.
    virtual ControlResult write(std::uint8_t entity, std::uint8_t selector,
                                std::span<const std::uint8_t> bytes) = 0;

    virtual std::optional<std::int64_t> value(ControlAddress address) const = 0;
    /// Ignores automatic functions.  False if the camera does not have the control or the value is out of
    /// range.
    virtual bool setValue(ControlAddress address, std::int64_t value) = 0;

    /// What is not known is 0; nothing if the camera does not have the control.
    virtual std::optional<ControlLimits> limits(ControlAddress address) const = 0;

    virtual PictureSettings pictureSettings() const = 0;
};

} // namespace tavelo
