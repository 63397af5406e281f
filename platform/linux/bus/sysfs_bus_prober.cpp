// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_bus_prober.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/descriptors.h"

namespace tavelo {

namespace {

bool hasVideoControl(const UsbDescriptors& descriptors) {
    return !videoControlInterfaces(descriptors.configuration).empty();
}

} // namespace

SysfsBusProber::SysfsBusProber(BusProberDelegate* delegate, std::filesystem::path sysfs,
                               std::unique_ptr<UsbDescriptorSource> descriptors,
                               std::unique_ptr<UdevEventSource> events)
    : delegate_(delegate),
      sysfs_(std::move(sysfs)),
      descriptors_(std::move(descriptors)),
      monitor_(std::move(events), [delegate](const UdevEvent&) {
          if (delegate != nullptr) delegate->busProberInformationDidChange();
      }) {}

void SysfsBusProber::refreshData(bool notify) {
    std::vector<BusProberDevice> found = scan();
    const bool changed = !std::ranges::equal(
        found, devices_, [](const BusProberDevice& now, const auto& before) { return now == *before; });
    if (!changed) return;
    devices_.clear();
    for (BusProberDevice& device : found)
        devices_.push_back(std::make_shared<const BusProberDevice>(std::move(device)));
    if (notify && delegate_ != nullptr) {
        BusProberDelegate* const delegate = delegate_;
        monitor_.async([delegate] { delegate->busProberInformationDidChange(); });
    }
}

std::vector<BusProberDevice> SysfsBusProber::scan() {
    const UsbDescriptorSnapshot cached = descriptors_ ? descriptors_->snapshot() : UsbDescriptorSnapshot();
    std::vector<BusProberDevice> found;
    for (const SysfsUsbDevice& device : usbDevices(sysfs_)) {
        // libusb learns of a new device a moment after udev announces it, and rejects descriptors that it
        // finds malformed.  The kernel's own copy is read then.
        const auto known = cached.find({device.busNumber, device.deviceNumber});
        std::optional<UsbDescriptors> descriptors;
        if (known != cached.end() && hasVideoControl(known->second)) descriptors = known->second;
        if (!descriptors) descriptors = usbDescriptors(device);
        if (!descriptors || !hasVideoControl(*descriptors)) continue;
        for (const std::uint8_t function : videoControlInterfaces(descriptors->configuration)) {
            BusProberDevice camera =
                probeDescriptors(descriptors->device, descriptors->configuration, function);
            camera.locationID = device.locationID;
            camera.vendorID = device.vendorID;
            camera.productID = device.productID;
            camera.name = device.product;
            found.push_back(std::move(camera));
        }
    }
    return found;
}

} // namespace tavelo
