// SPDX-License-Identifier: MIT
// Chooses the backend that the program uses.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/backend.h"
#include "platform/error.h"

namespace tavelo {

class VirtualBus;
struct VirtualCameraModel;

/// How the program reaches the machine's cameras.
enum class CameraTransport : std::uint8_t {
    kernel, ///< through the kernel's driver, which other programs may use at the same time
    usb,    ///< directly over USB; the driver releases the camera that is shown
};

/// A transport for the user.
struct TransportDescription {
    CameraTransport transport;
    std::string name;    ///< on the command line
    std::string meaning; ///< half a sentence
};
std::vector<TransportDescription> cameraTransports();

/// Where pictures come from, for the user.
struct PictureSourceDescription {
    PictureSource source;
    std::string name;    ///< on the command line
    std::string meaning; ///< half a sentence
};
std::vector<PictureSourceDescription> pictureSources();

struct CameraOptions {
    /// If above 0, this many virtual cameras replace the machine's.
    int virtualCameras = 0;
    /// What these are; null: the program's own.  See useCamerasLike().
    std::shared_ptr<const std::vector<VirtualCameraModel>> models = nullptr;
    /// If set, the virtual cameras of this bus replace all others; whoever holds it plugs them in and out.
    std::shared_ptr<VirtualBus> bus = nullptr;
    CaptureFormatRequest format = {};
    CameraTransport transport = CameraTransport::kernel;
    /// Of the kernel's transport; the others have one source.
    PictureSource pictures = PictureSource::automatic;
    /// Receives a warning that the user must see even without --verbose: the requested transport is not
    /// available.  One line, called at most once, on any thread; may be empty.
    std::function<void(const std::string& line)> warn = {};
};

/// Makes virtual cameras, one if no number is set, like the one in a camera pack (docs/probe-pack.md).
/// @return false, with the reason, if the pack cannot be used
bool useCamerasLike(CameraOptions& options, const std::string& pack, Error& error);

/// Falls back to the kernel's transport if the cameras cannot be used over USB.  Never fails: without
/// cameras, USB or permissions the lists are empty.  `mainQueue` and `diagnostics` must outlive the result.
Backend makeCameras(const CameraOptions& options, MainQueue& mainQueue, Diagnostics& diagnostics);

} // namespace tavelo
