// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/virtual_camera_model.h"

#include <algorithm>

namespace tavelo {
namespace {

constexpr std::uint32_t fps30 = 333'333;
constexpr std::uint32_t fps15 = 666'666;
constexpr std::uint32_t fps10 = 1'000'000;

// A virtual root hub with nested 15-port hubs, so that there is a place for any number of cameras.
std::uint32_t locationOf(int number) {
    const auto index = static_cast<std::uint32_t>(std::max(number, 1) - 1);
    return 0x7E000000U | (index % 15 + 1) << 20U | (index / 15 % 16) << 16U | (index / 240 % 16) << 12U;
}

void giveEntities(VirtualCameraModel& model) {
    const auto first = static_cast<std::uint8_t>(4 * ((std::max(model.number, 1) - 1) % 60 + 1));
    const auto second = static_cast<std::uint8_t>(first + 1);
    const bool odd = model.number % 2 != 0;
    model.terminalID = odd ? first : second;
    model.unitID = odd ? second : first;
    model.outputTerminalID = static_cast<std::uint8_t>(first + 2);
    model.extensionUnitID = static_cast<std::uint8_t>(first + 3);
}

void giveControls(VirtualCameraModel& model) {
    for (const FirmwareControl& row : firmwareControls()) {
        auto& map =
            row.address.entity == UvcEntity::cameraTerminal ? model.terminalControls : model.unitControls;
        map |= controlBit(row.address);
    }
    if (model.number % 2 == 0) {
        model.exposureModes = 0x09;
        model.factorySettings.emplace_back(control::powerLine, 2);
    }
}

std::vector<StreamOffer> standardOffers() {
    using enum StreamEncoding;
    return {
        {yuyv, 640, 480, {fps30, fps15}},    {yuyv, 320, 240, {fps30, fps15}},
        {yuyv, 1280, 720, {fps10}},          {mjpeg, 1280, 720, {fps30, fps15}},
        {mjpeg, 640, 480, {fps30, fps15}},   {mjpeg, 320, 240, {fps30, fps15}},
        {mjpeg, 1920, 1080, {fps30, fps15}},
    };
}

constexpr std::uint8_t noInterface = 0xFF;

} // namespace

std::uint8_t VirtualCameraModel::controlInterface() const {
    return recorded ? recorded->record.controlInterface : firstInterface;
}

std::uint8_t VirtualCameraModel::streamingInterface() const {
    if (recorded) return recorded->hasStream ? recorded->stream.interface : noInterface;
    return static_cast<std::uint8_t>(firstInterface + 1);
}

std::uint8_t VirtualCameraModel::streamingEndpoint() const {
    if (!recorded) return static_cast<std::uint8_t>(0x81 + firstInterface / 2);
    const auto& settings = recorded->stream.settings;
    return settings.empty() ? recorded->stream.endpoint : settings.front().endpoint;
}

std::vector<std::uint32_t> VirtualCameraModel::payloadSizes() const {
    std::vector<std::uint32_t> sizes;
    if (transport == StreamTransport::bulk) return sizes;
    if (!recorded) {
        for (const std::uint16_t size : isochronousPacketSizes)
            sizes.push_back(bytesPerMicroframe(size));
        return sizes;
    }
    for (const DescribedSetting& setting : recorded->stream.settings)
        if (setting.kind == StreamingEndpointKind::isochronous && setting.bytes > 0)
            sizes.push_back(setting.bytes);
    std::ranges::sort(sizes);
    return sizes;
}

VirtualCameraModel virtualCameraModel(int number) {
    VirtualCameraModel model;
    model.number = number;
    model.manufacturer = "Tavelo";
    model.product = "Tavelo Virtual Camera " + std::to_string(number);
    model.serial = "TVC-" + std::to_string(1000 + number);
    model.locationID = locationOf(number);
    giveEntities(model);
    giveControls(model);
    model.offers = standardOffers();
    return model;
}

} // namespace tavelo
