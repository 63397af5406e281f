// SPDX-License-Identifier: MIT
// USB as the kernel shows it to any user: devices in sysfs, controls through video nodes.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "platform/diagnostics.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/usb_platform.h"

namespace tavelo {

class HeldPairs;

/// What the platform depends on; tests pass a tree and devices of their own.
struct KernelUsbSurroundings {
    std::filesystem::path sysfs = "/sys";
    std::filesystem::path devices = "/dev";
    std::unique_ptr<V4l2NodeOpener> opener;
    /// Sleeps between two attempts to open a node.
    std::function<void(std::chrono::milliseconds)> pause;
};

/// The kernel's driver keeps the camera, so other programs may use it meanwhile; no rights beyond those to
/// the video node are needed.
///
/// Thread-bound to the main thread, as are the services and devices it returns; the interfaces are
/// thread-safe.  What it returns may outlive it, but not `diagnostics`.
class KernelUsbPlatform final : public UsbPlatform {
public:
    explicit KernelUsbPlatform(Diagnostics& diagnostics);
    KernelUsbPlatform(Diagnostics& diagnostics, KernelUsbSurroundings surroundings);

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override;
    std::vector<std::unique_ptr<UsbDeviceService>> matchingDeviceServices() override;

private:
    Diagnostics& diagnostics_;
    std::shared_ptr<const KernelUsbSurroundings> surroundings_;
    std::shared_ptr<HeldPairs> heldPairs_;
};

} // namespace tavelo
