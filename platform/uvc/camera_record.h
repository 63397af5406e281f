// SPDX-License-Identifier: MIT
// A camera as somebody once found it: its descriptors and what it answered.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/camera_inspector.h"
#include "platform/usb_interface.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

/// The reads of a control, in the order in which they are asked.
inline constexpr std::array controlReads{UvcRequest::getInfo, UvcRequest::getLen, UvcRequest::getMin,
                                         UvcRequest::getMax,  UvcRequest::getRes, UvcRequest::getDef,
                                         UvcRequest::getCur};

/// The place of a read in controlReads; controlReads.size() for any other request.  Pure.
constexpr std::size_t placeOf(UvcRequest read) {
    std::size_t place = 0;
    while (place < controlReads.size() && controlReads[place] != read)
        ++place;
    return place;
}

/// "GET_INFO".  Pure; empty for an unknown request.
std::string_view nameOf(UvcRequest request);

/// A control of an entity, and its answers.
struct ControlRecord {
    std::uint8_t entity = 0;
    std::uint8_t selector = 0;
    bool listed = false; ///< in the entity's bmControls
    AnswerSource source = AnswerSource::camera;
    std::array<RawAnswer, controlReads.size()> answers; ///< in the order of controlReads
    DriverView driver;

    const RawAnswer& answerTo(UvcRequest read) const { return answers.at(placeOf(read)); }

    friend bool operator==(const ControlRecord&, const ControlRecord&) = default;
};

/// One video function of a camera.  All texts are printable; none names its owner or its machine.
struct CameraRecord {
    std::string program;     ///< version of the program that asked
    std::string kernel;      ///< release of the kernel that it ran on
    std::string transport;   ///< "kernel", "usb" or "virtual"
    std::string node;        ///< "/dev/video0", or empty
    std::string product;     ///< product string
    std::uint32_t speed = 0; ///< megabits per second; 0: unknown
    std::uint8_t controlInterface = 0;
    UsbDescriptors descriptors;
    std::vector<ControlRecord> controls; ///< no two for one selector of one entity

    friend bool operator==(const CameraRecord&, const CameraRecord&) = default;
};

// Bounds of a record.
inline constexpr std::size_t mostControlRecords = 1024;
inline constexpr std::size_t longestAnswer = 4096;         ///< bytes
inline constexpr std::size_t longestConfiguration = 65535; ///< bytes
inline constexpr std::size_t longestRecordText = 1024;     ///< bytes of each text
inline constexpr std::size_t mostDriverControls = 4;       ///< for one control of the camera

} // namespace tavelo
