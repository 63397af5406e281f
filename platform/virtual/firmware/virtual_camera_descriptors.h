// SPDX-License-Identifier: MIT
// The descriptors of a virtual camera, byte for byte.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// Clock of the time stamps in payload headers, in hertz.
inline constexpr std::uint32_t streamClockFrequency = 48'000'000;

/// String descriptors' indexes, unless the camera is like a recorded one.
inline constexpr std::uint8_t manufacturerString = 1;
inline constexpr std::uint8_t productString = 2;
inline constexpr std::uint8_t serialString = 3;

std::vector<std::uint8_t> makeDeviceDescriptor(const VirtualCameraModel& model);
std::vector<std::uint8_t> makeConfigurationDescriptor(const VirtualCameraModel& model);

/// Empty if the model has no such string; index 0 lists the languages.  Texts are UTF-8.
std::vector<std::uint8_t> makeStringDescriptor(const VirtualCameraModel& model, std::uint8_t index);

} // namespace tavelo
