// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_video_function.h"

#include <algorithm>
#include <array>

#include "platform/uvc/descriptors.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t interfaceType = 0x04;
constexpr std::uint8_t classSpecificType = 0x24;
constexpr std::uint8_t videoClass = 0x0E;
constexpr std::uint8_t controlSubclass = 0x01;
constexpr std::uint8_t streamingSubclass = 0x02;

constexpr std::uint8_t headerSubtype = 0x01;
constexpr std::uint8_t inputTerminalSubtype = 0x02;
constexpr std::uint8_t processingUnitSubtype = 0x05;
constexpr std::uint16_t cameraTerminal = 0x0201;

// The selector for each bit of bmControls; 0 if the class assigns none.
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

// `countAt` is the offset of a byte count; the bytes follow it.
Bytes countedBytes(Bytes descriptor, std::size_t countAt) {
    if (descriptor.size() <= countAt) return {};
    const Bytes rest = descriptor.subspan(countAt + 1);
    return rest.first(std::min<std::size_t>(descriptor[countAt], rest.size()));
}

void addControls(UsbVideoFunction& function, UvcEntity kind, std::uint8_t entity, Bytes map,
                 Bytes selectors) {
    std::bitset<256>& listed =
        function.entities.try_emplace(entity, UsbVideoFunction::Entity{kind, {}}).first->second.selectors;
    for (std::size_t bit = 0; bit < std::min(selectors.size(), 8 * map.size()); ++bit) {
        if ((map[bit / 8] >> (bit % 8) & 1) != 0) listed.set(selectors[bit]);
    }
    listed.reset(0);
}

void addClassSpecific(UsbVideoFunction& function, Bytes descriptor) {
    if (descriptor.size() < 4) return;
    switch (descriptor[2]) {
        case headerSubtype:
            if (descriptor.size() >= 5)
                function.classVersion = static_cast<std::uint16_t>(descriptor[3] | descriptor[4] << 8);
            for (const std::uint8_t number : countedBytes(descriptor, 11))
                function.streamingInterfaces.push_back(number);
            break;
        case inputTerminalSubtype:
            if (descriptor.size() < 15 || (descriptor[4] | descriptor[5] << 8) != cameraTerminal) break;
            addControls(function, UvcEntity::cameraTerminal, descriptor[3], countedBytes(descriptor, 14),
                        terminalSelectors);
            break;
        case processingUnitSubtype:
            if (descriptor.size() < 8) break;
            addControls(function, UvcEntity::processingUnit, descriptor[3], countedBytes(descriptor, 7),
                        unitSelectors);
            break;
        default:
            break;
    }
}

bool isControlInterface(Bytes descriptor, std::uint8_t number) {
    return descriptor.size() >= 9 && descriptor[2] == number && descriptor[5] == videoClass &&
           descriptor[6] == controlSubclass;
}

// A camera may list interfaces that it lacks, its own control interface, or one interface twice.
void keepStreamingInterfaces(std::vector<std::uint8_t>& numbers, Bytes configuration) {
    std::bitset<256> named; // a hostile camera lists the same ones thousands of times
    for (const std::uint8_t number : numbers)
        named.set(number);
    numbers.clear();
    for (const UsbInterfaceDescriptor& interface : interfacesOf(configuration)) {
        if (interface.interfaceClass != videoClass || interface.interfaceSubClass != streamingSubclass)
            continue;
        if (!named[interface.number]) continue;
        named.reset(interface.number);
        numbers.push_back(interface.number);
    }
}

} // namespace

bool UsbVideoFunction::lists(std::uint8_t entity, std::uint8_t selector) const {
    if (entities.empty()) return true;
    const auto found = entities.find(entity);
    return found != entities.end() && found->second.selectors[selector];
}

std::optional<UvcEntity> UsbVideoFunction::kindOf(std::uint8_t entity) const {
    if (const auto found = entities.find(entity); found != entities.end()) return found->second.kind;
    if (!entities.empty()) return std::nullopt;
    if (entity == 1) return UvcEntity::cameraTerminal;
    if (entity == 2) return UvcEntity::processingUnit;
    return std::nullopt;
}

UsbVideoFunction videoFunctionOf(Bytes configurationDescriptor, std::uint8_t controlInterface) {
    UsbVideoFunction function;
    function.controlInterface = controlInterface;
    bool inside = false;
    for (Bytes rest = configurationDescriptor; !rest.empty();) {
        const Bytes descriptor = takeDescriptor(rest);
        if (descriptor.empty()) break;
        if (descriptor[1] == interfaceType)
            inside = isControlInterface(descriptor, controlInterface);
        else if (inside && descriptor[1] == classSpecificType)
            addClassSpecific(function, descriptor);
    }
    keepStreamingInterfaces(function.streamingInterfaces, configurationDescriptor);
    return function;
}

} // namespace tavelo
