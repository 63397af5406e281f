// SPDX-License-Identifier: MIT
#include "probe/video_function_search.h"

#include <optional>
#include <utility>

#include "platform/common/location_id.h"
#include "platform/uvc/descriptors.h"

namespace tavelo {

FoundVideoFunction findVideoFunction(UsbPlatform& usb, std::string_view uniqueID) {
    for (std::unique_ptr<UsbDevice>& device : usb.listDevices()) {
        const auto facts = device->facts();
        if (!facts) continue;
        const auto& [deviceBytes, configuration] = facts->descriptors;
        const BusProberDevice probed = probeDescriptors(deviceBytes, configuration);
        const auto functions = videoControlInterfaces(configuration);
        for (const std::uint8_t function : functions) {
            const auto further = function == functions.front() ? std::nullopt : std::optional(function);
            if (captureIdentifier(device->GetLocationID(), probed.vendorID, probed.productID, further) ==
                uniqueID)
                return {std::move(device), function};
        }
    }
    return {};
}

} // namespace tavelo
