// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_bus_prober.h"

#include <algorithm>
#include <utility>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/printable.h"
#include "platform/uvc/descriptors.h"

namespace tavelo {

SysfsBusProber::SysfsBusProber(BusProberDelegate* delegate, std::filesystem::path sysfs,
                               std::unique_ptr<UdevEventSource> events)
    : delegate_(delegate),
      sysfs_(std::move(sysfs)),
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

std::vector<BusProberDevice> SysfsBusProber::scan() const {
    std::vector<BusProberDevice> found;
    for (const SysfsUsbDevice& device : usbDevices(sysfs_)) {
        const std::optional<UsbDescriptors> descriptors = usbDescriptors(device);
        if (!descriptors) continue;
        for (const std::uint8_t function : videoControlInterfaces(descriptors->configuration)) {
            BusProberDevice camera =
                probeDescriptors(descriptors->device, descriptors->configuration, function);
            camera.locationID = device.locationID;
            camera.vendorID = device.vendorID;
            camera.productID = device.productID;
            camera.name = printable(device.product); // the device chose it
            found.push_back(std::move(camera));
        }
    }
    return found;
}

} // namespace tavelo
