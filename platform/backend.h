// SPDX-License-Identifier: MIT
// A way to reach cameras: their controls and their pictures.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/thread_priority.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// Both halves, or neither if the cameras cannot be reached this way.
struct Backend {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
};

/// What the backends for this machine's cameras are made with.  The two references must outlive the backend
/// and everything that it returns.
struct BackendOptions {
    MainQueue& mainQueue;
    Diagnostics& diagnostics;
    CaptureFormatRequest format = {};                   ///< requested from every camera
    std::shared_ptr<ThreadPriority> priority = nullptr; ///< of the streams' threads; may be null
    /// Receives the reason, in one line, if cameras cannot be reached this way, also if that shows only when
    /// a camera is plugged in later.  Called at most once, on any thread; may be empty.
    std::function<void(const std::string& line)> warn = {};
};

} // namespace tavelo
