// SPDX-License-Identifier: MIT
// One run of a USB camera's stream: from the first probe to alternate setting 0.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/capture.h"
#include "platform/common/retrying_capture_input.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/usb/stream/format_search.h"
#include "platform/linux/usb/stream/frame_assembler.h"
#include "platform/linux/usb/stream/frame_mailbox.h"
#include "platform/linux/usb/stream/streaming_descriptors.h"
#include "platform/linux/usb/stream/transfer_ring.h"
#include "platform/linux/usb/stream/uvc_probe.h"

namespace tavelo {

/// Negotiates, switches the camera on and fills a mailbox.  The destructor switches the camera off.
/// Thread-bound; whoever handles the camera's events writes the mailbox.
class UsbStream {
public:
    /// Camera and mailbox must outlive the stream.
    /// @param number of the streaming interface
    /// @param priority of the thread that handles events; may be null
    UsbStream(UsbHandle& camera, std::uint8_t number, FrameMailbox& mailbox,
              std::shared_ptr<ThreadPriority> priority = {})
        : camera_(camera),
          number_(number),
          mailbox_(mailbox),
          priority_(std::move(priority)) {}
    ~UsbStream();
    UsbStream(const UsbStream&) = delete;
    UsbStream& operator=(const UsbStream&) = delete;

    /// Called once.  Tries the camera's formats, the best first, until one streams; checks before each
    /// whether the mailbox was stopped.
    /// @return nothing if video flows
    std::optional<StreamOver> start(const UvcStreamingInterface& interface,
                                    const CaptureFormatRequest& request);

    /// The format that streams; constant after start().
    const FrameFormat& format() const { return format_; }

private:
    enum class Outcome : std::uint8_t { streams, otherFormat, tooHeavy, failed };

    Outcome attempt(const UvcStreamingInterface& interface, FormatSearch& search,
                    const FormatSearch::Proposal& proposal);
    ErrorCode agree(const UvcStreamingInterface& interface, const FormatSearch::Proposal& proposal,
                    UvcProbe& probe, const UvcFrameOffer*& offer);
    Outcome switchOn(const UvcStreamSetting& setting, const UvcFrameOffer& offer, const UvcProbe& probe);
    void switchOff();
    StreamOver over() const;

    UsbHandle& camera_;
    const std::uint8_t number_;
    FrameMailbox& mailbox_;
    const std::shared_ptr<ThreadPriority> priority_;
    FrameFormat format_;
    ErrorCode status_ = ErrorCode::none;      // of the last failure
    bool noRoom_ = false;                     // the bus refused at least one format
    std::optional<UvcStreamSetting> setting_; // while the camera is switched on

    std::unique_ptr<FrameAssembler> assembler_;
    std::unique_ptr<PayloadJoiner> joiner_;
    std::unique_ptr<TransferRing> ring_; // last: it uses the two above
};

} // namespace tavelo
