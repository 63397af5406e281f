// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/streaming_descriptors.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "platform/common/frame_bounds.h"
#include "platform/uvc/descriptor_walk.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Subtypes of formats that we cannot use.
constexpr std::array<std::uint8_t, 7> otherFormats{0x0A, 0x0C, 0x10, 0x12, 0x13, 0x15, 0x16};

// Most of the class's format identifiers are a four-character code and this tail.
constexpr std::array<std::uint8_t, 12> commonTail{0x00, 0x00, 0x10, 0x00, 0x80, 0x00,
                                                  0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// Infrared cameras made for one desktop system have a different tail.
constexpr std::array<std::uint8_t, 12> infraredTail{0x02, 0x00, 0x10, 0x00, 0x80, 0x00,
                                                    0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr Fourcc numberedGrey = 50; // 8 bits of luminance, in both

Fourcc formatOf(Bytes guid) {
    const Fourcc code = doubleWordAt(guid, 0);
    const Bytes tail = guid.subspan(4);
    if (code == numberedGrey && std::ranges::equal(tail, infraredTail)) return fourcc::grey;
    if (!std::ranges::equal(tail, commonTail)) return 0;
    switch (code) {
        case makeFourcc('Y', 'U', 'Y', '2'):
        case fourcc::yuyv:
            return fourcc::yuyv;
        case fourcc::uyvy:
        case fourcc::nv12:
            return code;
        case makeFourcc('I', '4', '2', '0'):
            return fourcc::i420;
        case makeFourcc('Y', '8', '0', '0'):
        case makeFourcc('Y', '8', ' ', ' '):
        case numberedGrey:
            return fourcc::grey;
        default:
            return 0;
    }
}

// bMatrixCoefficients: 1 is BT.709; 5 is SMPTE 240M, which differs from it by less than most cameras'
// noise.
YuvMatrix matrixOf(std::uint8_t coefficients) {
    return coefficients == 1 || coefficients == 5 ? YuvMatrix::bt709 : YuvMatrix::bt601;
}

class Walk {
public:
    explicit Walk(std::uint8_t number) : number_(number) {}

    void read(Bytes descriptor) {
        switch (descriptor[1]) {
            case uvc::interfaceType:
                readInterface(descriptor);
                break;
            case uvc::endpointType:
                readEndpoint(descriptor);
                break;
            case uvc::superSpeedCompanionType:
                if (descriptor.size() >= 6) widenEndpoint(wordAt(descriptor, 4));
                break;
            case uvc::superSpeedPlusCompanionType:
                if (descriptor.size() >= 8) widenEndpoint(doubleWordAt(descriptor, 4));
                break;
            case uvc::classInterfaceType:
                if (descriptor.size() < 3) break;
                if (place_ == Place::control) readControlHeader(descriptor);
                if (place_ == Place::streaming) readStreaming(descriptor);
                break;
            default:
                break;
        }
    }

    UvcStreamingInterface result() {
        // Still pictures may have their own endpoint besides the one that the header names.
        const auto isNamed = [this](const UvcStreamSetting& s) { return s.endpoint == namedEndpoint_; };
        if (std::ranges::any_of(found_.settings, isNamed))
            std::erase_if(found_.settings, [&](const auto& setting) { return !isNamed(setting); });
        return std::move(found_);
    }

private:
    enum class Place : std::uint8_t { elsewhere, control, streaming };

    void readInterface(Bytes descriptor) {
        place_ = Place::elsewhere;
        format_ = 0;
        lastIsochronous_ = nullptr;
        const auto interface = asInterface(descriptor);
        if (!interface) return;
        alternate_ = interface->alternateSetting;
        if (interface->isVideoControl()) place_ = Place::control;
        if (interface->isVideoStreaming() && interface->number == number_) place_ = Place::streaming;
    }

    // A device with two cameras has two headers; ours is the one that lists our interface.
    void readControlHeader(Bytes descriptor) {
        if (descriptor[2] != uvc::controlHeader || descriptor.size() < 5) return;
        const Bytes listed = countedBytes(descriptor, 11);
        const bool ours = std::ranges::find(listed, number_) != listed.end();
        if (!ours && hasVersion_) return;
        found_.version = wordAt(descriptor, 3);
        hasVersion_ = true;
    }

    void readStreaming(Bytes descriptor) {
        const std::uint8_t subtype = descriptor[2];
        if (subtype == uvc::inputHeader && descriptor.size() >= 7) namedEndpoint_ = descriptor[6];
        if (subtype == uvc::uncompressedFormat || subtype == uvc::mjpegFormat) readFormat(descriptor);
        if (std::ranges::find(otherFormats, subtype) != otherFormats.end()) format_ = 0;
        if (subtype == frameSubtype_ && format_ != 0) readFrame(descriptor);
        if (subtype == uvc::colourMatching && descriptor.size() >= 6) readColours(descriptor[5]);
    }

    void readFormat(Bytes descriptor) {
        format_ = 0;
        firstOfFormat_ = found_.offers.size();
        if (descriptor.size() < 5) return;
        formatIndex_ = descriptor[3];
        if (descriptor[2] == uvc::mjpegFormat) {
            format_ = fourcc::mjpeg;
            frameSubtype_ = uvc::mjpegFrame;
        } else if (descriptor.size() >= 21) {
            format_ = formatOf(descriptor.subspan(5, 16));
            frameSubtype_ = uvc::uncompressedFrame;
        }
    }

    void readFrame(Bytes descriptor) {
        constexpr std::size_t fixedPart = 26;
        if (descriptor.size() < fixedPart) return;
        UvcFrameOffer offer;
        offer.formatIndex = formatIndex_;
        offer.frameIndex = descriptor[3];
        offer.format = format_;
        offer.size = {wordAt(descriptor, 5), wordAt(descriptor, 7)};
        offer.maxFrameSize = doubleWordAt(descriptor, 17);
        offer.defaultInterval = doubleWordAt(descriptor, 21);
        offer.intervals = intervalsOf(descriptor.subspan(fixedPart), descriptor[25]);
        if (isShowable(offer.size)) found_.offers.push_back(std::move(offer));
    }

    // @param count how many follow; 0: the shortest, the longest and the step
    static std::vector<FrameIntervalRange> intervalsOf(Bytes bytes, std::size_t count) {
        std::vector<FrameIntervalRange> intervals;
        const auto at = [&](std::size_t index) {
            return FrameInterval{doubleWordAt(bytes, 4 * index), intervalUnits};
        };
        const std::size_t there = bytes.size() / 4;
        if (count == 0 && there >= 2 && at(0).numerator > 0 && at(0).numerator <= at(1).numerator)
            intervals.push_back({at(0), at(1)});
        for (std::size_t i = 0; i < std::min(count, there); ++i)
            if (at(i).numerator > 0) intervals.push_back({at(i), at(i)});
        return intervals;
    }

    void readColours(std::uint8_t coefficients) {
        for (std::size_t i = firstOfFormat_; i < found_.offers.size(); ++i)
            found_.offers[i].matrix = matrixOf(coefficients);
    }

    void readEndpoint(Bytes descriptor) {
        lastIsochronous_ = nullptr;
        if (place_ != Place::streaming || descriptor.size() < 7) return;
        const std::uint8_t type = descriptor[3] & 3U;
        if ((descriptor[2] & uvc::directionIn) == 0 || (type != 1 && type != 2)) return;
        const std::uint16_t told = wordAt(descriptor, 4);
        const bool isochronous = type == 1;
        const std::uint32_t transactions = isochronous ? 1U + (told >> 11U & 3U) : 1U;
        const std::uint32_t size = (told & 0x07FFU) * transactions;
        if (size == 0) return;
        found_.settings.push_back({alternate_, descriptor[2],
                                   isochronous ? UvcEndpointKind::isochronous : UvcEndpointKind::bulk, size});
        if (isochronous) lastIsochronous_ = &found_.settings.back();
    }

    // From USB 3 on, a companion descriptor after the endpoint says what an interval carries.
    void widenEndpoint(std::uint32_t bytesPerInterval) {
        constexpr std::uint32_t most = 16U * 6 * 1024; // sixteen bursts, the maximum in any generation
        if (lastIsochronous_ != nullptr)
            lastIsochronous_->packetSize = std::clamp(bytesPerInterval, lastIsochronous_->packetSize, most);
    }

    const std::uint8_t number_;
    UvcStreamingInterface found_;
    bool hasVersion_ = false;

    Place place_ = Place::elsewhere;
    std::uint8_t alternate_ = 0;
    std::uint8_t namedEndpoint_ = 0;
    UvcStreamSetting* lastIsochronous_ = nullptr; // until the next endpoint or interface

    Fourcc format_ = 0; // 0: its frames are ignored
    std::uint8_t formatIndex_ = 0;
    std::uint8_t frameSubtype_ = 0;
    std::size_t firstOfFormat_ = 0;
};

} // namespace

UvcStreamingInterface streamingInterfaceOf(Bytes configurationDescriptor, std::uint8_t interfaceNumber) {
    Walk walk(interfaceNumber);
    while (const auto descriptor = takeDescriptor(configurationDescriptor))
        walk.read(*descriptor);
    return walk.result();
}

const UvcStreamSetting* settingFor(const UvcStreamingInterface& interface, std::uint32_t payloadSize) {
    const UvcStreamSetting* best = nullptr;
    bool isochronous = false;
    for (const UvcStreamSetting& setting : interface.settings) {
        if (setting.kind != UvcEndpointKind::isochronous) continue;
        isochronous = true;
        if (setting.packetSize >= payloadSize && (best == nullptr || setting.packetSize < best->packetSize))
            best = &setting;
    }
    if (isochronous) return best;
    return interface.settings.empty() ? nullptr : &interface.settings.front();
}

} // namespace tavelo
