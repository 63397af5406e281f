// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_video_function.h"

#include <algorithm>
#include <array>

#include "platform/common/uvc_descriptors.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t interfaceType = 0x04;
constexpr std::uint8_t classSpecificType = 0x24;
constexpr std::uint8_t videoClass = 0x0E;
constexpr std::uint8_t streamingSubclass = 0x02;

constexpr std::uint8_t headerSubtype = 0x01;
constexpr std::uint8_t inputTerminalSubtype = 0x02;
constexpr std::uint8_t processingUnitSubtype = 0x05;
constexpr std::uint16_t cameraTerminal = 0x0201;

// The selector that each bit of bmControls stands for, 0 for a bit that the class gives none.
constexpr std::array<std::uint8_t, 22> terminalSelectors{1,  2,  3,  4,  5, 6, 7, 9,  10, 11, 12,
                                                         13, 14, 15, 16, 0, 0, 8, 17, 18, 19, 20};
constexpr std::array<std::uint8_t, 19> unitSelectors{2, 3,  6,  7,  8,  9,  10, 12, 1, 4,
                                                     5, 16, 11, 13, 14, 15, 17, 18, 19};

Bytes takeDescriptor(Bytes& rest) {
    if (rest.size() < 2 || rest[0] < 2 || rest[0] > rest.size()) {
        rest = {};
        return {};
    }
    const Bytes descriptor = rest.first(rest[0]);
    rest = rest.subspan(rest[0]);
    return descriptor;
}

// `countAt` is where the number of bytes stands that follow it.
Bytes countedBytes(Bytes descriptor, std::size_t countAt) {
    if (descriptor.size() <= countAt) return {};
    const Bytes rest = descriptor.subspan(countAt + 1);
    return rest.first(std::min<std::size_t>(descriptor[countAt], rest.size()));
}

void addControls(UsbVideoFunction& function, std::uint8_t entity, Bytes map, Bytes selectors) {
    std::bitset<256>& listed = function.controls[entity];
    for (std::size_t bit = 0; bit < std::min(selectors.size(), 8 * map.size()); ++bit) {
        if ((map[bit / 8] >> (bit % 8) & 1) != 0) listed.set(selectors[bit]);
    }
    listed.reset(0);
}

void addClassSpecific(UsbVideoFunction& function, Bytes descriptor) {
    if (descriptor.size() < 4) return;
    switch (descriptor[2]) {
        case headerSubtype:
            for (const std::uint8_t number : countedBytes(descriptor, 11))
                function.streamingInterfaces.push_back(number);
            break;
        case inputTerminalSubtype:
            if (descriptor.size() < 15 || (descriptor[4] | descriptor[5] << 8) != cameraTerminal) break;
            addControls(function, descriptor[3], countedBytes(descriptor, 14), terminalSelectors);
            break;
        case processingUnitSubtype:
            if (descriptor.size() < 8) break;
            addControls(function, descriptor[3], countedBytes(descriptor, 7), unitSelectors);
            break;
        default:
            break;
    }
}

// A camera may name what it does not have, its own control interface, or one thing twice.
void keepStreamingInterfaces(std::vector<std::uint8_t>& numbers, Bytes configuration) {
    std::vector<std::uint8_t> kept;
    for (const UsbInterfaceDescriptor& interface : interfacesOf(configuration)) {
        if (interface.interfaceClass != videoClass || interface.interfaceSubClass != streamingSubclass)
            continue;
        const bool named = std::ranges::find(numbers, interface.number) != numbers.end();
        const bool taken = std::ranges::find(kept, interface.number) != kept.end();
        if (named && !taken) kept.push_back(interface.number);
    }
    numbers = std::move(kept);
}

} // namespace

bool UsbVideoFunction::lists(std::uint8_t entity, std::uint8_t selector) const {
    if (!mapsAreKnown) return true;
    const auto found = controls.find(entity);
    return found != controls.end() && found->second[selector];
}

UsbVideoFunction videoFunctionOf(Bytes configurationDescriptor, std::uint8_t controlInterface) {
    UsbVideoFunction function;
    function.controlInterface = controlInterface;
    bool inside = false;
    for (Bytes rest = configurationDescriptor; !rest.empty();) {
        const Bytes descriptor = takeDescriptor(rest);
        if (descriptor.empty()) break;
        if (descriptor[1] == interfaceType)
            inside = descriptor.size() >= 9 && descriptor[2] == controlInterface;
        else if (inside && descriptor[1] == classSpecificType)
            addClassSpecific(function, descriptor);
    }
    keepStreamingInterfaces(function.streamingInterfaces, configurationDescriptor);
    function.mapsAreKnown = !function.controls.empty();
    return function;
}

} // namespace tavelo
