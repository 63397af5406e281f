// SPDX-License-Identifier: MIT
// A way to reach cameras: their controls and their pictures.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/picture_share.h"
#include "platform/sound_source.h"
#include "platform/thread_priority.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// Both halves, or neither if the cameras cannot be reached this way.
struct Backend {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
    std::shared_ptr<PictureSharePlatform> pictureShare{}; ///< null if the machine has none
    /// The machine's microphones; null if only cameras are reached.
    std::shared_ptr<SoundPlatform> sound{};
};

/// Where the pictures of a camera come from that its driver holds.  Its controls go through the driver.
enum class PictureSource : std::uint8_t {
    automatic, ///< PipeWire if it has the camera, otherwise the driver
    pipewire,  ///< PipeWire, which hands them to several programs at once
    v4l2,      ///< the driver, which hands them to one program
};

/// What the backends for this machine's cameras are made with.  The two references must outlive the backend
/// and everything that it returns.
struct BackendOptions {
    MainQueue& mainQueue;
    Diagnostics& diagnostics;
    CaptureFormatRequest format = {}; ///< requested from every camera
    PictureSource pictures = PictureSource::automatic;
    std::shared_ptr<ThreadPriority> priority = nullptr; ///< of the streams' threads; may be null
    /// Receives the reason, in one line, if cameras cannot be reached this way, also if that shows only when
    /// a camera is plugged in later.  Called at most once, on any thread; may be empty.
    std::function<void(const std::string& line)> warn = {};
};

} // namespace tavelo
