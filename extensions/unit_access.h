// SPDX-License-Identifier: MIT
// Reads and writes described controls of an extension unit by requests of the class.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "extensions/extension_control.h"
#include "platform/usb_interface.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

/// Whether a described control can be used, and why not.
struct UnitAccess {
    enum class Kind : std::uint8_t {
        usable,
        otherLength, ///< the camera's value has another length than the description says
        incapable,   ///< the camera does not tell its length, or does not let it be both read and written
        failed,      ///< the link failed
    };

    Kind kind = Kind::failed;
    std::size_t length = 0; ///< as the camera told it
};

/// The way to one unit of a bound camera.  Reentrant; blocks until the camera answers.
class UnitConnection {
public:
    /// Sends a request; false if it failed.
    using Send = std::function<bool(UsbControlRequest& request)>;

    UnitConnection(Send send, std::uint8_t interfaceNumber, std::uint8_t unit)
        : send_(std::move(send)),
          index_(static_cast<std::uint16_t>(unit << 8U | interfaceNumber)) {}

    /// Asks GET_LEN and GET_INFO.  Ask before anything else: a driver refuses a wrong length, and a camera
    /// may take one.
    UnitAccess accessTo(const ExtensionControl& control) const;

    /// The control's own number in the answer to a read; nothing if the camera does not answer, or with
    /// another length.
    std::optional<std::int64_t> read(const ExtensionControl& control, UvcRequest request) const;

    /// Reads the whole value, changes the control's bits and writes it back.  Whoever else writes another
    /// part of it in between loses that change: the class has no request for a part.
    /// @return what the camera holds afterwards; nothing if it did not take the value
    std::optional<std::int64_t> write(const ExtensionControl& control, std::int64_t value) const;

private:
    /// Nothing if the request failed; fewer bytes or none if the camera answered so.
    std::optional<std::vector<std::uint8_t>> ask(const ExtensionControl& control, UvcRequest request,
                                                 std::size_t length) const;

    const Send send_;
    const std::uint16_t index_; // wIndex of every request
};

} // namespace tavelo
