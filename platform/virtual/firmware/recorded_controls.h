// SPDX-License-Identifier: MIT
// Controls that answer as a recorded camera did.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/uvc/camera_record.h"
#include "platform/uvc/class_controls.h"
#include "platform/uvc/usb_video_function.h"
#include "platform/virtual/firmware/firmware_controls.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// Answers each read with the recorded bytes, refusal or silence; what was not asked then is refused.  Values
/// live: SET_CUR takes what the recorded range allows, and GET_CUR returns it, in as many bytes as were
/// recorded.  A control that an automatic function ruled can be set once that is off.  Controls of extension
/// units take any bytes.  Reentrant.
class RecordedControls final : public FirmwareControls {
public:
    /// @param model like a recorded camera
    explicit RecordedControls(const VirtualCameraModel& model);

    std::uint8_t entityError(std::uint8_t entity) const override;
    std::optional<ControlAddress> addressOf(std::uint8_t entity, std::uint8_t selector) const override;
    bool lists(std::uint8_t entity, std::uint8_t selector) const override;
    ControlResult read(std::uint8_t entity, std::uint8_t selector, UvcRequest request) const override;
    ControlResult write(std::uint8_t entity, std::uint8_t selector,
                        std::span<const std::uint8_t> bytes) override;
    std::optional<std::int64_t> value(ControlAddress address) const override;
    bool setValue(ControlAddress address, std::int64_t value) override;
    std::optional<ControlLimits> limits(ControlAddress address) const override;
    PictureSettings pictureSettings() const override;

private:
    using Key = std::pair<std::uint8_t, std::uint8_t>; // entity, selector

    struct State {
        const ControlRecord* record = nullptr;
        const ClassControl* known = nullptr; ///< null for a control of the vendor's
        std::size_t size = 0;                ///< bytes of a value
        std::vector<std::uint8_t> value;
        bool ruledThen = false; ///< by an automatic function, when the camera was recorded
    };

    const State* find(std::uint8_t entity, std::uint8_t selector) const;
    const State* find(ControlAddress address) const;
    bool isDisabled(const State& state) const;
    bool isRuledNow(const State& state) const;
    bool accepts(const State& state, std::span<const std::uint8_t> bytes) const;
    bool isWithinRange(const State& state, std::span<const std::uint8_t> bytes) const;
    std::optional<std::vector<std::uint8_t>> bound(const State& state, UvcRequest request) const;
    std::optional<std::int64_t> boundNumber(const State& state, UvcRequest request) const;
    double pictureNumber(ControlAddress address) const;

    const std::shared_ptr<const RecordedCamera> camera_; // the states point into it
    const UsbVideoFunction function_;
    const std::uint8_t terminalID_;
    const std::uint8_t unitID_;
    std::map<Key, State> states_;
};

} // namespace tavelo
