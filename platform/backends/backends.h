// SPDX-License-Identifier: MIT
// Chooses the backends that the program uses.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/asset_writer.h"
#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// How the program reaches the machine's cameras.
enum class CameraTransport : std::uint8_t {
    kernel, ///< through the kernel's driver, which other programs may use at the same time
    usb,    ///< directly over USB; the driver releases the camera that is shown
};

struct BackendOptions {
    /// If above 0, this many virtual cameras replace the machine's.
    int virtualCameras = 0;
    CaptureFormatRequest format;
    CameraTransport transport = CameraTransport::kernel;
    /// Receives a warning that the user must see even without --verbose: the requested transport is not
    /// available.  One line, called at most once, on any thread; may be empty.
    std::function<void(const std::string& line)> warn = {};
};

/// The parts of a backend.  Control and capture belong together and are destroyed together.
struct Backends {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
    std::shared_ptr<AssetWriterPlatform> assetWriters;
};

/// Falls back to the kernel's transport if the cameras cannot be used over USB.  Never fails: without
/// cameras, USB or permissions the lists are empty.  `mainQueue` and `diagnostics` must outlive the result.
Backends makeBackends(const BackendOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics);

} // namespace tavelo
