// SPDX-License-Identifier: MIT
#include "platform/uvc/usb_video_function.h"

#include <algorithm>

#include "platform/uvc/descriptors.h"
#include "platform/uvc/extension_units.h"
#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

void addControls(UsbVideoFunction& function, UvcEntity kind, std::uint8_t entity, Bytes map) {
    function.entities.try_emplace(entity, UsbVideoFunction::Entity{kind, {}}).first->second.selectors |=
        listedSelectors(kind, map);
}

void addClassSpecific(UsbVideoFunction& function, Bytes descriptor) {
    if (descriptor.size() < 4) return;
    switch (descriptor[2]) {
        case uvc::controlHeader:
            if (descriptor.size() >= 5) function.classVersion = wordAt(descriptor, 3);
            for (const std::uint8_t number : countedBytes(descriptor, 11))
                function.streamingInterfaces.push_back(number);
            break;
        case uvc::inputTerminal:
            if (descriptor.size() < 15 || wordAt(descriptor, 4) != uvc::cameraTerminal) break;
            addControls(function, UvcEntity::cameraTerminal, descriptor[3], countedBytes(descriptor, 14));
            break;
        case uvc::processingUnit:
            if (descriptor.size() < 8) break;
            addControls(function, UvcEntity::processingUnit, descriptor[3], countedBytes(descriptor, 7));
            break;
        default:
            break;
    }
}

// A camera may list interfaces that it lacks, its own control interface, or one interface twice.
void keepStreamingInterfaces(std::vector<std::uint8_t>& numbers, Bytes configuration) {
    std::bitset<256> named; // a hostile camera lists the same ones thousands of times
    for (const std::uint8_t number : numbers)
        named.set(number);
    numbers.clear();
    for (const UsbInterfaceDescriptor& interface : interfacesOf(configuration)) {
        if (!interface.isVideoStreaming() || !named[interface.number]) continue;
        named.reset(interface.number);
        numbers.push_back(interface.number);
    }
}

} // namespace

bool UsbVideoFunction::lists(std::uint8_t entity, std::uint8_t selector) const {
    if (entities.empty()) return true;
    if (const auto found = entities.find(entity); found != entities.end())
        return found->second.selectors[selector];
    const auto unit = std::ranges::find(extensionUnits, entity, &ExtensionUnit::id);
    return unit != extensionUnits.end() && unit->selectors[selector];
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
    const std::vector<Bytes> descriptors = videoControlDescriptors(configurationDescriptor, controlInterface);
    for (const Bytes descriptor : descriptors)
        addClassSpecific(function, descriptor);
    function.extensionUnits = extensionUnitsOf(descriptors);
    keepStreamingInterfaces(function.streamingInterfaces, configurationDescriptor);
    return function;
}

} // namespace tavelo
