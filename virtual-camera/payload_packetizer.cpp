// SPDX-License-Identifier: MIT
#include "virtual-camera/payload_packetizer.h"

#include <algorithm>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

PayloadPacketizer::PayloadPacketizer(StreamTransport transport, std::uint32_t maxPayload)
    : transport_(transport),
      maxPayload_(std::max<std::size_t>(maxPayload, headerSize + 1)) {}

void PayloadPacketizer::begin(std::span<const std::uint8_t> frame, std::uint32_t time) {
    frame_ = frame;
    time_ = time;
    sent_ = 0;
    piece_ = {};
    at_ = headerSize;
    emptyPacketDue_ = false;
    frameIdentifier_ = !frameIdentifier_;
}

bool PayloadPacketizer::finished() const {
    return sent_ == frame_.size() && at_ == headerSize + piece_.size() && !emptyPacketDue_;
}

std::size_t PayloadPacketizer::packet(std::span<std::uint8_t> room) {
    if (emptyPacketDue_) {
        emptyPacketDue_ = false;
        return 0;
    }
    if (transport_ == StreamTransport::isochronous) {
        if (room.size() <= headerSize) return 0;
        beginPayload(std::min(room.size(), maxPayload_));
        return copy(room);
    }
    if (at_ == headerSize + piece_.size()) beginPayload(maxPayload_);
    const std::size_t count = copy(room);
    const std::size_t payload = headerSize + piece_.size();
    emptyPacketDue_ = at_ == payload && payload < maxPayload_ && count == room.size();
    return count;
}

void PayloadPacketizer::beginPayload(std::size_t size) {
    piece_ = frame_.subspan(sent_, std::min(size - headerSize, frame_.size() - sent_));
    sent_ += piece_.size();
    at_ = 0;
    header_[0] = headerSize;
    header_[1] = uvc::endOfHeaderBit | uvc::presentationTimeBit;
    if (frameIdentifier_) header_[1] |= uvc::frameIdentifierBit;
    if (sent_ == frame_.size()) header_[1] |= uvc::endOfFrameBit;
    putLittleEndian(time_, std::span(header_).subspan(2, 4));
}

std::size_t PayloadPacketizer::copy(std::span<std::uint8_t> room) {
    std::size_t count = 0;
    if (at_ < headerSize) {
        count = std::min(room.size(), headerSize - at_);
        std::copy_n(header_.begin() + static_cast<std::ptrdiff_t>(at_), count, room.begin());
        at_ += count;
    }
    if (at_ >= headerSize) {
        const auto rest = piece_.subspan(at_ - headerSize);
        const std::size_t length = std::min(room.size() - count, rest.size());
        std::copy_n(rest.begin(), length, room.begin() + static_cast<std::ptrdiff_t>(count));
        at_ += length;
        count += length;
    }
    return count;
}

} // namespace tavelo
