// SPDX-License-Identifier: MIT
#include "platform/uvc/streaming_description.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/uvc/descriptor_walk.h"
#include "platform/uvc/guid.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Subtypes beyond those of uvc_protocol.h.
constexpr std::uint8_t transportStreamFormat = 0x0A;
constexpr std::uint8_t dvFormat = 0x0C;
constexpr std::uint8_t frameBasedFormat = 0x10;
constexpr std::uint8_t frameBasedFrame = 0x11;
constexpr std::uint8_t streamBasedFormat = 0x12;
constexpr std::uint8_t h264Format = 0x13;
constexpr std::uint8_t h264Frame = 0x14;
constexpr std::uint8_t h264SimulcastFormat = 0x15;
constexpr std::uint8_t vp8Format = 0x16;
constexpr std::uint8_t vp8Frame = 0x17;
constexpr std::uint8_t vp8SimulcastFormat = 0x18;

constexpr std::array formatSubtypes{
    uvc::uncompressedFormat, uvc::mjpegFormat, transportStreamFormat, dvFormat,  frameBasedFormat,
    streamBasedFormat,       h264Format,       h264SimulcastFormat,   vp8Format, vp8SimulcastFormat};

bool isFormat(std::uint8_t subtype) {
    return std::ranges::find(formatSubtypes, subtype) != formatSubtypes.end();
}

// Where the fields of a frame descriptor are.
struct FrameFields {
    std::uint8_t subtype;
    std::size_t size; // of the picture: width, then height
    std::size_t defaultInterval;
    std::size_t intervalCount;
    std::size_t intervals;
};
constexpr std::array frameFields{
    FrameFields{uvc::uncompressedFrame, 5, 21, 25, 26},
    FrameFields{uvc::mjpegFrame, 5, 21, 25, 26},
    FrameFields{frameBasedFrame, 5, 17, 21, 26},
    FrameFields{h264Frame, 4, 39, 43, 44},
    FrameFields{vp8Frame, 4, 26, 30, 31},
};

DescribedFormat readFormat(Bytes descriptor) {
    DescribedFormat format;
    format.subtype = descriptor[2];
    format.index = descriptor[3];
    const bool hasGuid = format.subtype == uvc::uncompressedFormat || format.subtype == frameBasedFormat;
    if (hasGuid && descriptor.size() >= 21) std::ranges::copy(descriptor.subspan(5, 16), format.guid.begin());
    return format;
}

std::optional<DescribedFrame> readFrame(Bytes descriptor) {
    const auto* fields = std::ranges::find(frameFields, descriptor[2], &FrameFields::subtype);
    if (fields == frameFields.end() || descriptor.size() < fields->intervals) return std::nullopt;
    DescribedFrame frame;
    frame.index = descriptor[3];
    frame.width = wordAt(descriptor, fields->size);
    frame.height = wordAt(descriptor, fields->size + 2);
    frame.defaultInterval = doubleWordAt(descriptor, fields->defaultInterval);
    frame.isContinuous = descriptor[fields->intervalCount] == 0;
    const std::size_t count = frame.isContinuous ? 3 : descriptor[fields->intervalCount];
    const std::size_t there = (descriptor.size() - fields->intervals) / 4;
    for (std::size_t i = 0; i < std::min(count, there); ++i)
        frame.intervals.push_back(doubleWordAt(descriptor, fields->intervals + 4 * i));
    return frame;
}

class Walk {
public:
    explicit Walk(std::uint8_t number) { found_.interface = number; }

    void read(Bytes descriptor) {
        switch (descriptor[1]) {
            case uvc::interfaceType:
                readInterface(descriptor);
                break;
            case uvc::endpointType:
                if (inside_ && descriptor.size() >= 7) readEndpoint(descriptor);
                break;
            case uvc::superSpeedCompanionType:
                if (descriptor.size() >= 6) widen(wordAt(descriptor, 4));
                break;
            case uvc::superSpeedPlusCompanionType:
                if (descriptor.size() >= 8) widen(doubleWordAt(descriptor, 4));
                break;
            case uvc::classInterfaceType:
                if (inside_ && descriptor.size() >= 4) readStreaming(descriptor);
                break;
            default:
                break;
        }
    }

    StreamingDescription result() { return std::move(found_); }

private:
    void readInterface(Bytes descriptor) {
        const auto interface = asInterface(descriptor);
        inside_ = interface && interface->isVideoStreaming() && interface->number == found_.interface;
        isochronousOpen_ = false;
        if (inside_) alternate_ = interface->alternateSetting;
    }

    void readStreaming(Bytes descriptor) {
        const std::uint8_t subtype = descriptor[2];
        if (subtype == uvc::inputHeader && descriptor.size() >= 7) found_.endpoint = descriptor[6];
        if (isFormat(subtype)) found_.formats.push_back(readFormat(descriptor));
        if (found_.formats.empty()) return;
        if (auto frame = readFrame(descriptor)) found_.formats.back().frames.push_back(std::move(*frame));
    }

    void readEndpoint(Bytes descriptor) {
        isochronousOpen_ = false;
        const std::uint8_t type = descriptor[3] & 3U;
        if ((descriptor[2] & uvc::directionIn) == 0 || (type != 1 && type != 2)) return;
        const bool isochronous = type == 1;
        const std::uint16_t told = wordAt(descriptor, 4);
        const std::uint32_t transactions = isochronous ? 1U + (told >> 11U & 3U) : 1U;
        found_.settings.push_back(
            {alternate_, descriptor[2],
             isochronous ? StreamingEndpointKind::isochronous : StreamingEndpointKind::bulk,
             (told & 0x07FFU) * transactions});
        isochronousOpen_ = isochronous;
    }

    // From USB 3 on, a companion descriptor after the endpoint says what an interval carries.
    void widen(std::uint32_t bytesPerInterval) {
        constexpr std::uint32_t most = 16U * 6 * 1024; // sixteen bursts, the maximum in any generation
        if (!isochronousOpen_) return;
        std::uint32_t& bytes = found_.settings.back().bytes;
        bytes = std::clamp(bytesPerInterval, bytes, most);
    }

    StreamingDescription found_;
    bool inside_ = false;
    std::uint8_t alternate_ = 0;
    bool isochronousOpen_ = false; // the last endpoint may still get a companion
};

bool isPrintable(std::uint8_t letter) {
    return letter > ' ' && letter < 0x7F;
}

} // namespace

std::string DescribedFormat::name() const {
    if (subtype == uvc::mjpegFormat) return "MJPEG";
    if (subtype == h264Format || subtype == h264SimulcastFormat) return "H.264";
    if (subtype == vp8Format || subtype == vp8SimulcastFormat) return "VP8";
    if (subtype == dvFormat) return "DV";
    if (subtype == transportStreamFormat) return "MPEG-2 TS";
    if (subtype == streamBasedFormat) return "stream";
    const auto letters = std::span(guid).first(4);
    if (std::ranges::all_of(letters, isPrintable)) return {letters.begin(), letters.end()};
    return guidText(guid);
}

StreamingDescription streamingDescription(Bytes configurationDescriptor, std::uint8_t interfaceNumber) {
    Walk walk(interfaceNumber);
    while (const auto descriptor = takeDescriptor(configurationDescriptor))
        walk.read(*descriptor);
    return walk.result();
}

} // namespace tavelo
