// SPDX-License-Identifier: MIT
// Makes frames of payloads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/usb/stream/frame_mailbox.h"
#include "platform/linux/usb/stream/usb_stream_port.h"

namespace tavelo {

/// Joins the pieces of each frame into the mailbox's buffer.  A frame ends with the payload that says so, or
/// where the frame identifier toggles.  One that the camera calls damaged, that lost bytes on the bus, is
/// longer than the buffer or shorter than its format demands is dropped; so is a JPEG picture that does not
/// begin as one.  Data after an end begins a new frame whether the identifier toggled or not: some cameras
/// never toggle it, and of the others nothing but scraps comes there.
///
/// Allocates nothing.  Thread-bound to whoever writes the mailbox.
class FrameAssembler {
public:
    using Time = FrameMailbox::Clock::time_point;

    /// @param wholeFrame bytes of an uncompressed frame; 0: JPEG
    FrameAssembler(FrameMailbox& mailbox, std::size_t wholeFrame)
        : mailbox_(mailbox),
          wholeFrame_(wholeFrame) {}

    /// The payload's first bytes, the header whole.
    void beginPayload(std::span<const std::uint8_t> bytes, Time now);
    void continuePayload(std::span<const std::uint8_t> bytes, Time now);
    void endPayload();

    /// Bytes were lost on the bus, in the frame under way if there is one.
    void lose() { damaged_ = damaged_ || open_; }

private:
    void finish();
    bool isWhole(const FrameMailbox::Frame& frame) const;

    FrameMailbox& mailbox_;
    const std::size_t wholeFrame_;
    bool open_ = false; // a frame is under way
    bool frameIdentifier_ = false;
    bool damaged_ = false;
    bool skipping_ = true; // the payload under way is of no use
    bool endOfFrame_ = false;
};

/// Finds the payloads in transfers: on an isochronous endpoint a packet is one; on a bulk endpoint it goes on
/// from transfer to transfer until one comes short or it has the size agreed on.
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
