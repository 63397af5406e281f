// SPDX-License-Identifier: MIT
// Parses the video-control descriptors of a configuration.
#include "platform/uvc/descriptors.h"

#include <algorithm>
#include <array>
#include <bitset>

namespace tavelo {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t deviceType = 0x01;
constexpr std::uint8_t configurationType = 0x02;
constexpr std::uint8_t interfaceType = 0x04;
constexpr std::uint8_t classSpecificInterfaceType = 0x24;

constexpr std::uint8_t inputTerminalSubtype = 0x02;
constexpr std::uint8_t selectorUnitSubtype = 0x04;
constexpr std::uint8_t processingUnitSubtype = 0x05;
constexpr std::uint8_t extensionUnitSubtype = 0x06;
constexpr std::uint16_t cameraTerminal = 0x0201;

std::uint16_t word(Bytes bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

// Removes the descriptor at the front of `rest`.  Nothing if none fits: the walk ends there, since the start
// of the next one is unknown.
std::optional<Bytes> takeDescriptor(Bytes& rest) {
    if (rest.size() < 2 || rest[0] < 2 || rest[0] > rest.size()) return std::nullopt;
    const Bytes descriptor = rest.first(rest[0]);
    rest = rest.subspan(rest[0]);
    return descriptor;
}

std::optional<UsbInterfaceDescriptor> asInterface(Bytes descriptor) {
    if (descriptor[1] != interfaceType || descriptor.size() < 9) return std::nullopt;
    return UsbInterfaceDescriptor{descriptor[2], descriptor[3], descriptor[5], descriptor[6], descriptor[7]};
}

// The class-specific descriptors of one video-control interface, by default the first.  They end at the next
// interface descriptor; the total length in their header may be wrong and is not used.
std::vector<Bytes> videoControlDescriptors(Bytes configuration, std::optional<std::uint8_t> number) {
    std::vector<Bytes> found;
    bool inside = false;
    while (const auto descriptor = takeDescriptor(configuration)) {
        if ((*descriptor)[1] == interfaceType) {
            const auto interface = asInterface(*descriptor);
            inside = interface && interface->isVideoControl() &&
                     interface->number == number.value_or(interface->number);
            if (inside) number = interface->number;
        } else if (inside && (*descriptor)[1] == classSpecificInterfaceType && descriptor->size() >= 3) {
            found.push_back(*descriptor);
        }
    }
    return found;
}

// An entity of the camera whose descriptor is complete.
struct Entity {
    std::uint8_t id = 0;
    std::uint8_t subtype = 0;
    std::vector<std::uint8_t> sources; ///< entities that feed it
    Bytes controls;                    ///< bmControls; empty for kinds of entity that we do not use
};

// `at` is the offset of bControlSize; the map follows it.
std::optional<Bytes> controlMap(Bytes descriptor, std::size_t at) {
    if (descriptor.size() <= at) return std::nullopt;
    const std::size_t size = descriptor[at];
    if (descriptor.size() - at - 1 < size) return std::nullopt;
    return descriptor.subspan(at + 1, size);
}

std::vector<std::uint8_t> sourcePins(Bytes descriptor, std::size_t countAt) {
    if (descriptor.size() <= countAt) return {};
    const Bytes pins = descriptor.subspan(countAt + 1);
    const Bytes used = pins.first(std::min<std::size_t>(descriptor[countAt], pins.size()));
    return {used.begin(), used.end()};
}

std::optional<Entity> asCameraTerminal(Bytes descriptor) {
    if (descriptor.size() < 8 || word(descriptor, 4) != cameraTerminal) return std::nullopt;
    const auto controls = controlMap(descriptor, 14);
    if (!controls) return std::nullopt;
    return Entity{descriptor[3], inputTerminalSubtype, {}, *controls};
}

std::optional<Entity> asProcessingUnit(Bytes descriptor) {
    const auto controls = controlMap(descriptor, 7);
    if (!controls) return std::nullopt;
    return Entity{descriptor[3], processingUnitSubtype, {descriptor[4]}, *controls};
}

// Identifier 0 is the interface itself and belongs to no entity.
std::optional<Entity> asEntity(Bytes descriptor) {
    if (descriptor.size() < 5 || descriptor[3] == 0) return std::nullopt;
    switch (descriptor[2]) {
        case inputTerminalSubtype:
            return asCameraTerminal(descriptor);
        case processingUnitSubtype:
            return asProcessingUnit(descriptor);
        case selectorUnitSubtype:
            return Entity{descriptor[3], selectorUnitSubtype, sourcePins(descriptor, 4), {}};
        case extensionUnitSubtype:
            return Entity{descriptor[3], extensionUnitSubtype, sourcePins(descriptor, 21), {}};
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
            return entity.subtype == processingUnitSubtype && isFedBy(entity, reached);
        });
        if (found != entities.end()) return &*found;
    }
    return firstOf(entities, processingUnitSubtype);
}

// One bit of a bmControls map and the flag that it sets.
struct SupportBit {
    std::size_t bit;
    bool BusProberDevice::*flag;
};

constexpr std::array cameraTerminalBits{
    SupportBit{0, &BusProberDevice::supportScanningMode},
    SupportBit{1, &BusProberDevice::supportAutoExposureMode},
    SupportBit{2, &BusProberDevice::supportAutoExposurePriority},
    SupportBit{3, &BusProberDevice::supportExposureTime},
    SupportBit{5, &BusProberDevice::supportFocus},
    SupportBit{7, &BusProberDevice::supportIris},
    SupportBit{9, &BusProberDevice::supportZoom},
    SupportBit{11, &BusProberDevice::supportPan},
    SupportBit{11, &BusProberDevice::supportTilt},
    SupportBit{13, &BusProberDevice::supportRoll},
    SupportBit{17, &BusProberDevice::supportAutoFocus},
};

constexpr std::array processingUnitBits{
    SupportBit{0, &BusProberDevice::supportBright},
    SupportBit{1, &BusProberDevice::supportContrast},
    SupportBit{2, &BusProberDevice::supportHue},
    SupportBit{3, &BusProberDevice::supportSaturation},
    SupportBit{4, &BusProberDevice::supportSharpness},
    SupportBit{5, &BusProberDevice::supportGamma},
    SupportBit{6, &BusProberDevice::supportWhiteBalance},
    SupportBit{8, &BusProberDevice::supportBacklight},
    SupportBit{9, &BusProberDevice::supportGain},
    SupportBit{10, &BusProberDevice::supportPowerLine},
    SupportBit{11, &BusProberDevice::supportAutoHue},
    SupportBit{12, &BusProberDevice::supportAutoWhiteBalance},
};

void setFlags(BusProberDevice& device, Bytes map, std::span<const SupportBit> bits) {
    for (const SupportBit& entry : bits) {
        const std::size_t byte = entry.bit / 8;
        device.*entry.flag = byte < map.size() && (map[byte] >> (entry.bit % 8) & 1) != 0;
    }
}

} // namespace

BusProberDevice probeDescriptors(Bytes deviceDescriptor, Bytes configurationDescriptor,
                                 std::optional<std::uint8_t> interfaceNumber) {
    BusProberDevice device;
    if (deviceDescriptor.size() >= 12 && deviceDescriptor[1] == deviceType) {
        device.vendorID = word(deviceDescriptor, 8);
        device.productID = word(deviceDescriptor, 10);
    }
    const std::vector<std::uint8_t> functions = videoControlInterfaces(configurationDescriptor);
    const auto function =
        interfaceNumber ? std::ranges::find(functions, *interfaceNumber) : functions.begin();
    if (function != functions.end()) device.controlInterface = *function;
    std::vector<Entity> entities;
    for (const Bytes descriptor : videoControlDescriptors(configurationDescriptor, interfaceNumber)) {
        if (auto entity = asEntity(descriptor)) entities.push_back(std::move(*entity));
    }
    const Entity* terminal = firstOf(entities, inputTerminalSubtype);
    if (terminal != nullptr) {
        device.terminalID = terminal->id;
        setFlags(device, terminal->controls, cameraTerminalBits);
    }
    if (const Entity* unit = processingUnitOf(entities, terminal)) {
        device.unitID = unit->id;
        setFlags(device, unit->controls, processingUnitBits);
    }
    return device;
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
        if ((*descriptor)[1] != configurationType) continue;
        if (begin < configurations.size()) return configurations.subspan(begin, here - begin);
        if (descriptor->size() >= 6 && (*descriptor)[5] == value) begin = here;
    }
    return configurations.subspan(begin);
}

} // namespace tavelo
