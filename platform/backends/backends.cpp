// SPDX-License-Identifier: MIT
#include "platform/backends/backends.h"

#include <array>

#include "platform/linux/kernel/backend.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/priority/realtime_kit.h"
#include "platform/linux/usb/backend.h"
#include "platform/virtual/backend.h"

namespace tavelo {
namespace {

struct Transport {
    CameraTransport transport;
    const char* name; // on the command line
    Backend (*make)(const BackendOptions& options);
};

constexpr std::array transports{
    Transport{CameraTransport::kernel, "kernel", makeKernelBackend},
    Transport{CameraTransport::usb, "usb", makeUsbBackend},
};

Backend makeCameras(const CameraOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics) {
    if (options.virtualCameras > 0)
        return makeVirtualBackend(options.virtualCameras, options.format, mainQueue);
    const BackendOptions machine{mainQueue, diagnostics, options.format, makeRealtimeKitPriority(),
                                 options.warn};
    for (const Transport& row : transports) {
        if (row.transport != options.transport) continue;
        if (Backend cameras = row.make(machine); cameras.usb) return cameras;
    }
    return makeKernelBackend(machine);
}

} // namespace

std::map<std::string, CameraTransport> cameraTransports() {
    std::map<std::string, CameraTransport> names;
    for (const Transport& row : transports)
        names.emplace(row.name, row.transport);
    return names;
}

Backends makeBackends(const CameraOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics) {
    return {makeCameras(options, mainQueue, diagnostics), makeFfmpegAssetWriterPlatform(diagnostics)};
}

} // namespace tavelo
