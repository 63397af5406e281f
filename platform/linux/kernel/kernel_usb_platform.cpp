// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_usb_platform.h"

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "platform/linux/bus/bus_prober.h"
#include "platform/linux/bus/sysfs_device_services.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/bus/usb_descriptor_source.h"
#include "platform/linux/kernel/control_interface.h"
#include "platform/linux/kernel/kernel_node_search.h"
#include "platform/uvc/descriptors.h"

namespace tavelo {

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

namespace {

std::shared_ptr<UsbInterface> openThroughNode(const KernelUsbSurroundings& surroundings, HeldPairs& heldPairs,
                                              const SysfsUsbDevice& usb, std::uint8_t number,
                                              Diagnostics& diagnostics) {
    OpenedControlNode node = openControlNode(surroundings, usb, number, diagnostics);
    const auto descriptors = usbDescriptors(usb);
    if (!node.device || !descriptors) return nullptr;
    const BusProberDevice entities =
        probeDescriptors(descriptors->device, descriptors->configuration, number);
    return std::make_shared<KernelUsbInterface>(
        std::move(node.device),
        KernelInterfaceAddress{number, entities.terminalID, entities.unitID, std::move(node.path)},
        diagnostics, heldPairs.of(usb.name, number));
}

KernelUsbSurroundings thisMachine() {
    KernelUsbSurroundings surroundings;
    surroundings.opener = std::make_unique<KernelNodeOpener>();
    surroundings.pause = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); };
    return surroundings;
}

} // namespace

KernelUsbPlatform::KernelUsbPlatform(Diagnostics& diagnostics)
    : KernelUsbPlatform(diagnostics, thisMachine()) {}

KernelUsbPlatform::KernelUsbPlatform(Diagnostics& diagnostics, KernelUsbSurroundings surroundings)
    : diagnostics_(diagnostics),
      surroundings_(std::make_shared<const KernelUsbSurroundings>(std::move(surroundings))),
      heldPairs_(std::make_shared<HeldPairs>()) {}

std::unique_ptr<BusProber> KernelUsbPlatform::initBusProber(int, BusProberDelegate* delegate) {
    return std::make_unique<LinuxBusProber>(delegate, surroundings_->sysfs, makeLibusbDescriptorSource(),
                                            openUdevEvents("usb", "usb_device"));
}

std::vector<std::unique_ptr<UsbDeviceService>> KernelUsbPlatform::matchingDeviceServices() {
    return sysfsDeviceServices(
        surroundings_->sysfs, [surroundings = surroundings_, pairs = heldPairs_, &diagnostics = diagnostics_](
                                  const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
            return openThroughNode(*surroundings, *pairs, device, interfaceNumber, diagnostics);
        });
}

} // namespace tavelo
