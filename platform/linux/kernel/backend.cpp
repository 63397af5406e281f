// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/backend.h"

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "platform/common/listed_capture_platform.h"
#include "platform/linux/bus/sysfs_usb_platform.h"
#include "platform/linux/bus/udev_monitor.h"
#include "platform/linux/kernel/control_interface.h"
#include "platform/linux/kernel/device_list.h"
#include "platform/linux/kernel/kernel_inspector.h"
#include "platform/linux/portal/camera_portal.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/uvc/descriptors.h"

namespace tavelo {
namespace {

/// The pairs of all cameras, by port and interface.  A different camera at the same port is read before it
/// is written, which replaces the held value.  Thread-safe.
class HeldPairs {
public:
    std::shared_ptr<HeldPair> of(const std::string& device, std::uint8_t interfaceNumber) {
        const std::lock_guard lock(mutex_);
        std::shared_ptr<HeldPair>& pair = pairs_[{device, interfaceNumber}];
        if (!pair) pair = std::make_shared<HeldPair>();
        return pair;
    }

private:
    std::mutex mutex_; // guards pairs_
    std::map<std::pair<std::string, std::uint8_t>, std::shared_ptr<HeldPair>> pairs_;
};

std::shared_ptr<UsbInterface> openThroughNode(const ControlNodeOptions& nodes, HeldPairs& heldPairs,
                                              const SysfsUsbDevice& usb, std::uint8_t number,
                                              Diagnostics& diagnostics) {
    OpenedControlNode node = openControlNode(nodes, usb, number, diagnostics);
    const auto descriptors = usbDescriptors(usb);
    if (!node.device || !descriptors) return nullptr;
    const BusProberDevice entities =
        probeDescriptors(descriptors->device, descriptors->configuration, number);
    return std::make_shared<KernelControlInterface>(
        std::move(node.device),
        KernelInterfaceAddress{number, entities.terminalID, entities.unitID, std::move(node.path),
                               entities.extensionUnits},
        diagnostics, heldPairs.of(usb.name, number));
}

std::unique_ptr<CameraInspector> inspectThroughNode(const ControlNodeOptions& nodes,
                                                    const SysfsUsbDevice& usb, std::uint8_t number,
                                                    Diagnostics& diagnostics) {
    OpenedControlNode node = openControlNode(nodes, usb, number, diagnostics);
    const auto descriptors = usbDescriptors(usb);
    if (!node.device || !descriptors) return nullptr;
    return std::make_unique<KernelInspector>(std::move(node.device), std::move(node.path),
                                             videoFunctionOf(descriptors->configuration, number));
}

std::unique_ptr<UsbPlatform> makeUsbPlatform(Diagnostics& diagnostics, KernelBackendOptions machine) {
    const auto inspect = [nodes = machine.nodes, &diagnostics](const SysfsUsbDevice& device,
                                                               std::uint8_t interfaceNumber) {
        return inspectThroughNode(nodes, device, interfaceNumber, diagnostics);
    };
    return makeSysfsUsbPlatform({std::move(machine.sysfs), [] { return openUdevEvents("usb", "usb_device"); },
                                 [nodes = std::move(machine.nodes), pairs = std::make_shared<HeldPairs>(),
                                  &diagnostics](const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
                                     return openThroughNode(nodes, *pairs, device, interfaceNumber,
                                                            diagnostics);
                                 },
                                 inspect});
}

class KernelCapturePlatform final : public ListedCapturePlatform<KernelDeviceList> {
public:
    KernelCapturePlatform(const BackendOptions& options, const std::filesystem::path& sysfs)
        : ListedCapturePlatform(
              options.priority, options.mainQueue,
              KernelDeviceOptions{std::make_shared<KernelNodeOpener>(), options.diagnostics, options.format,
                                  sysfs, options.priority, options.pictures,
                                  std::make_shared<LatePipewire>(options.diagnostics, cameraPortal())}),
          monitor_(openUdevEvents("video4linux", nullptr), [this](const UdevEvent&) { list_.rescan(); }) {
        list_.fill(); // after the monitor listens, so that no change is missed
    }

private:
    UdevMonitor monitor_; // last: its thread uses the list
};

} // namespace

Backend makeKernelBackend(const BackendOptions& options) {
    return makeKernelBackend(options, {});
}

Backend makeKernelBackend(const BackendOptions& options, KernelBackendOptions machine) {
    auto capture = std::make_unique<KernelCapturePlatform>(options, machine.sysfs);
    return {makeUsbPlatform(options.diagnostics, std::move(machine)), std::move(capture)};
}

} // namespace tavelo
