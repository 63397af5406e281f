// SPDX-License-Identifier: MIT
#include "platform/backends/backends.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/kernel/backend.h"
#include "platform/linux/pipewire/module/late_picture_shares.h"
#include "platform/linux/pipewire/module/late_sounds.h"
#include "platform/linux/priority/realtime_kit.h"
#include "platform/linux/usb/backend.h"
#include "platform/virtual/backend.h"
#include "probe/like/like_file.h"

namespace tavelo {
namespace {

struct Transport {
    CameraTransport transport;
    const char* name;
    const char* meaning;
    Backend (*make)(const BackendOptions& options);
};

constexpr std::array transports{
    Transport{CameraTransport::kernel, "kernel", "through its driver", makeKernelBackend},
    Transport{CameraTransport::usb, "usb", "directly, taking the camera from the driver while it is shown",
              makeUsbBackend},
};

Backend makeBackend(const CameraOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics) {
    if (options.bus) return makeVirtualBackend(options.bus, options.format, mainQueue);
    if (options.models) {
        auto bus = std::make_shared<VirtualBus>();
        for (const VirtualCameraModel& model : *options.models)
            bus->plug(model);
        return makeVirtualBackend(std::move(bus), options.format, mainQueue);
    }
    if (options.virtualCameras > 0)
        return makeVirtualBackend(options.virtualCameras, options.format, mainQueue);
    const BackendOptions machine{
        mainQueue, diagnostics, options.format, options.pictures, makeRealtimeKitPriority(), options.warn};
    for (const Transport& row : transports) {
        if (row.transport != options.transport) continue;
        if (Backend cameras = row.make(machine); cameras.usb) return cameras;
    }
    return makeKernelBackend(machine);
}

} // namespace

std::vector<TransportDescription> cameraTransports() {
    std::vector<TransportDescription> descriptions;
    descriptions.reserve(transports.size());
    for (const Transport& row : transports)
        descriptions.push_back({row.transport, row.name, row.meaning});
    return descriptions;
}

std::vector<PictureSourceDescription> pictureSources() {
    return {{PictureSource::automatic, "auto", "pipewire if it offers the camera, otherwise v4l2"},
            {PictureSource::pipewire, "pipewire", "several programs at once"},
            {PictureSource::v4l2, "v4l2", "its driver, one program"}};
}

bool useCamerasLike(CameraOptions& options, const std::string& pack, Error& error) {
    options.virtualCameras = std::max(options.virtualCameras, 1);
    auto models = modelsLike(pack, options.virtualCameras, error);
    if (!models) return false;
    options.models = std::make_shared<const std::vector<VirtualCameraModel>>(std::move(*models));
    return true;
}

Backend makeCameras(const CameraOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics) {
    Backend cameras = makeBackend(options, mainQueue, diagnostics);
    const auto pipewire = std::make_shared<LatePipewire>(diagnostics);
    cameras.pictureShare = makeLatePictureShares(pipewire);
    cameras.sound = makeLateSounds(pipewire);
    return cameras;
}

} // namespace tavelo
