// SPDX-License-Identifier: MIT
// The V4L2 cameras of this machine.
#pragma once

#include <memory>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"

namespace tavelo {

/// Lists the capturing video nodes and follows changes.  Called on the main thread, on which observers are
/// notified later.  Never fails: if there is nothing to list, the list is empty.
/// @param request  the format requested from every camera
/// @param priority may be null
std::unique_ptr<CapturePlatform> makeV4l2CapturePlatform(MainQueue& mainQueue, Diagnostics& diagnostics,
                                                         const CaptureFormatRequest& request,
                                                         const std::shared_ptr<ThreadPriority>& priority);

} // namespace tavelo
