// SPDX-License-Identifier: MIT
// What the values of controls do: to other controls, and to the picture.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/uvc/controls.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// A control's value; nothing if the camera does not have it.
using ControlReader = std::function<std::optional<std::int64_t>(ControlAddress)>;

// Both are reentrant.

/// Whether a control has an automatic function that is on, so that it cannot be set.
bool isRuledByAutomatic(ControlAddress address, const ControlReader& valueOf);

/// @param number the value of a control in the units and the range of firmwareControls(); its default there
///     if the camera does not have it
PictureSettings pictureSettingsOf(const std::function<double(ControlAddress)>& number,
                                  const ControlReader& valueOf);

} // namespace tavelo
