// SPDX-License-Identifier: MIT
// What the pretend camera says of itself and of its formats.
#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <vector>

#include "bench/peers/link/camera_mode.h"

namespace tavelo::bench {

/// The mode that a program gets: of its format if there is one, then the nearest in size.
std::uint32_t closestMode(const std::vector<CameraMode>& modes, const v4l2_pix_format& wanted);

/// An errno, or 0.
int describeFormat(const CameraMode& mode, v4l2_format& format);

/// Answers VIDIOC_QUERYCAP, the enumerations, inputs and VIDIOC_TRY_FMT; an errno, ENOTTY for any other
/// request.
int answerAboutFormats(const std::vector<CameraMode>& modes, unsigned long request, void* argument);

} // namespace tavelo::bench
