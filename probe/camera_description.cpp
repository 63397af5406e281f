// SPDX-License-Identifier: MIT
#include "probe/camera_description.h"

#include <algorithm>
#include <optional>

#include "platform/uvc/class_controls.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t encodingUnit = 0x07;

std::vector<std::uint8_t> copied(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

void readControls(DescribedEntity& entity, Bytes descriptor, std::size_t countAt) {
    entity.bmControls = copied(countedBytes(descriptor, countAt));
}

void readFields(DescribedEntity& entity, Bytes descriptor) {
    switch (entity.subtype) {
        case uvc::inputTerminal:
            entity.terminalType = wordAt(descriptor, 4);
            if (entity.isCameraTerminal()) readControls(entity, descriptor, 14);
            break;
        case uvc::outputTerminal:
            entity.terminalType = wordAt(descriptor, 4);
            if (descriptor.size() > 7) entity.sources = {descriptor[7]};
            break;
        case uvc::selectorUnit:
            entity.sources = copied(countedBytes(descriptor, 4));
            break;
        case uvc::processingUnit:
            if (descriptor.size() > 4) entity.sources = {descriptor[4]};
            readControls(entity, descriptor, 7);
            break;
        case encodingUnit:
            if (descriptor.size() > 4) entity.sources = {descriptor[4]};
            readControls(entity, descriptor, 6);
            break;
        case uvc::extensionUnit:
            if (descriptor.size() < 22) break;
            std::ranges::copy(descriptor.subspan(4, 16), entity.guid.begin());
            entity.sources = copied(countedBytes(descriptor, 21));
            readControls(entity, descriptor, 22 + std::size_t{descriptor[21]});
            break;
        default:
            break;
    }
}

bool isSet(const std::vector<std::uint8_t>& map, std::size_t bit) {
    return (map[bit / 8] >> (bit % 8) & 1) != 0;
}

// Bit n of an extension unit is selector n + 1; the other entities' bits are assigned by the class.
void listSelectors(DescribedEntity& entity) {
    const std::size_t bits = 8 * entity.bmControls.size();
    if (entity.isExtensionUnit()) {
        for (std::size_t bit = 0; bit < std::min<std::size_t>(bits, 255); ++bit)
            if (isSet(entity.bmControls, bit)) entity.selectors.push_back(static_cast<std::uint8_t>(bit + 1));
        return;
    }
    if (!entity.isCameraTerminal() && !entity.isProcessingUnit()) return;
    const auto kind = entity.isCameraTerminal() ? UvcEntity::cameraTerminal : UvcEntity::processingUnit;
    std::uint32_t assigned = 0;
    for (const ClassControl& control : classControls()) {
        if (control.address.entity != kind) continue;
        const std::uint32_t mask = controlBit(control.address);
        assigned |= mask;
        if ((littleEndian(entity.bmControls, 0, 4) & mask) != 0)
            entity.selectors.push_back(control.address.selector);
    }
    for (std::size_t bit = 0; bit < bits; ++bit)
        if (isSet(entity.bmControls, bit) && (bit >= 32 || (assigned >> bit & 1U) == 0))
            entity.unknownBits.push_back(bit);
}

std::optional<DescribedEntity> readEntity(Bytes descriptor) {
    if (descriptor.size() < 4 || descriptor[2] == uvc::controlHeader || descriptor[3] == 0)
        return std::nullopt;
    DescribedEntity entity;
    entity.subtype = descriptor[2];
    entity.id = descriptor[3];
    readFields(entity, descriptor);
    listSelectors(entity);
    return entity;
}

} // namespace

bool DescribedEntity::isCameraTerminal() const {
    return subtype == uvc::inputTerminal && terminalType == uvc::cameraTerminal;
}

bool DescribedEntity::isProcessingUnit() const {
    return subtype == uvc::processingUnit;
}

bool DescribedEntity::isExtensionUnit() const {
    return subtype == uvc::extensionUnit;
}

std::string DescribedEntity::kind() const {
    switch (subtype) {
        case uvc::inputTerminal:
            return isCameraTerminal() ? "camera terminal" : "input terminal";
        case uvc::outputTerminal:
            return "output terminal";
        case uvc::selectorUnit:
            return "selector unit";
        case uvc::processingUnit:
            return "processing unit";
        case uvc::extensionUnit:
            return "extension unit";
        case encodingUnit:
            return "encoding unit";
        default:
            return "entity of unknown kind " + std::to_string(subtype);
    }
}

CameraDescription describeCamera(const UsbDescriptors& descriptors, std::uint8_t controlInterface) {
    CameraDescription camera;
    const Bytes device = descriptors.device;
    camera.usbVersion = wordAt(device, 2);
    camera.vendorID = wordAt(device, 8);
    camera.productID = wordAt(device, 10);
    camera.release = wordAt(device, 12);
    for (const Bytes descriptor : videoControlDescriptors(descriptors.configuration, controlInterface)) {
        auto entity = readEntity(descriptor);
        if (!entity) continue;
        const bool known =
            std::ranges::find(camera.entities, entity->id, &DescribedEntity::id) != camera.entities.end();
        if (!known) camera.entities.push_back(std::move(*entity));
    }
    const UsbVideoFunction function = videoFunctionOf(descriptors.configuration, controlInterface);
    camera.classVersion = function.classVersion;
    for (const std::uint8_t number : function.streamingInterfaces)
        camera.streams.push_back(streamingDescription(descriptors.configuration, number));
    return camera;
}

} // namespace tavelo
