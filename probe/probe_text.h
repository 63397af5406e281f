// SPDX-License-Identifier: MIT
// Words for what a camera said.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/uvc/camera_record.h"
#include "platform/uvc/class_controls.h"
#include "probe/camera_description.h"

namespace tavelo {

// All are pure and reentrant.

/// Two digits a byte, no spaces.
std::string hexText(std::span<const std::uint8_t> bytes);

/// "0x" and at least `digits` digits.
std::string hexNumber(std::uint32_t number, std::size_t digits);

/// "1.10" for 0x0110.
std::string versionText(std::uint16_t bcd);

/// A value as the control means it: "-64", "3600 7200", or the bytes.
/// @param known null for a control that the class does not know
std::string valueText(const ClassControl* known, std::span<const std::uint8_t> bytes);

/// "stalled", "timed out"...; empty if it was answered.
std::string outcomeText(AnswerKind kind);

/// The class's control behind a record; null for a control of the vendor's.
const ClassControl* knownControl(const CameraDescription& camera, const ControlRecord& record);

/// "brightness", or "selector 3".
std::string controlName(const CameraDescription& camera, const ControlRecord& record);

/// "0.2, 5, 30": frames a second for intervals in 100 ns.
std::string ratesText(const DescribedFrame& frame);

} // namespace tavelo
