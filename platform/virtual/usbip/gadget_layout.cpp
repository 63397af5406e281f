// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/gadget_layout.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/uvc/descriptor_walk.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo::usbip {
namespace {

Endpoint readEndpoint(std::span<const std::uint8_t> descriptor) {
    Endpoint endpoint;
    endpoint.address = descriptor[2];
    endpoint.type = static_cast<EndpointType>(descriptor[3] & 3U);
    endpoint.packetSize = wordAt(descriptor, 4) & 0x7FFU;
    const unsigned exponent = std::clamp<unsigned>(descriptor[6], 1, 16);
    endpoint.interval = 1U << (exponent - 1);
    return endpoint;
}

void take(GadgetLayout& layout, std::span<const std::uint8_t> descriptor) {
    const std::uint8_t type = descriptor[1];
    if (type == uvc::configurationType && descriptor.size() >= 6) layout.configurationValue = descriptor[5];
    if (type == uvc::interfaceType && descriptor.size() >= 8 && descriptor[3] == 0)
        layout.interfaces.push_back({descriptor[5], descriptor[6], descriptor[7]});
    if (type == uvc::endpointType && descriptor.size() >= 7 && !layout.find(descriptor[2]))
        layout.endpoints.push_back(readEndpoint(descriptor));
}

// A host takes a device only at the speed that the packet size of its endpoint 0 is for.
DeviceSpeed speedOf(std::span<const std::uint8_t> deviceDescriptor) {
    constexpr std::uint16_t version3 = 0x0300;
    constexpr std::uint8_t superSpeedExponent = 9;
    constexpr std::uint8_t highSpeedSize = 64;
    const std::uint8_t size = deviceDescriptor[7];
    if (size == superSpeedExponent && wordAt(deviceDescriptor, 2) >= version3) return DeviceSpeed::super;
    return size < highSpeedSize ? DeviceSpeed::full : DeviceSpeed::high;
}

std::uint32_t numberIn(std::string_view text) {
    std::uint32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

std::optional<Endpoint> GadgetLayout::find(std::uint8_t address) const {
    const auto found = std::ranges::find(endpoints, address, &Endpoint::address);
    if (found == endpoints.end()) return std::nullopt;
    return *found;
}

GadgetLayout layoutOf(std::span<const std::uint8_t> configurationDescriptor) {
    GadgetLayout layout;
    while (const auto descriptor = takeDescriptor(configurationDescriptor))
        take(layout, *descriptor);
    return layout;
}

ExportedDevice describe(const UsbGadget& gadget, const std::string& busId) {
    ExportedDevice device;
    device.busId = busId;
    device.path = "/tavelo/virtual/usb" + busId.substr(0, busId.find('-')) + "/" + busId;
    device.busNumber = numberIn(busId);
    const std::size_t dash = busId.find('-');
    // Device 1 of a bus is its root hub.
    device.deviceNumber =
        1 + (dash == std::string::npos ? 0 : numberIn(std::string_view(busId).substr(dash + 1)));
    const std::span<const std::uint8_t> descriptor = gadget.deviceDescriptor();
    if (descriptor.size() >= 18) {
        device.deviceClass = {descriptor[4], descriptor[5], descriptor[6]};
        device.vendorID = wordAt(descriptor, 8);
        device.productID = wordAt(descriptor, 10);
        device.release = wordAt(descriptor, 12);
        device.speed = speedOf(descriptor);
        device.configurationCount = descriptor[17];
    }
    const GadgetLayout layout = layoutOf(gadget.configurationDescriptor());
    device.configurationValue = layout.configurationValue;
    device.interfaces = layout.interfaces;
    return device;
}

} // namespace tavelo::usbip
