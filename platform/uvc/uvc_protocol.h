// SPDX-License-Identifier: MIT
// Numbers of USB and of the USB Video Class.
#pragma once

#include <cstdint>

namespace tavelo {

/// bRequest of a class request.
enum class UvcRequest : std::uint8_t {
    setCur = 0x01,
    getCur = 0x81,
    getMin = 0x82,
    getMax = 0x83,
    getRes = 0x84,
    getLen = 0x85,
    getInfo = 0x86,
    getDef = 0x87,
};

constexpr std::uint8_t codeOf(UvcRequest request) {
    return static_cast<std::uint8_t>(request);
}

namespace uvc {

// bmRequestType
inline constexpr std::uint8_t directionIn = 0x80; // of an endpoint's address too
inline constexpr std::uint8_t typeMask = 0x60;
inline constexpr std::uint8_t typeClass = 0x20;
inline constexpr std::uint8_t recipientMask = 0x1F;
inline constexpr std::uint8_t recipientDevice = 0;
inline constexpr std::uint8_t recipientInterface = 1;
inline constexpr std::uint8_t recipientEndpoint = 2;
inline constexpr std::uint8_t classInterfaceIn = 0xA1;
inline constexpr std::uint8_t classInterfaceOut = 0x21;

// Standard requests
inline constexpr std::uint8_t getStatus = 0;
inline constexpr std::uint8_t clearFeature = 1;
inline constexpr std::uint8_t setFeature = 3;
inline constexpr std::uint8_t setAddress = 5;
inline constexpr std::uint8_t getDescriptor = 6;
inline constexpr std::uint8_t getConfiguration = 8;
inline constexpr std::uint8_t setConfiguration = 9;
inline constexpr std::uint8_t getInterface = 10;
inline constexpr std::uint8_t setInterface = 11;

// Descriptor types
inline constexpr std::uint8_t deviceType = 0x01;
inline constexpr std::uint8_t configurationType = 0x02;
inline constexpr std::uint8_t stringType = 0x03;
inline constexpr std::uint8_t interfaceType = 0x04;
inline constexpr std::uint8_t endpointType = 0x05;
inline constexpr std::uint8_t associationType = 0x0B;
inline constexpr std::uint8_t classInterfaceType = 0x24;
inline constexpr std::uint8_t superSpeedCompanionType = 0x30;
inline constexpr std::uint8_t superSpeedPlusCompanionType = 0x31;

// Interface class and subclasses
inline constexpr std::uint8_t videoClass = 0x0E;
inline constexpr std::uint8_t controlSubClass = 0x01;
inline constexpr std::uint8_t streamingSubClass = 0x02;
inline constexpr std::uint8_t collectionSubClass = 0x03;

// bcdUVC
inline constexpr std::uint16_t version11 = 0x0110;
inline constexpr std::uint16_t version15 = 0x0150;

// Descriptor subtypes of a video-control interface
inline constexpr std::uint8_t controlHeader = 0x01;
inline constexpr std::uint8_t inputTerminal = 0x02;
inline constexpr std::uint8_t outputTerminal = 0x03;
inline constexpr std::uint8_t selectorUnit = 0x04;
inline constexpr std::uint8_t processingUnit = 0x05;
inline constexpr std::uint8_t extensionUnit = 0x06;

// Terminal types
inline constexpr std::uint16_t streamingTerminal = 0x0101;
inline constexpr std::uint16_t cameraTerminal = 0x0201;

// Descriptor subtypes of a video-streaming interface
inline constexpr std::uint8_t inputHeader = 0x01;
inline constexpr std::uint8_t uncompressedFormat = 0x04;
inline constexpr std::uint8_t uncompressedFrame = 0x05;
inline constexpr std::uint8_t mjpegFormat = 0x06;
inline constexpr std::uint8_t mjpegFrame = 0x07;
inline constexpr std::uint8_t colourMatching = 0x0D;

// GET_INFO
inline constexpr std::uint8_t infoGet = 0x01;
inline constexpr std::uint8_t infoSet = 0x02;
inline constexpr std::uint8_t infoDisabledByAutomatic = 0x04;
inline constexpr std::uint8_t infoAutoUpdate = 0x08;

// Values of the exposure mode; GET_RES returns the sum of those that the camera has
inline constexpr std::uint8_t manualExposure = 0x01;
inline constexpr std::uint8_t automaticExposure = 0x02;
inline constexpr std::uint8_t shutterPriority = 0x04;
inline constexpr std::uint8_t aperturePriority = 0x08;

// Request error code control: selector on the video-control interface itself, and its values
inline constexpr std::uint8_t requestErrorCodeControl = 0x02;
inline constexpr std::uint8_t errorNone = 0x00;
inline constexpr std::uint8_t errorNotReady = 0x01;
inline constexpr std::uint8_t errorWrongState = 0x02;
inline constexpr std::uint8_t errorOutOfRange = 0x04;
inline constexpr std::uint8_t errorInvalidUnit = 0x05;
inline constexpr std::uint8_t errorInvalidControl = 0x06;
inline constexpr std::uint8_t errorInvalidRequest = 0x07;
inline constexpr std::uint8_t errorUnknown = 0xFF;

// Selectors on a video-streaming interface
inline constexpr std::uint8_t probeControl = 0x01;
inline constexpr std::uint8_t commitControl = 0x02;

// bmHeaderInfo of a payload
inline constexpr std::uint8_t frameIdentifierBit = 0x01;
inline constexpr std::uint8_t endOfFrameBit = 0x02;
inline constexpr std::uint8_t presentationTimeBit = 0x04;
inline constexpr std::uint8_t sourceClockBit = 0x08;
inline constexpr std::uint8_t stillBit = 0x20;
inline constexpr std::uint8_t errorBit = 0x40;
inline constexpr std::uint8_t endOfHeaderBit = 0x80;

} // namespace uvc

} // namespace tavelo
