// SPDX-License-Identifier: MIT
// Constants of USB and of the USB Video Class that a camera needs.
#pragma once

#include <cstdint>

namespace tavelo::uvc {

// bmRequestType
inline constexpr std::uint8_t directionIn = 0x80;
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

// Class requests
inline constexpr std::uint8_t setCur = 0x01;
inline constexpr std::uint8_t getCur = 0x81;
inline constexpr std::uint8_t getMin = 0x82;
inline constexpr std::uint8_t getMax = 0x83;
inline constexpr std::uint8_t getRes = 0x84;
inline constexpr std::uint8_t getLen = 0x85;
inline constexpr std::uint8_t getInfo = 0x86;
inline constexpr std::uint8_t getDef = 0x87;

// GET_INFO
inline constexpr std::uint8_t infoGet = 0x01;
inline constexpr std::uint8_t infoSet = 0x02;
inline constexpr std::uint8_t infoDisabledByAutomatic = 0x04;
inline constexpr std::uint8_t infoAutoUpdate = 0x08;

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

// Streaming interface
inline constexpr std::uint8_t probeControl = 0x01;
inline constexpr std::uint8_t commitControl = 0x02;

// Interfaces and the endpoint of a virtual camera
inline constexpr std::uint8_t controlInterface = 0;
inline constexpr std::uint8_t streamingInterface = 1;
inline constexpr std::uint8_t streamingEndpoint = 0x81;

} // namespace tavelo::uvc
