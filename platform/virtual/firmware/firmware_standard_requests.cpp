// SPDX-License-Identifier: MIT
// The firmware's answers to USB standard requests.
#include <algorithm>
#include <utility>

#include "platform/uvc/descriptor_walk.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {
namespace {

bool hasEndpoint(std::span<const std::uint8_t> configuration, std::uint8_t address) {
    while (const auto descriptor = takeDescriptor(configuration))
        if ((*descriptor)[1] == uvc::endpointType && descriptor->size() >= 3 && (*descriptor)[2] == address)
            return true;
    return false;
}

} // namespace

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerStandard(const UsbSetup& setup) {
    switch (setup.bmRequestType & uvc::recipientMask) {
        case uvc::recipientDevice:
            return answerDevice(setup);
        case uvc::recipientInterface:
            return answerInterface(setup);
        case uvc::recipientEndpoint:
            return answerEndpoint(setup);
        default:
            return refused(0);
    }
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerDevice(const UsbSetup& setup) {
    switch (setup.bRequest) {
        case uvc::getStatus:
            return delivered({0, 0});
        case uvc::setAddress:
            return delivered({});
        case uvc::getDescriptor:
            return answerDescriptor(setup);
        case uvc::getConfiguration:
            return delivered({configuration_});
        case uvc::setConfiguration:
            if (setup.wValue != 0 && setup.wValue != configurationValue()) return refused(0);
            configuration_ = static_cast<std::uint8_t>(setup.wValue);
            stopStream();
            return delivered({});
        default:
            return refused(0);
    }
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerDescriptor(const UsbSetup& setup) const {
    const auto type = static_cast<std::uint8_t>(setup.wValue >> 8U);
    const auto index = static_cast<std::uint8_t>(setup.wValue);
    if (type == uvc::deviceType) return delivered(deviceDescriptor_);
    if (type == uvc::configurationType && index == 0) return delivered(configurationDescriptor_);
    if (type == uvc::stringType) {
        std::vector<std::uint8_t> text = makeStringDescriptor(model_, index);
        if (!text.empty()) return delivered(std::move(text));
    }
    return refused(0); // other speeds included: this is a high-speed device only
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerInterface(const UsbSetup& setup) {
    const bool streamingInterface = setup.wIndex == model_.streamingInterface();
    if (!hasSetting(setup.wIndex, 0)) return refused(0);
    const auto interface = static_cast<std::uint8_t>(setup.wIndex);
    switch (setup.bRequest) {
        case uvc::getStatus:
            return delivered({0, 0});
        case uvc::getInterface:
            return delivered({streamingInterface ? alternateSetting_ : otherSettings_[interface]});
        case uvc::setInterface: {
            if (!hasSetting(setup.wIndex, setup.wValue)) return refused(0);
            const auto setting = static_cast<std::uint8_t>(setup.wValue);
            if (streamingInterface) {
                stopStream();
                alternateSetting_ = setting;
            } else {
                otherSettings_[interface] = setting;
            }
            return delivered({});
        }
        default:
            return refused(0);
    }
}

std::uint8_t VirtualCameraFirmware::configurationValue() const {
    return configurationDescriptor_.size() > 5 ? configurationDescriptor_[5] : std::uint8_t{1};
}

// A recorded camera may have interfaces that are no part of its video function.
bool VirtualCameraFirmware::hasSetting(unsigned interface, unsigned setting) const {
    if (!model_.recorded) {
        const bool streams = interface == model_.streamingInterface();
        return (streams && setting <= model_.payloadSizes().size()) ||
               (interface == model_.controlInterface() && setting == 0);
    }
    return std::ranges::any_of(interfacesOf(configurationDescriptor_), [&](const auto& each) {
        return each.number == interface && each.alternateSetting == setting;
    });
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerEndpoint(const UsbSetup& setup) {
    const auto endpoint = static_cast<std::uint8_t>(setup.wIndex);
    const bool other = model_.recorded && hasEndpoint(configurationDescriptor_, endpoint);
    if (endpoint != model_.streamingEndpoint() && (endpoint & 0x7FU) != 0 && !other) return refused(0);
    const bool streamingEndpoint = endpoint == model_.streamingEndpoint();
    switch (setup.bRequest) {
        case uvc::getStatus:
            return delivered({static_cast<std::uint8_t>(streamingEndpoint && halted_ ? 1 : 0), 0});
        case uvc::clearFeature:
            // This is how a host ends a stream on a bulk endpoint.
            if (streamingEndpoint) {
                halted_ = false;
                bulkRunning_ = false;
            }
            return delivered({});
        case uvc::setFeature:
            if (streamingEndpoint) halted_ = true;
            return delivered({});
        default:
            return refused(0);
    }
}

void VirtualCameraFirmware::stopStream() {
    alternateSetting_ = 0;
    bulkRunning_ = false;
    halted_ = false;
}

} // namespace tavelo
