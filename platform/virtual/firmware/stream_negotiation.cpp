// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/stream_negotiation.h"

#include <algorithm>

#include "platform/uvc/little_endian.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"

namespace tavelo {
namespace {

constexpr std::size_t probeSizeVersion10 = 26; // hosts of version 1.0 send this much
constexpr std::uint32_t payloadHeader = 12;
constexpr std::uint32_t bulkPayload = 32'768;
constexpr std::uint64_t microframesPerSecond = 8000;
constexpr std::uint64_t unitsPerSecond = 10'000'000; // of 100 ns

std::uint32_t largestFrame(const StreamOffer& offer) {
    const std::uint32_t pixels = std::uint32_t{offer.width} * offer.height;
    return offer.encoding == StreamEncoding::yuyv ? 2 * pixels : pixels;
}

// JPEG stays far below the largest frame; reserving bandwidth for that would leave none for a second camera.
std::uint32_t expectedFrame(const StreamOffer& offer) {
    const std::uint32_t largest = largestFrame(offer);
    return offer.encoding == StreamEncoding::yuyv ? largest : largest / 4;
}

std::uint32_t isochronousPayload(const StreamOffer& offer, std::uint32_t interval) {
    const std::uint64_t bytesPerSecond = expectedFrame(offer) * unitsPerSecond / interval;
    const std::uint64_t needed = bytesPerSecond / microframesPerSecond * 21 / 20 + payloadHeader;
    for (const std::uint16_t size : isochronousPacketSizes)
        if (bytesPerMicroframe(size) >= needed) return bytesPerMicroframe(size);
    return bytesPerMicroframe(isochronousPacketSizes.back());
}

} // namespace

StreamFormat streamFormat(const StreamOffer& offer, std::uint32_t interval, StreamTransport transport) {
    StreamFormat format{offer.encoding, offer.width, offer.height, interval, largestFrame(offer), 0};
    format.maxPayload = transport == StreamTransport::bulk
                            ? std::min(format.maxFrameSize + payloadHeader, bulkPayload)
                            : isochronousPayload(offer, interval);
    return format;
}

std::vector<std::vector<StreamOffer>> offersByFormat(const VirtualCameraModel& model) {
    std::vector<std::vector<StreamOffer>> formats;
    for (const StreamOffer& offer : model.offers) {
        const auto same = [&](const auto& group) { return group.front().encoding == offer.encoding; };
        const auto group = std::ranges::find_if(formats, same);
        if (group != formats.end())
            group->push_back(offer);
        else
            formats.push_back({offer});
    }
    return formats;
}

StreamNegotiation::StreamNegotiation(const VirtualCameraModel& model)
    : formats_(offersByFormat(model)),
      transport_(model.transport),
      probe_(choose(1, 1, 0)) {}

StreamNegotiation::Choice StreamNegotiation::choose(std::uint8_t format, std::uint8_t frame,
                                                    std::uint32_t interval) const {
    Choice choice;
    if (formats_.empty()) return choice;
    choice.format = format >= 1 && format <= formats_.size() ? format : std::uint8_t{1};
    const auto& offers = formats_[choice.format - 1U];
    choice.frame = frame >= 1 && frame <= offers.size() ? frame : std::uint8_t{1};
    const StreamOffer& offer = offers[choice.frame - 1U];
    std::uint32_t nearest = offer.frameIntervals.front();
    const auto distance = [interval](std::uint32_t a) { return a > interval ? a - interval : interval - a; };
    for (const std::uint32_t candidate : offer.frameIntervals)
        if (interval != 0 && distance(candidate) < distance(nearest)) nearest = candidate;
    choice.stream = streamFormat(offer, nearest, transport_);
    return choice;
}

std::vector<std::uint8_t> StreamNegotiation::encode(const Choice& choice) const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(probeSize);
    appendLittleEndian(bytes, 1, 2); // bmHint: keep the frame interval
    appendLittleEndian(bytes, choice.format, 1);
    appendLittleEndian(bytes, choice.frame, 1);
    appendLittleEndian(bytes, choice.stream.frameInterval, 4);
    appendLittleEndian(bytes, 0, 8);  // wKeyFrameRate, wPFrameRate, wCompQuality, wCompWindowSize
    appendLittleEndian(bytes, 32, 2); // wDelay in milliseconds
    appendLittleEndian(bytes, choice.stream.maxFrameSize, 4);
    appendLittleEndian(bytes, choice.stream.maxPayload, 4);
    appendLittleEndian(bytes, streamClockFrequency, 4);
    appendLittleEndian(bytes, 3, 1); // bmFramingInfo: frame identifier and end of frame are used
    appendLittleEndian(bytes, 0, 3); // payload versions: none
    return bytes;
}

StreamNegotiation::Result StreamNegotiation::read(std::uint8_t selector, UvcRequest request) const {
    if (selector != uvc::probeControl && selector != uvc::commitControl)
        return {uvc::errorInvalidControl, {}};
    switch (request) {
        case UvcRequest::getCur:
            return {0, encode(probe_)};
        case UvcRequest::getMin:
        case UvcRequest::getMax:
        case UvcRequest::getDef:
        case UvcRequest::getRes:
            if (selector == uvc::probeControl) return {0, encode(choose(probe_.format, probe_.frame, 0))};
            break;
        case UvcRequest::getLen:
            return {0, {static_cast<std::uint8_t>(probeSize), 0}};
        case UvcRequest::getInfo:
            return {0, {static_cast<std::uint8_t>(uvc::infoGet | uvc::infoSet)}};
        default:
            break;
    }
    return {uvc::errorInvalidRequest, {}};
}

StreamNegotiation::Result StreamNegotiation::write(std::uint8_t selector,
                                                   std::span<const std::uint8_t> bytes) {
    if (selector != uvc::probeControl && selector != uvc::commitControl)
        return {uvc::errorInvalidControl, {}};
    if (bytes.size() < probeSizeVersion10 || formats_.empty()) return {uvc::errorUnknown, {}};
    const auto interval = doubleWordAt(bytes, 4);
    const Choice choice = choose(bytes[2], bytes[3], interval);
    if (selector == uvc::commitControl) {
        const bool exact =
            choice.format == bytes[2] && choice.frame == bytes[3] && choice.stream.frameInterval == interval;
        if (!exact) return {uvc::errorOutOfRange, {}};
        committed_ = choice.stream;
    }
    probe_ = choice;
    return {};
}

} // namespace tavelo
