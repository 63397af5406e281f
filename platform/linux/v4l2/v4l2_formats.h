// SPDX-License-Identifier: MIT
// The formats that a video node offers, and their translation into ours.
#pragma once

#include <linux/videodev2.h>

#include <chrono>
#include <optional>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// Whether frames can be read from a node with these device_caps.  Not from metadata nodes, mem-to-mem
/// devices, and media pipelines that must be set up first.
bool canCapture(std::uint32_t deviceCaps);

/// Formats, sizes and rates as the driver enumerates them; if it enumerates no size, the current one.
/// Bounded, however much the driver enumerates.
std::vector<OfferedMode> offeredModes(V4l2Node& node, const CaptureFormatRequest& request);

/// The format that the driver set, with its colour fields decoded.
FrameFormat frameFormat(const v4l2_pix_format& set);

/// When a dequeued frame was captured, on the monotonic clock.  A timestamp of another clock, or more than
/// a second away from `now` (the clocks of some cameras jump), is replaced by `now`.
std::chrono::nanoseconds frameTime(const v4l2_buffer& buffer, std::chrono::nanoseconds now);

} // namespace tavelo
