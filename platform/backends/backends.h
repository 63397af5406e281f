// SPDX-License-Identifier: MIT
// The one place where the program chooses its backends.
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

/// Who speaks to the machine's cameras.
enum class CameraTransport : std::uint8_t {
    kernel, ///< the kernel's driver, which other programs may use meanwhile
    usb,    ///< we ourselves; the driver lets go of the camera that is shown
};

struct BackendOptions {
    /// Above 0: that many cameras of our own in place of the machine's.
    int virtualCameras = 0;
    CaptureFormatRequest format;
    CameraTransport transport = CameraTransport::kernel;
    /// Hears, in one line, what the user must be told even where cameras' failures are kept quiet: that the
    /// wanted transport cannot be had.  Called once at most, on any thread; may be empty.
    std::function<void(const std::string& line)> warn = {};
};

/// What a backend consists of.  Control and capture belong together and die together.
struct Backends {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
    std::shared_ptr<AssetWriterPlatform> assetWriters;
};

/// Where the cameras may not be taken over USB the kernel's transport serves in its place.
/// Never fails: a machine without cameras, without USB or without rights gives empty lists.
/// Both arguments by reference must outlive the result.
Backends makeBackends(const BackendOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics);

} // namespace tavelo
