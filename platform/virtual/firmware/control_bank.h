// SPDX-License-Identifier: MIT
// The values behind a virtual camera's controls and the rules for reading and writing them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/virtual/firmware/firmware_control.h"
#include "platform/virtual/firmware/firmware_controls.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/firmware/virtual_unit.h"

namespace tavelo {

/// Values of all controls that a model lists, by the static table.  Reentrant.
class ControlBank final : public FirmwareControls {
public:
    explicit ControlBank(const VirtualCameraModel& model);

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
    struct State {
        const FirmwareControl* control = nullptr;
        std::int64_t value = 0;
        std::int64_t factory = 0;
    };

    bool isExtensionUnit(std::uint8_t entity) const;
    const State* find(ControlAddress address) const;
    State* find(ControlAddress address);
    bool accepts(const FirmwareControl& control, std::int64_t value) const;
    bool disabledByAutomatic(ControlAddress address) const;
    std::uint8_t info(const FirmwareControl& control) const;
    /// False if it did nothing.
    bool stepExposure(std::int64_t step);

    std::uint8_t terminalID_;
    std::uint8_t unitID_;
    std::uint8_t outputTerminalID_;
    std::uint8_t extensionUnitID_;
    std::uint8_t exposureModes_;
    std::vector<State> states_;
    VirtualUnit unit_;
};

} // namespace tavelo
