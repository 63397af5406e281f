// SPDX-License-Identifier: MIT
// Assembles frames from payloads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/usb/device/usb_transfer.h"
#include "platform/linux/usb/stream/frame_mailbox.h"

namespace tavelo {

/// Joins the pieces of each frame in the mailbox's buffer.  A frame ends with the payload that says so, or
/// when the frame identifier toggles.  A frame is dropped if the camera marks it as damaged, if it lost
/// bytes on the bus, or if it is longer than the buffer or shorter than its format requires; so is a JPEG
/// picture without the right start.  Data after the end begins a new frame even if the identifier does not
/// toggle: some cameras never toggle it, and from the others only scraps come there.
///
/// Allocates nothing.  Thread-bound to whoever writes the mailbox.
class FrameAssembler {
public:
    using Time = FrameMailbox::Clock::time_point;

    /// @param wholeFrame bytes of an uncompressed frame; 0: JPEG
    FrameAssembler(FrameMailbox& mailbox, std::size_t wholeFrame)
        : mailbox_(mailbox),
          wholeFrame_(wholeFrame) {}

    /// The payload's first bytes, which contain the whole header.
    void beginPayload(std::span<const std::uint8_t> bytes, Time now);
    void continuePayload(std::span<const std::uint8_t> bytes, Time now);
    void endPayload();

    /// Bytes were lost on the bus; damages the frame under way, if any.
    void lose() { damaged_ = damaged_ || open_; }

private:
    void finish();
    bool isWhole(const FrameMailbox::Frame& frame) const;

    FrameMailbox& mailbox_;
    const std::size_t wholeFrame_;
    bool open_ = false; // a frame is under way
    bool frameIdentifier_ = false;
    bool damaged_ = false;
    bool skipping_ = true; // the payload under way is ignored
    bool endOfFrame_ = false;
};

/// Finds the payloads in transfers.  On an isochronous endpoint each packet is a payload; on a bulk
/// endpoint a payload continues from transfer to transfer until one is short or the negotiated size is
/// reached.
class PayloadJoiner {
public:
    /// @param maxPayload bytes of a whole bulk payload; 0: only a short transfer ends it
    PayloadJoiner(FrameAssembler& assembler, const UsbTransferShape& shape, std::uint32_t maxPayload);

    void take(std::span<const UsbPacket> packets, FrameAssembler::Time now);

private:
    void takeBulk(const UsbPacket& transfer, FrameAssembler::Time now);

    FrameAssembler& assembler_;
    const UsbTransferShape shape_;
    const std::size_t maxPayload_;
    std::size_t size_ = 0; // of the bulk payload under way
};

} // namespace tavelo
