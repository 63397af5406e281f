// SPDX-License-Identifier: MIT
#include "platform/uvc/matching_interfaces.h"

#include <algorithm>

#include "platform/uvc/descriptors.h"

namespace tavelo {
namespace {

bool matches(std::uint8_t value, std::uint16_t wanted) {
    return wanted == UsbInterfaceMatch::any || value == wanted;
}

bool matches(const UsbInterfaceDescriptor& interface, const UsbInterfaceMatch& match) {
    return matches(interface.interfaceClass, match.interfaceClass) &&
           matches(interface.interfaceSubClass, match.interfaceSubClass) &&
           matches(interface.interfaceProtocol, match.interfaceProtocol) &&
           matches(interface.alternateSetting, match.alternateSetting);
}

} // namespace

std::vector<std::uint8_t> matchingInterfaces(std::span<const std::uint8_t> configurationDescriptor,
                                             const UsbInterfaceMatch& match) {
    std::vector<std::uint8_t> numbers;
    for (const UsbInterfaceDescriptor& interface : interfacesOf(configurationDescriptor)) {
        if (matches(interface, match) && std::ranges::find(numbers, interface.number) == numbers.end())
            numbers.push_back(interface.number);
    }
    return numbers;
}

} // namespace tavelo
