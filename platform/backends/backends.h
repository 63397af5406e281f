// SPDX-License-Identifier: MIT
// The one place where the program chooses its backends.
#pragma once

#include <memory>

#include "platform/asset_writer.h"
#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

struct BackendOptions {
    /// Above 0: that many cameras of our own in place of the machine's.
    int virtualCameras = 0;
    CaptureFormatRequest format;
};

/// What a backend consists of.  Control and capture belong together and die together.
struct Backends {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
    std::shared_ptr<AssetWriterPlatform> assetWriters;
};

/// Never fails: a machine without cameras, without USB or without rights gives empty lists.
/// Both arguments by reference must outlive the result.
Backends makeBackends(const BackendOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics);

} // namespace tavelo
