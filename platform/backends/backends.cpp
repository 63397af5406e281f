// SPDX-License-Identifier: MIT
#include "platform/backends/backends.h"

#include <utility>

#include "platform/linux/kernel/kernel_usb_platform.h"
#include "platform/linux/kernel/v4l2_capture_platform.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/priority/realtime_kit.h"
#include "platform/linux/usb/usb_transport.h"
#include "platform/virtual/backend.h"

namespace tavelo {

Backends makeBackends(const BackendOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics) {
    auto assetWriters = makeFfmpegAssetWriterPlatform(diagnostics);
    if (options.virtualCameras > 0) {
        VirtualBackend cameras = makeVirtualBackend(options.virtualCameras, options.format, mainQueue);
        return {std::move(cameras.usb), std::move(cameras.capture), std::move(assetWriters)};
    }
    const std::shared_ptr<ThreadPriority> priority = makeRealtimeKitPriority();
    if (options.transport == CameraTransport::usb) {
        UsbTransportHalves halves =
            makeUsbTransport(mainQueue, diagnostics, options.format, options.warn, priority);
        if (halves.usb) return {std::move(halves.usb), std::move(halves.capture), std::move(assetWriters)};
    }
    return {std::make_unique<KernelUsbPlatform>(diagnostics),
            makeV4l2CapturePlatform(mainQueue, diagnostics, options.format, priority),
            std::move(assetWriters)};
}

} // namespace tavelo
