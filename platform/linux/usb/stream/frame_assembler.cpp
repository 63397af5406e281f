// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/frame_assembler.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/linux/usb/stream/payload_header.h"

namespace tavelo {

void FrameAssembler::beginPayload(std::span<const std::uint8_t> bytes, Time now) {
    const auto header = parsePayloadHeader(bytes);
    skipping_ = !header || header->still;
    endOfFrame_ = false;
    if (!header) lose();
    if (skipping_) return;
    if (open_ && header->frameIdentifier != frameIdentifier_) finish();
    open_ = true;
    frameIdentifier_ = header->frameIdentifier;
    damaged_ = damaged_ || header->error;
    endOfFrame_ = header->endOfFrame;
    continuePayload(bytes.subspan(header->length), now);
}

void FrameAssembler::continuePayload(std::span<const std::uint8_t> bytes, Time now) {
    if (skipping_ || bytes.empty()) return;
    FrameMailbox::Frame& frame = mailbox_.writing();
    if (frame.size == 0) frame.time = now;
    const std::size_t room = frame.bytes.size() - frame.size;
    if (bytes.size() > room) damaged_ = true;
    const std::size_t count = std::min(bytes.size(), room);
    std::copy_n(bytes.begin(), count, frame.bytes.begin() + std::ptrdiff_t(frame.size));
    frame.size += count;
}

void FrameAssembler::endPayload() {
    if (!skipping_ && endOfFrame_) finish();
    skipping_ = true;
}

// Cameras fill the time between frames with empty payloads; these alone are no frame.
void FrameAssembler::finish() {
    const bool damaged = std::exchange(damaged_, false);
    open_ = false;
    const FrameMailbox::Frame& frame = mailbox_.writing();
    if (frame.size == 0) return;
    if (!damaged && isWhole(frame))
        mailbox_.publish();
    else
        mailbox_.countDamaged();
}

bool FrameAssembler::isWhole(const FrameMailbox::Frame& frame) const {
    if (wholeFrame_ > 0) return frame.size >= wholeFrame_;
    return frame.size > 2 && frame.bytes[0] == 0xFF && frame.bytes[1] == 0xD8;
}

PayloadJoiner::PayloadJoiner(FrameAssembler& assembler, const UsbTransferShape& shape,
                             std::uint32_t maxPayload)
    : assembler_(assembler),
      shape_(shape),
      maxPayload_(maxPayload > 0 ? maxPayload : std::numeric_limits<std::size_t>::max()) {}

void PayloadJoiner::take(std::span<const UsbPacket> packets, FrameAssembler::Time now) {
    for (const UsbPacket& packet : packets) {
        if (!shape_.isochronous) {
            takeBulk(packet, now);
        } else if (packet.damaged) {
            assembler_.lose();
        } else if (!packet.bytes.empty()) {
            assembler_.beginPayload(packet.bytes, now);
            assembler_.endPayload();
        }
    }
}

void PayloadJoiner::takeBulk(const UsbPacket& transfer, FrameAssembler::Time now) {
    std::span<const std::uint8_t> rest = transfer.bytes;
    while (!rest.empty()) {
        const auto piece = rest.first(std::min(rest.size(), maxPayload_ - size_));
        if (size_ == 0)
            assembler_.beginPayload(piece, now);
        else
            assembler_.continuePayload(piece, now);
        size_ += piece.size();
        rest = rest.subspan(piece.size());
        if (size_ < maxPayload_) continue;
        assembler_.endPayload();
        size_ = 0;
    }
    if (transfer.damaged) assembler_.lose();
    if (size_ == 0 || (transfer.bytes.size() == shape_.length() && !transfer.damaged)) return;
    assembler_.endPayload();
    size_ = 0;
}

} // namespace tavelo
