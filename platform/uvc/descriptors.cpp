// SPDX-License-Identifier: MIT
// Parses the video-control descriptors of a configuration.
#include "platform/uvc/descriptors.h"

#include <algorithm>
#include <array>
#include <bitset>

#include "platform/uvc/controls.h"
#include "platform/uvc/extension_units.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

namespace {

using Bytes = std::span<const std::uint8_t>;

// An entity of the camera whose descriptor is complete.
struct Entity {
    std::uint8_t id = 0;
    std::uint8_t subtype = 0;
    std::vector<std::uint8_t> sources; ///< entities that feed it
    Bytes controls;                    ///< bmControls; empty for kinds of entity that we do not use
};

// Nothing if the map is cut off.  `at` is the offset of bControlSize; the map follows it.
std::optional<Bytes> controlMap(Bytes descriptor, std::size_t at) {
    const Bytes map = countedBytes(descriptor, at);
    if (descriptor.size() <= at || map.size() < descriptor[at]) return std::nullopt;
    return map;
}

std::vector<std::uint8_t> sourcePins(Bytes descriptor, std::size_t countAt) {
    const Bytes pins = countedBytes(descriptor, countAt);
    return {pins.begin(), pins.end()};
}

std::optional<Entity> asCameraTerminal(Bytes descriptor) {
    if (descriptor.size() < 8 || wordAt(descriptor, 4) != uvc::cameraTerminal) return std::nullopt;
    const auto controls = controlMap(descriptor, 14);
    if (!controls) return std::nullopt;
    return Entity{descriptor[3], uvc::inputTerminal, {}, *controls};
}

std::optional<Entity> asProcessingUnit(Bytes descriptor) {
    const auto controls = controlMap(descriptor, 7);
    if (!controls) return std::nullopt;
    return Entity{descriptor[3], uvc::processingUnit, {descriptor[4]}, *controls};
}

// Identifier 0 is the interface itself and belongs to no entity.
std::optional<Entity> asEntity(Bytes descriptor) {
    if (descriptor.size() < 5 || descriptor[3] == 0) return std::nullopt;
    switch (descriptor[2]) {
        case uvc::inputTerminal:
            return asCameraTerminal(descriptor);
        case uvc::processingUnit:
            return asProcessingUnit(descriptor);
        case uvc::selectorUnit:
            return Entity{descriptor[3], uvc::selectorUnit, sourcePins(descriptor, 4), {}};
        case uvc::extensionUnit:
            return Entity{descriptor[3], uvc::extensionUnit, sourcePins(descriptor, 21), {}};
        default:
            return std::nullopt;
    }
}

using EntitySet = std::bitset<256>;

bool isFedBy(const Entity& entity, const EntitySet& sources) {
    return std::ranges::any_of(entity.sources, [&](std::uint8_t id) { return sources[id]; });
}

// The entities that receive the picture of `source`.  A hostile camera may wire units in circles and have
// thousands: each identifier is followed once.
EntitySet reachedFrom(const std::vector<Entity>& entities, std::uint8_t source) {
    std::array<EntitySet, 256> fedBySource;
    for (const Entity& entity : entities) {
        for (const std::uint8_t id : entity.sources)
            fedBySource[id].set(entity.id);
    }
    EntitySet reached;
    std::vector<std::size_t> waiting{source};
    while (!waiting.empty()) {
        const std::size_t id = waiting.back();
        waiting.pop_back();
        if (reached[id]) continue;
        reached.set(id);
        for (std::size_t next = 0; next < reached.size(); ++next) {
            if (fedBySource[id][next] && !reached[next]) waiting.push_back(next);
        }
    }
    return reached;
}

const Entity* firstOf(const std::vector<Entity>& entities, std::uint8_t subtype) {
    const auto found = std::ranges::find(entities, subtype, &Entity::subtype);
    return found == entities.end() ? nullptr : &*found;
}

const Entity* processingUnitOf(const std::vector<Entity>& entities, const Entity* terminal) {
    if (terminal != nullptr) {
        const EntitySet reached = reachedFrom(entities, terminal->id);
        const auto found = std::ranges::find_if(entities, [&](const Entity& entity) {
            return entity.subtype == uvc::processingUnit && isFedBy(entity, reached);
        });
        if (found != entities.end()) return &*found;
    }
    return firstOf(entities, uvc::processingUnit);
}

// A control and the flag that says whether the camera lists it.
struct SupportFlag {
    ControlAddress control;
    bool BusProberDevice::*flag;
};

constexpr std::array supportFlags{
    SupportFlag{control::scanningMode, &BusProberDevice::supportScanningMode},
    SupportFlag{control::autoExposureMode, &BusProberDevice::supportAutoExposureMode},
    SupportFlag{control::autoExposurePriority, &BusProberDevice::supportAutoExposurePriority},
    SupportFlag{control::exposureTime, &BusProberDevice::supportExposureTime},
    SupportFlag{control::focus, &BusProberDevice::supportFocus},
    SupportFlag{control::iris, &BusProberDevice::supportIris},
    SupportFlag{control::zoom, &BusProberDevice::supportZoom},
    SupportFlag{control::panTilt, &BusProberDevice::supportPan},
    SupportFlag{control::panTilt, &BusProberDevice::supportTilt},
    SupportFlag{control::roll, &BusProberDevice::supportRoll},
    SupportFlag{control::autoFocus, &BusProberDevice::supportAutoFocus},
    SupportFlag{control::brightness, &BusProberDevice::supportBright},
    SupportFlag{control::contrast, &BusProberDevice::supportContrast},
    SupportFlag{control::hue, &BusProberDevice::supportHue},
    SupportFlag{control::saturation, &BusProberDevice::supportSaturation},
    SupportFlag{control::sharpness, &BusProberDevice::supportSharpness},
    SupportFlag{control::gamma, &BusProberDevice::supportGamma},
    SupportFlag{control::whiteBalance, &BusProberDevice::supportWhiteBalance},
    SupportFlag{control::backlight, &BusProberDevice::supportBacklight},
    SupportFlag{control::gain, &BusProberDevice::supportGain},
    SupportFlag{control::powerLine, &BusProberDevice::supportPowerLine},
    SupportFlag{control::autoHue, &BusProberDevice::supportAutoHue},
    SupportFlag{control::autoWhiteBalance, &BusProberDevice::supportAutoWhiteBalance},
};

void setFlags(BusProberDevice& device, UvcEntity entity, Bytes map) {
    const auto listed = listedSelectors(entity, map);
    for (const SupportFlag& each : supportFlags) {
        if (each.control.entity == entity) device.*each.flag = listed[each.control.selector];
    }
}

} // namespace

BusProberDevice probeDescriptors(Bytes deviceDescriptor, Bytes configurationDescriptor,
                                 std::optional<std::uint8_t> interfaceNumber) {
    BusProberDevice device;
    if (deviceDescriptor.size() >= 12 && deviceDescriptor[1] == uvc::deviceType) {
        device.vendorID = wordAt(deviceDescriptor, 8);
        device.productID = wordAt(deviceDescriptor, 10);
    }
    const std::vector<std::uint8_t> functions = videoControlInterfaces(configurationDescriptor);
    const auto function =
        interfaceNumber ? std::ranges::find(functions, *interfaceNumber) : functions.begin();
    if (function != functions.end()) device.controlInterface = *function;
    std::vector<Entity> entities;
    const std::vector<Bytes> descriptors = videoControlDescriptors(configurationDescriptor, interfaceNumber);
    device.extensionUnits = extensionUnitsOf(descriptors);
    for (const Bytes descriptor : descriptors) {
        if (auto entity = asEntity(descriptor)) entities.push_back(std::move(*entity));
    }
    const Entity* terminal = firstOf(entities, uvc::inputTerminal);
    if (terminal != nullptr) {
        device.terminalID = terminal->id;
        setFlags(device, UvcEntity::cameraTerminal, terminal->controls);
    }
    if (const Entity* unit = processingUnitOf(entities, terminal)) {
        device.unitID = unit->id;
        setFlags(device, UvcEntity::processingUnit, unit->controls);
    }
    return device;
}

std::vector<Bytes> videoControlDescriptors(Bytes configurationDescriptor,
                                           std::optional<std::uint8_t> interfaceNumber) {
    std::vector<Bytes> found;
    bool inside = false;
    while (const auto descriptor = takeDescriptor(configurationDescriptor)) {
        if ((*descriptor)[1] == uvc::interfaceType) {
            const auto interface = asInterface(*descriptor);
            inside = interface && interface->isVideoControl() &&
                     interface->number == interfaceNumber.value_or(interface->number);
            if (inside) interfaceNumber = interface->number;
        } else if (inside && (*descriptor)[1] == uvc::classInterfaceType && descriptor->size() >= 3) {
            found.push_back(*descriptor);
        }
    }
    return found;
}

std::vector<UsbInterfaceDescriptor> interfacesOf(Bytes configurationDescriptor) {
    std::vector<UsbInterfaceDescriptor> interfaces;
    while (const auto descriptor = takeDescriptor(configurationDescriptor)) {
        if (const auto interface = asInterface(*descriptor)) interfaces.push_back(*interface);
    }
    return interfaces;
}

std::vector<std::uint8_t> videoControlInterfaces(Bytes configurationDescriptor) {
    std::vector<std::uint8_t> numbers;
    for (const UsbInterfaceDescriptor& interface : interfacesOf(configurationDescriptor)) {
        if (interface.isVideoControl() && std::ranges::find(numbers, interface.number) == numbers.end())
            numbers.push_back(interface.number);
    }
    return numbers;
}

std::span<const std::uint8_t> configurationWithValue(Bytes configurations, std::uint8_t value) {
    Bytes rest = configurations;
    std::size_t begin = configurations.size();
    while (true) {
        const std::size_t here = configurations.size() - rest.size();
        const auto descriptor = takeDescriptor(rest);
        if (!descriptor) break;
        if ((*descriptor)[1] != uvc::configurationType) continue;
        if (begin < configurations.size()) return configurations.subspan(begin, here - begin);
        if (descriptor->size() >= 6 && (*descriptor)[5] == value) begin = here;
    }
    return configurations.subspan(begin);
}

} // namespace tavelo
