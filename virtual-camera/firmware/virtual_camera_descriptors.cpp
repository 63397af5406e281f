// SPDX-License-Identifier: MIT
#include "virtual-camera/firmware/virtual_camera_descriptors.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>

#include "virtual-camera/firmware/byte_order.h"
#include "virtual-camera/firmware/stream_negotiation.h"
#include "virtual-camera/firmware/uvc_protocol.h"

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Descriptor types
constexpr std::uint8_t deviceType = 0x01;
constexpr std::uint8_t configurationType = 0x02;
constexpr std::uint8_t stringType = 0x03;
constexpr std::uint8_t interfaceType = 0x04;
constexpr std::uint8_t endpointType = 0x05;
constexpr std::uint8_t associationType = 0x0B;
constexpr std::uint8_t classInterfaceType = 0x24;

constexpr std::uint8_t videoClass = 0x0E;
constexpr std::uint8_t controlSubClass = 0x01;
constexpr std::uint8_t streamingSubClass = 0x02;
constexpr std::uint8_t collectionSubClass = 0x03;

constexpr std::uint16_t classVersion = 0x0110;

constexpr std::uint8_t low(std::uint32_t value) {
    return static_cast<std::uint8_t>(value);
}
constexpr std::uint8_t high(std::uint32_t value) {
    return static_cast<std::uint8_t>(value >> 8U);
}

// Appends one descriptor; its length byte is computed.
void append(Bytes& bytes, const Bytes& body) {
    bytes.push_back(static_cast<std::uint8_t>(body.size() + 1));
    bytes.insert(bytes.end(), body.begin(), body.end());
}

void setTotalLength(Bytes& bytes, std::size_t at, std::size_t length) {
    bytes[at] = low(static_cast<std::uint32_t>(length));
    bytes[at + 1] = high(static_cast<std::uint32_t>(length));
}

void appendInterface(Bytes& bytes, std::uint8_t number, std::uint8_t alternate, std::uint8_t endpoints,
                     std::uint8_t subClass) {
    append(bytes, {interfaceType, number, alternate, endpoints, videoClass, subClass, 0, 0});
}

void appendEndpoint(Bytes& bytes, const VirtualCameraModel& model, std::uint8_t attributes,
                    std::uint16_t maxPacketSize, std::uint8_t interval) {
    append(bytes, {endpointType, model.streamingEndpoint(), attributes, low(maxPacketSize),
                   high(maxPacketSize), interval});
}

Bytes cameraTerminal(const VirtualCameraModel& model) {
    const std::uint32_t map = model.terminalControls;
    return {classInterfaceType,
            0x02,
            model.terminalID,
            0x01,
            0x02, // ITT_CAMERA
            0,
            0, // bAssocTerminal, iTerminal
            0,
            0,
            0,
            0,
            0,
            0, // focal lengths: unknown
            3,
            low(map),
            high(map),
            low(map >> 16U)};
}

Bytes processingUnit(const VirtualCameraModel& model) {
    const std::uint32_t map = model.unitControls;
    return {classInterfaceType, 0x05, model.unitID, model.terminalID, 0, 0, 2, low(map), high(map), 0, 0};
}

Bytes outputTerminal(const VirtualCameraModel& model) {
    return {classInterfaceType, 0x03, model.outputTerminalID, 0x01, 0x01, 0, model.unitID, 0}; // TT_STREAMING
}

void appendControlInterface(Bytes& bytes, const VirtualCameraModel& model) {
    appendInterface(bytes, model.controlInterface(), 0, 0, controlSubClass);
    const std::size_t start = bytes.size();
    Bytes header{classInterfaceType, 0x01, low(classVersion), high(classVersion), 0, 0};
    appendLittleEndian(header, streamClockFrequency, 4);
    appendLittleEndian(header, 1, 1); // one streaming interface
    appendLittleEndian(header, model.streamingInterface(), 1);
    append(bytes, header);
    append(bytes, cameraTerminal(model));
    append(bytes, processingUnit(model));
    append(bytes, outputTerminal(model));
    setTotalLength(bytes, start + 5, bytes.size() - start);
}

Bytes formatDescriptor(std::uint8_t index, std::span<const StreamOffer> offers) {
    const auto frames = static_cast<std::uint8_t>(offers.size());
    if (offers.front().encoding == StreamEncoding::mjpeg)
        return {classInterfaceType, 0x06, index, frames, 0, 1, 0, 0, 0, 0};
    Bytes body{classInterfaceType, 0x04, index, frames};
    constexpr std::array<std::uint8_t, 16> yuy2{'Y',  'U',  'Y',  '2',  0x00, 0x00, 0x10, 0x00,
                                                0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    body.insert(body.end(), yuy2.begin(), yuy2.end());
    constexpr std::array<std::uint8_t, 6> rest{16, 1, 0, 0, 0, 0}; // bits per pixel, default frame
    body.insert(body.end(), rest.begin(), rest.end());
    return body;
}

Bytes frameDescriptor(std::uint8_t index, const StreamOffer& offer, StreamTransport transport) {
    const std::uint8_t subtype = offer.encoding == StreamEncoding::mjpeg ? 0x07 : 0x05;
    const std::uint32_t frameSize = streamFormat(offer, offer.frameIntervals.front(), transport).maxFrameSize;
    const auto bitRate = [&](std::uint32_t interval) {
        return std::uint64_t{frameSize} * 8 * 10'000'000 / interval;
    };
    Bytes body{classInterfaceType, subtype, index, 0};
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
    Bytes header{classInterfaceType,
                 0x01,
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
        append(bytes, {classInterfaceType, 0x0D, 1, 1, 4}); // colours: BT.709, BT.709, BT.601
    }
    setTotalLength(bytes, start + 4, bytes.size() - start);
}

void appendStreamingInterface(Bytes& bytes, const VirtualCameraModel& model) {
    const bool bulk = model.transport == StreamTransport::bulk;
    appendInterface(bytes, model.streamingInterface(), 0, bulk ? 1 : 0, streamingSubClass);
    appendFormats(bytes, model);
    if (bulk) {
        appendEndpoint(bytes, model, 0x02, 512, 0);
        return;
    }
    std::uint8_t alternate = 0;
    for (const std::uint16_t size : isochronousPacketSizes) {
        appendInterface(bytes, model.streamingInterface(), ++alternate, 1, streamingSubClass);
        appendEndpoint(bytes, model, 0x05, size, 1); // isochronous, asynchronous, every microframe
    }
}

} // namespace

std::vector<std::uint8_t> makeDeviceDescriptor(const VirtualCameraModel& model) {
    Bytes bytes;
    append(bytes, {deviceType, 0x00, 0x02, // USB 2.0
                   0xEF, 0x02, 0x01,       // class by interface association
                   64, low(model.vendorID), high(model.vendorID), low(model.productID), high(model.productID),
                   0x00, 0x01, // release 1.0
                   manufacturerString, productString, serialString, 1});
    return bytes;
}

std::vector<std::uint8_t> makeConfigurationDescriptor(const VirtualCameraModel& model) {
    Bytes bytes;
    append(bytes, {configurationType, 0, 0, 2, 1, 0, 0x80, 250}); // two interfaces, bus-powered, 500 mA
    append(bytes, {associationType, model.controlInterface(), 2, videoClass, collectionSubClass, 0, 0});
    appendControlInterface(bytes, model);
    appendStreamingInterface(bytes, model);
    setTotalLength(bytes, 2, bytes.size());
    if (model.alterConfiguration) model.alterConfiguration(bytes);
    return bytes;
}

std::vector<std::uint8_t> makeStringDescriptor(const VirtualCameraModel& model, std::uint8_t index) {
    Bytes bytes;
    if (index == 0) {
        append(bytes, {stringType, 0x09, 0x04}); // English, United States
        return bytes;
    }
    std::string text;
    if (index == manufacturerString) text = model.manufacturer;
    if (index == productString) text = model.product;
    if (index == serialString) text = model.serial;
    if (text.empty()) return bytes;
    Bytes body{stringType};
    for (const char letter : text.substr(0, 126))
        appendLittleEndian(body, static_cast<std::uint8_t>(letter), 2);
    append(bytes, body);
    return bytes;
}

} // namespace tavelo
