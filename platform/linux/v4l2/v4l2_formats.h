// SPDX-License-Identifier: MIT
// What a video node offers, and how its own terms translate into ours.
#pragma once

#include <linux/videodev2.h>

#include <chrono>
#include <optional>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// Whether frames can be read from a node with these device_caps.  Metadata nodes cannot be, nor those of
/// mem-to-mem devices and of media pipelines that need setting up first.
bool canCapture(std::uint32_t deviceCaps);

/// Formats, sizes and rates as the driver enumerates them; a driver that enumerates no size gives what it is
/// set to. Bounded, whatever the driver says.
std::vector<OfferedMode> offeredModes(V4l2Node& node, const CaptureFormatRequest& request);

/// The format that the driver set, with what its colour fields mean.
FrameFormat frameFormat(const v4l2_pix_format& set);

/// When a dequeued frame was taken, on the monotonic clock.  A stamp of another clock, or more than a second
/// away from `now` (some cameras' own clocks jump), is replaced by `now`; time always advances past
/// `previous`.
std::chrono::nanoseconds frameTime(const v4l2_buffer& buffer, std::chrono::nanoseconds now,
                                   std::chrono::nanoseconds previous);

} // namespace tavelo
