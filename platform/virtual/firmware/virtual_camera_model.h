// SPDX-License-Identifier: MIT
// The fixed properties of a virtual camera: identity, entities, formats.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/uvc/camera_record.h"
#include "platform/uvc/streaming_description.h"
#include "platform/virtual/firmware/firmware_control.h"

namespace tavelo {

enum class StreamEncoding : std::uint8_t { yuyv, mjpeg };
enum class StreamTransport : std::uint8_t { isochronous, bulk };

/// One size in one encoding and its frame intervals.
struct StreamOffer {
    StreamEncoding encoding = StreamEncoding::yuyv;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::vector<std::uint32_t> frameIntervals; ///< in 100 ns, shortest first; the first is the default
    /// bFormatIndex and bFrameIndex; 0 if they follow from the place among the offers.
    std::uint8_t formatIndex = 0;
    std::uint8_t frameIndex = 0;
};

/// The format that host and camera have agreed on.
struct StreamFormat {
    StreamEncoding encoding = StreamEncoding::yuyv;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t frameInterval = 0; ///< in 100 ns
    std::uint32_t maxFrameSize = 0;  ///< in bytes
    /// Bytes of one payload transfer including its header; for an isochronous endpoint, bytes per microframe.
    std::uint32_t maxPayload = 0;

    friend bool operator==(const StreamFormat&, const StreamFormat&) = default;
};

/// What a model is like.
struct RecordedCamera {
    CameraRecord record;
    std::vector<std::uint8_t> entities; ///< identifiers of its control interface
    bool hasStream = false;
    StreamingDescription stream;     ///< with the settings of the streaming endpoint only
    std::bitset<256> undrawnFormats; ///< by bFormatIndex
};

struct VirtualCameraModel {
    int number = 1; ///< from 1; drawn into the picture
    std::uint16_t vendorID = 0x1209;
    std::uint16_t productID = 0x0001;
    std::string manufacturer;
    std::string product;
    std::string serial;
    std::uint32_t locationID = 0;

    std::uint8_t terminalID = 1;
    std::uint8_t unitID = 2;
    std::uint8_t outputTerminalID = 3;
    std::uint8_t extensionUnitID = 0; ///< 0: it has none
    /// bmControls: the controls that the descriptors list and the firmware has.
    std::uint32_t terminalControls = 0;
    std::uint32_t unitControls = 0;
    std::uint8_t exposureModes = 0x0F; ///< what GET_RES of the exposure mode returns
    /// Factory settings that differ from the table's.
    std::vector<std::pair<ControlAddress, std::int64_t>> factorySettings;

    /// The first of the camera's two interface numbers: 0, or 2 for the second video function of a device.
    /// The endpoint number depends on it too.
    std::uint8_t firstInterface = 0;
    std::uint8_t controlInterface() const;
    std::uint8_t streamingInterface() const;
    std::uint8_t streamingEndpoint() const;
    /// Bytes in one service interval at each alternate setting that streams; empty for a bulk endpoint.
    std::vector<std::uint32_t> payloadSizes() const;

    std::uint32_t speed = 480; ///< of the bus, in megabits per second

    StreamTransport transport = StreamTransport::isochronous;
    std::vector<StreamOffer> offers; ///< grouped by encoding; the first of each is its default

    /// Modifies the finished configuration descriptor, for cameras with broken descriptors.
    std::function<void(std::vector<std::uint8_t>&)> alterConfiguration;

    /// The camera that this one is like, or null.  Its descriptors and answers replace those that follow from
    /// the rest; see modelLike.
    std::shared_ptr<const RecordedCamera> recorded;
};

/// The camera with this number, from 1.  All share one vendor and product; no two share a location, a serial
/// number or entity identifiers (these up to number 60).
VirtualCameraModel virtualCameraModel(int number);

/// wMaxPacketSize of the isochronous alternate settings from 1 on, as in the endpoint descriptor (bits
/// 12..11: additional transactions per microframe).
inline constexpr std::array<std::uint16_t, 5> isochronousPacketSizes{0x00C0, 0x0200, 0x0400, 0x0C00, 0x1400};

/// Bytes per microframe at such a setting.
constexpr std::uint32_t bytesPerMicroframe(std::uint16_t maxPacketSize) {
    return (maxPacketSize & 0x07FFU) * (1U + (maxPacketSize >> 11U & 3U));
}

} // namespace tavelo
