// SPDX-License-Identifier: MIT
// The machine's own cameras.
#pragma once

#include <memory>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"

namespace tavelo {

/// Lists the capturing video nodes and follows their coming and going.  Called on the main thread, on which
/// observers are told later; never fails: where there is nothing to list, the list is empty.
/// @param request  the format that every camera is asked for
/// @param priority may be null
std::unique_ptr<CapturePlatform> makeV4l2CapturePlatform(MainQueue& mainQueue, Diagnostics& diagnostics,
                                                         const CaptureFormatRequest& request,
                                                         const std::shared_ptr<ThreadPriority>& priority);

} // namespace tavelo
