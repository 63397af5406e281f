// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/stream_negotiation.h"

#include <algorithm>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/usb_video_function.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"

namespace tavelo {
namespace {

constexpr std::size_t probeSizeVersion10 = 26; // hosts of version 1.0 send this much
constexpr std::size_t probeSizeVersion15 = 48;
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

std::uint32_t isochronousPayload(const StreamOffer& offer, std::uint32_t interval,
                                 std::span<const std::uint32_t> sizes) {
    const std::uint64_t bytesPerSecond = expectedFrame(offer) * unitsPerSecond / interval;
    const std::uint64_t needed = bytesPerSecond / microframesPerSecond * 21 / 20 + payloadHeader;
    for (const std::uint32_t size : sizes)
        if (size >= needed) return size;
    return sizes.empty() ? 0 : sizes.back();
}

// The offers with the indexes that the descriptors give them.
std::vector<StreamOffer> indexedOffers(const VirtualCameraModel& model) {
    if (model.recorded) return model.offers;
    std::vector<StreamOffer> indexed;
    std::uint8_t format = 0;
    for (const auto& group : offersByFormat(model)) {
        ++format;
        std::uint8_t frame = 0;
        for (const StreamOffer& offer : group) {
            indexed.push_back(offer);
            indexed.back().formatIndex = format;
            indexed.back().frameIndex = ++frame;
        }
    }
    return indexed;
}

std::size_t probeSizeOf(const VirtualCameraModel& model) {
    if (!model.recorded) return StreamNegotiation::probeSize;
    const CameraRecord& record = model.recorded->record;
    const auto version =
        videoFunctionOf(record.descriptors.configuration, record.controlInterface).classVersion;
    if (version >= uvc::version15) return probeSizeVersion15;
    return version >= uvc::version11 ? StreamNegotiation::probeSize : probeSizeVersion10;
}

} // namespace

StreamFormat streamFormat(const StreamOffer& offer, std::uint32_t interval, StreamTransport transport,
                          std::span<const std::uint32_t> payloadSizes) {
    StreamFormat format{offer.encoding, offer.width, offer.height, interval, largestFrame(offer), 0};
    format.maxPayload = transport == StreamTransport::bulk
                            ? std::min(format.maxFrameSize + payloadHeader, bulkPayload)
                            : isochronousPayload(offer, interval, payloadSizes);
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
    : offers_(indexedOffers(model)),
      transport_(model.transport),
      payloadSizes_(model.payloadSizes()),
      undrawnFormats_(model.recorded ? model.recorded->undrawnFormats : std::bitset<256>()),
      probeSize_(probeSizeOf(model)),
      probe_(choose(0, 0, 0)) {}

StreamNegotiation::Choice StreamNegotiation::choose(std::uint8_t format, std::uint8_t frame,
                                                    std::uint32_t interval) const {
    Choice choice;
    if (offers_.empty()) return choice;
    auto offer = std::ranges::find(offers_, format, &StreamOffer::formatIndex);
    if (offer == offers_.end()) offer = offers_.begin();
    const auto exact = std::ranges::find_if(offers_, [&](const StreamOffer& each) {
        return each.formatIndex == offer->formatIndex && each.frameIndex == frame;
    });
    if (exact != offers_.end()) offer = exact;
    choice.format = offer->formatIndex;
    choice.frame = offer->frameIndex;
    std::uint32_t nearest = offer->frameIntervals.front();
    const auto distance = [interval](std::uint32_t a) { return a > interval ? a - interval : interval - a; };
    for (const std::uint32_t candidate : offer->frameIntervals)
        if (interval != 0 && distance(candidate) < distance(nearest)) nearest = candidate;
    choice.stream = streamFormat(*offer, nearest, transport_, payloadSizes_);
    return choice;
}

std::vector<std::uint8_t> StreamNegotiation::encode(const Choice& choice) const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(probeSizeVersion15);
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
    bytes.resize(probeSize_);        // what version 1.5 adds concerns formats that are not drawn
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
            return {0, {static_cast<std::uint8_t>(probeSize_), 0}};
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
    if (bytes.size() < probeSizeVersion10 || offers_.empty()) return {uvc::errorUnknown, {}};
    if (undrawnFormats_[bytes[2]]) return {uvc::errorOutOfRange, {}};
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
