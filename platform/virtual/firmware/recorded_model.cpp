// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/recorded_model.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/uvc/descriptors.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/streaming_description.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {
namespace {

constexpr std::size_t deviceDescriptorLength = 18;
constexpr std::size_t configurationHeaderLength = 9;
constexpr std::uint32_t smallestSide = 16;
constexpr std::uint32_t longestSide = 8192;
constexpr std::uint32_t usualInterval = 333'333; // 30 frames a second, for a camera that names none
constexpr std::uint32_t shortestInterval = 10'000;
constexpr std::uint32_t longestInterval = 100'000'000; // ten seconds

std::optional<StreamEncoding> encodingOf(const DescribedFormat& format) {
    if (format.subtype == uvc::mjpegFormat) return StreamEncoding::mjpeg;
    if (format.subtype != uvc::uncompressedFormat) return std::nullopt;
    constexpr std::array<std::uint8_t, 12> tail{0x00, 0x00, 0x10, 0x00, 0x80, 0x00,
                                                0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    const std::string name = format.name();
    const bool isYuyv =
        (name == "YUY2" || name == "YUYV") && std::ranges::equal(std::span(format.guid).subspan(4), tail);
    return isYuyv ? std::optional(StreamEncoding::yuyv) : std::nullopt;
}

bool isDrawable(const DescribedFrame& frame) {
    const auto fits = [](std::uint32_t side) { return side >= smallestSide && side <= longestSide; };
    return fits(frame.width) && fits(frame.height) && frame.width % 2 == 0;
}

// The default first.  Of a continuous range, its ends.
std::vector<std::uint32_t> intervalsOf(const DescribedFrame& frame) {
    std::vector<std::uint32_t> intervals{frame.defaultInterval};
    const std::size_t count =
        frame.isContinuous ? std::min<std::size_t>(2, frame.intervals.size()) : frame.intervals.size();
    for (std::size_t i = 0; i < count; ++i)
        if (std::ranges::find(intervals, frame.intervals[i]) == intervals.end())
            intervals.push_back(frame.intervals[i]);
    std::erase_if(intervals,
                  [](std::uint32_t each) { return each < shortestInterval || each > longestInterval; });
    if (intervals.empty()) intervals.push_back(usualInterval);
    return intervals;
}

void addOffers(VirtualCameraModel& model, RecordedCamera& camera) {
    for (const DescribedFormat& format : camera.stream.formats) {
        const auto encoding = encodingOf(format);
        if (!encoding) camera.undrawnFormats.set(format.index);
        if (!encoding) continue;
        for (const DescribedFrame& frame : format.frames)
            if (isDrawable(frame))
                model.offers.push_back(
                    {*encoding, frame.width, frame.height, intervalsOf(frame), format.index, frame.index});
    }
}

void keepStreamSettings(VirtualCameraModel& model, StreamingDescription& stream) {
    const auto isNamed = [&](const DescribedSetting& each) { return each.endpoint == stream.endpoint; };
    if (std::ranges::any_of(stream.settings, isNamed))
        std::erase_if(stream.settings, [&](const auto& each) { return !isNamed(each); });
    const bool isochronous = std::ranges::any_of(stream.settings, [](const DescribedSetting& each) {
        return each.kind == StreamingEndpointKind::isochronous;
    });
    model.transport = isochronous ? StreamTransport::isochronous : StreamTransport::bulk;
}

std::vector<std::uint8_t> entitiesOf(const CameraRecord& record) {
    std::vector<std::uint8_t> ids;
    for (const auto descriptor :
         videoControlDescriptors(record.descriptors.configuration, record.controlInterface)) {
        const bool named = descriptor.size() >= 4 && descriptor[2] != uvc::controlHeader;
        if (named && std::ranges::find(ids, descriptor[3]) == ids.end()) ids.push_back(descriptor[3]);
    }
    return ids;
}

bool isUsable(const CameraRecord& record, Error& error) {
    const auto& [device, configuration] = record.descriptors;
    const auto functions = videoControlInterfaces(configuration);
    error = {ErrorCode::invalid, {}};
    if (device.size() != deviceDescriptorLength || device[1] != uvc::deviceType)
        error.text = "the device descriptor is malformed";
    else if (configuration.size() < configurationHeaderLength ||
             configuration.size() > longestConfiguration || configuration[1] != uvc::configurationType)
        error.text = "the configuration descriptor is malformed";
    else if (std::ranges::find(functions, record.controlInterface) == functions.end())
        error.text = "interface " + std::to_string(record.controlInterface) +
                     " is no video-control interface of the recorded camera";
    else
        error = {};
    return error.code == ErrorCode::none;
}

} // namespace

std::optional<VirtualCameraModel> modelLike(const CameraRecord& record, int number, Error& error) {
    if (!isUsable(record, error)) return std::nullopt;
    const auto& [device, configuration] = record.descriptors;
    const BusProberDevice probed = probeDescriptors(device, configuration, record.controlInterface);
    const UsbVideoFunction function = videoFunctionOf(configuration, record.controlInterface);
    auto camera = std::make_shared<RecordedCamera>();
    camera->record = record;
    camera->entities = entitiesOf(record);

    VirtualCameraModel model;
    model.number = number;
    model.vendorID = probed.vendorID;
    model.productID = probed.productID;
    model.product = record.product;
    model.locationID = virtualCameraModel(number).locationID;
    model.speed = record.speed;
    // An entity that is missing gets an identifier that no request can name.
    model.terminalID = static_cast<std::uint8_t>(std::max(probed.terminalID, 0));
    model.unitID = static_cast<std::uint8_t>(std::max(probed.unitID, 0));
    model.outputTerminalID = 0;
    if (!function.streamingInterfaces.empty()) {
        camera->hasStream = true;
        camera->stream = streamingDescription(configuration, function.streamingInterfaces.front());
        addOffers(model, *camera);
        keepStreamSettings(model, camera->stream);
    }
    model.recorded = std::move(camera);
    return model;
}

} // namespace tavelo
