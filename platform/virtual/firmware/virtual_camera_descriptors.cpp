// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/virtual_camera_descriptors.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/stream_negotiation.h"
#include "platform/virtual/firmware/virtual_unit.h"

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Appends one descriptor; its length byte is computed.
void append(Bytes& bytes, const Bytes& body) {
    bytes.push_back(static_cast<std::uint8_t>(body.size() + 1));
    bytes.insert(bytes.end(), body.begin(), body.end());
}

void setTotalLength(Bytes& bytes, std::size_t at, std::size_t length) {
    putLittleEndian(length, std::span(bytes).subspan(at, 2));
}

void appendInterface(Bytes& bytes, std::uint8_t number, std::uint8_t alternate, std::uint8_t endpoints,
                     std::uint8_t subClass) {
    append(bytes, {uvc::interfaceType, number, alternate, endpoints, uvc::videoClass, subClass, 0, 0});
}

void appendEndpoint(Bytes& bytes, const VirtualCameraModel& model, std::uint8_t attributes,
                    std::uint16_t maxPacketSize, std::uint8_t interval) {
    append(bytes, {uvc::endpointType, model.streamingEndpoint(), attributes, lowByte(maxPacketSize),
                   highByte(maxPacketSize), interval});
}

Bytes cameraTerminal(const VirtualCameraModel& model) {
    Bytes body{uvc::classInterfaceType, uvc::inputTerminal, model.terminalID};
    appendLittleEndian(body, uvc::cameraTerminal, 2);
    appendLittleEndian(body, 0, 8); // bAssocTerminal, iTerminal, focal lengths: unknown
    appendLittleEndian(body, 3, 1);
    appendLittleEndian(body, model.terminalControls, 3);
    return body;
}

Bytes processingUnit(const VirtualCameraModel& model) {
    Bytes body{uvc::classInterfaceType, uvc::processingUnit, model.unitID, model.terminalID, 0, 0, 2};
    appendLittleEndian(body, model.unitControls, 2);
    appendLittleEndian(body, 0, 2);
    return body;
}

Bytes outputTerminal(const VirtualCameraModel& model) {
    Bytes body{uvc::classInterfaceType, uvc::outputTerminal, model.outputTerminalID};
    appendLittleEndian(body, uvc::streamingTerminal, 2);
    body.insert(body.end(), {0, model.unitID, 0});
    return body;
}

// Beside the path of the picture, as in many cameras: nothing follows it.
Bytes extensionUnit(const VirtualCameraModel& model) {
    Bytes body{uvc::classInterfaceType, uvc::extensionUnit, model.extensionUnitID};
    body.insert(body.end(), virtualUnitGuid.begin(), virtualUnitGuid.end());
    constexpr std::uint8_t count = VirtualUnit::controlCount;
    body.insert(body.end(), {count, 1, model.unitID, 1, (1U << count) - 1, 0});
    return body;
}

void appendControlInterface(Bytes& bytes, const VirtualCameraModel& model) {
    appendInterface(bytes, model.controlInterface(), 0, 0, uvc::controlSubClass);
    const std::size_t start = bytes.size();
    Bytes header{
        uvc::classInterfaceType, uvc::controlHeader, lowByte(uvc::version11), highByte(uvc::version11), 0, 0};
    appendLittleEndian(header, streamClockFrequency, 4);
    appendLittleEndian(header, 1, 1); // one streaming interface
    appendLittleEndian(header, model.streamingInterface(), 1);
    append(bytes, header);
    append(bytes, cameraTerminal(model));
    append(bytes, processingUnit(model));
    append(bytes, outputTerminal(model));
    if (model.extensionUnitID != 0) append(bytes, extensionUnit(model));
    setTotalLength(bytes, start + 5, bytes.size() - start);
}

Bytes formatDescriptor(std::uint8_t index, std::span<const StreamOffer> offers) {
    const auto frames = static_cast<std::uint8_t>(offers.size());
    if (offers.front().encoding == StreamEncoding::mjpeg)
        return {uvc::classInterfaceType, uvc::mjpegFormat, index, frames, 0, 1, 0, 0, 0, 0};
    Bytes body{uvc::classInterfaceType, uvc::uncompressedFormat, index, frames};
    constexpr std::array<std::uint8_t, 16> yuy2{'Y',  'U',  'Y',  '2',  0x00, 0x00, 0x10, 0x00,
                                                0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    body.insert(body.end(), yuy2.begin(), yuy2.end());
    constexpr std::array<std::uint8_t, 6> rest{16, 1, 0, 0, 0, 0}; // bits per pixel, default frame
    body.insert(body.end(), rest.begin(), rest.end());
    return body;
}

Bytes frameDescriptor(std::uint8_t index, const StreamOffer& offer, StreamTransport transport) {
    const std::uint8_t subtype =
        offer.encoding == StreamEncoding::mjpeg ? uvc::mjpegFrame : uvc::uncompressedFrame;
    const std::uint32_t frameSize =
        streamFormat(offer, offer.frameIntervals.front(), transport, {}).maxFrameSize;
    const auto bitRate = [&](std::uint32_t interval) {
        return std::uint64_t{frameSize} * 8 * 10'000'000 / interval;
    };
    Bytes body{uvc::classInterfaceType, subtype, index, 0};
    appendLittleEndian(body, offer.width, 2);
    appendLittleEndian(body, offer.height, 2);
    appendLittleEndian(body, bitRate(offer.frameIntervals.back()), 4);
    appendLittleEndian(body, bitRate(offer.frameIntervals.front()), 4);
    appendLittleEndian(body, frameSize, 4);
    appendLittleEndian(body, offer.frameIntervals.front(), 4);
    body.push_back(static_cast<std::uint8_t>(offer.frameIntervals.size()));
    for (const std::uint32_t interval : offer.frameIntervals)
        appendLittleEndian(body, interval, 4);
    return body;
}

void appendFormats(Bytes& bytes, const VirtualCameraModel& model) {
    const auto formats = offersByFormat(model);
    const std::size_t start = bytes.size();
    Bytes header{uvc::classInterfaceType,
                 uvc::inputHeader,
                 static_cast<std::uint8_t>(formats.size()),
                 0,
                 0,
                 model.streamingEndpoint(),
                 0,
                 model.outputTerminalID,
                 0,
                 0,
                 0,
                 1};
    header.insert(header.end(), formats.size(), 0); // bmaControls
    append(bytes, header);
    std::uint8_t formatIndex = 0;
    for (const auto& offers : formats) {
        append(bytes, formatDescriptor(++formatIndex, offers));
        std::uint8_t frameIndex = 0;
        for (const StreamOffer& offer : offers)
            append(bytes, frameDescriptor(++frameIndex, offer, model.transport));
        append(bytes,
               {uvc::classInterfaceType, uvc::colourMatching, 1, 1, 4}); // colours: BT.709, BT.709, BT.601
    }
    setTotalLength(bytes, start + 4, bytes.size() - start);
}

void appendStreamingInterface(Bytes& bytes, const VirtualCameraModel& model) {
    const bool bulk = model.transport == StreamTransport::bulk;
    appendInterface(bytes, model.streamingInterface(), 0, bulk ? 1 : 0, uvc::streamingSubClass);
    appendFormats(bytes, model);
    if (bulk) {
        appendEndpoint(bytes, model, 0x02, 512, 0);
        return;
    }
    std::uint8_t alternate = 0;
    for (const std::uint16_t size : isochronousPacketSizes) {
        appendInterface(bytes, model.streamingInterface(), ++alternate, 1, uvc::streamingSubClass);
        appendEndpoint(bytes, model, 0x05, size, 1); // isochronous, asynchronous, every microframe
    }
}

// One character of UTF-8, removed from `text`; a question mark for what is none.
std::uint32_t takeCharacter(std::string_view& text) {
    const auto first = static_cast<std::uint8_t>(text.front());
    text.remove_prefix(1);
    if (first < 0x80) return first;
    const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || text.size() < more) return '?';
    std::uint32_t character = first & (0x3FU >> more);
    for (std::size_t i = 0; i < more; ++i) {
        const auto next = static_cast<std::uint8_t>(text[i]);
        if ((next & 0xC0U) != 0x80U) return '?';
        character = character << 6U | (next & 0x3FU);
    }
    text.remove_prefix(more);
    return character;
}

std::vector<std::uint16_t> utf16Of(std::string_view text) {
    std::vector<std::uint16_t> units;
    while (!text.empty()) {
        const std::uint32_t character = takeCharacter(text);
        if (character >= 0x10000) units.push_back(static_cast<std::uint16_t>(0xD7C0 + (character >> 10U)));
        units.push_back(
            static_cast<std::uint16_t>(character >= 0x10000 ? 0xDC00 | (character & 0x3FFU) : character));
    }
    return units;
}

struct StringIndexes {
    std::uint8_t manufacturer = manufacturerString;
    std::uint8_t product = productString;
    std::uint8_t serial = serialString;
};

StringIndexes stringIndexes(const VirtualCameraModel& model) {
    if (!model.recorded) return {};
    const auto& device = model.recorded->record.descriptors.device;
    if (device.size() < 17) return {0, 0, 0};
    return {device[14], device[15], device[16]};
}

} // namespace

std::vector<std::uint8_t> makeDeviceDescriptor(const VirtualCameraModel& model) {
    if (model.recorded) return model.recorded->record.descriptors.device;
    Bytes bytes;
    append(bytes, {uvc::deviceType, 0x00, 0x02, // USB 2.0
                   0xEF, 0x02, 0x01,            // class by interface association
                   64, lowByte(model.vendorID), highByte(model.vendorID), lowByte(model.productID),
                   highByte(model.productID), 0x00, 0x01, // release 1.0
                   manufacturerString, productString, serialString, 1});
    return bytes;
}

std::vector<std::uint8_t> makeConfigurationDescriptor(const VirtualCameraModel& model) {
    if (model.recorded) return model.recorded->record.descriptors.configuration;
    Bytes bytes;
    append(bytes, {uvc::configurationType, 0, 0, 2, 1, 0, 0x80, 250}); // two interfaces, bus-powered, 500 mA
    append(bytes, {uvc::associationType, model.controlInterface(), 2, uvc::videoClass,
                   uvc::collectionSubClass, 0, 0});
    appendControlInterface(bytes, model);
    appendStreamingInterface(bytes, model);
    setTotalLength(bytes, 2, bytes.size());
    if (model.alterConfiguration) model.alterConfiguration(bytes);
    return bytes;
}

std::vector<std::uint8_t> makeStringDescriptor(const VirtualCameraModel& model, std::uint8_t index) {
    Bytes bytes;
    if (index == 0) {
        append(bytes, {uvc::stringType, 0x09, 0x04}); // English, United States
        return bytes;
    }
    const StringIndexes indexes = stringIndexes(model);
    std::string text;
    if (index == indexes.manufacturer) text = model.manufacturer;
    if (index == indexes.serial) text = model.serial;
    if (index == indexes.product) text = model.product;
    if (text.empty()) return bytes;
    Bytes body{uvc::stringType};
    constexpr std::size_t longest = 126; // a descriptor's length is a byte
    const std::vector<std::uint16_t> units = utf16Of(text);
    for (const std::uint16_t unit : std::span(units).first(std::min(units.size(), longest)))
        appendLittleEndian(body, unit, 2);
    append(bytes, body);
    return bytes;
}

} // namespace tavelo
