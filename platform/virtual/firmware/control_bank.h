// SPDX-License-Identifier: MIT
// The values behind a virtual camera's controls and the rules for reading and writing them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/virtual/firmware/firmware_control.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// Values of all controls that a model lists.  Reentrant.
class ControlBank {
public:
    explicit ControlBank(const VirtualCameraModel& model);

    /// Whether the camera has the control.
    bool has(ControlAddress address) const;

    /// The result of a class request; `data` is the answer to a read.
    struct Result {
        std::uint8_t errorCode = 0; ///< 0 on success
        std::vector<std::uint8_t> data = {};
        std::optional<ControlAddress> set = {}; ///< the control whose value a write set
    };
    Result read(ControlAddress address, UvcRequest request) const;
    Result write(ControlAddress address, std::span<const std::uint8_t> bytes);

    std::optional<std::int64_t> value(ControlAddress address) const;
    /// Ignores automatic functions.  False if the camera does not have the control or the value is out of
    /// range.
    bool setValue(ControlAddress address, std::int64_t value);

    PictureSettings pictureSettings() const;

private:
    struct State {
        const FirmwareControl* control = nullptr;
        std::int64_t value = 0;
        std::int64_t factory = 0;
    };

    const State* find(ControlAddress address) const;
    State* find(ControlAddress address);
    std::int64_t valueOr(ControlAddress address, std::int64_t otherwise) const;
    bool accepts(const FirmwareControl& control, std::int64_t value) const;
    bool disabledByAutomatic(ControlAddress address) const;
    std::uint8_t info(const FirmwareControl& control) const;
    /// False if it did nothing.
    bool stepExposure(std::int64_t step);

    std::uint8_t exposureModes_;
    std::vector<State> states_;
};

} // namespace tavelo
