// SPDX-License-Identifier: MIT
// Stream packets as a camera sends them, and the frames assembled from them.
//
// Input: four bytes that choose the stream (kind of endpoint, format, longest frame, longest payload), then
// packets, each with two bytes of length (the top bit marks it as damaged) and its bytes.
#include "platform/linux/usb/stream/frame_assembler.h"

#include <algorithm>
#include <vector>

#include "fuzz_expect.h"

namespace {

using tavelo::FrameMailbox;
using tavelo::fuzz::expect;

std::vector<tavelo::UsbPacket> packetsOf(std::span<const std::uint8_t> bytes) {
    std::vector<tavelo::UsbPacket> packets;
    while (bytes.size() >= 2) {
        const std::size_t told = bytes[0] | (bytes[1] & 0x7FU) << 8U;
        const bool damaged = (bytes[1] & 0x80U) != 0;
        bytes = bytes.subspan(2);
        const std::size_t length = std::min(told, bytes.size());
        packets.push_back({bytes.first(length), damaged});
        bytes = bytes.subspan(length);
    }
    return packets;
}

void lookAt(const FrameMailbox::Frame& frame, std::size_t wholeFrame, std::size_t capacity) {
    expect(frame.size > 0 && frame.size <= capacity && frame.bytes.size() == capacity);
    if (wholeFrame > 0)
        expect(frame.size >= wholeFrame);
    else
        expect(frame.bytes[0] == 0xFF && frame.bytes[1] == 0xD8);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const bool isochronous = (data[0] & 1U) != 0;
    const std::size_t wholeFrame = std::size_t{data[1]} * 4;
    const std::size_t capacity =
        std::max<std::size_t>(std::size_t{data[2]} * 8, std::max<std::size_t>(wholeFrame, 8));
    const std::uint32_t maxPayload = std::uint32_t{data[3]} * 16;

    FrameMailbox mailbox;
    mailbox.open(capacity);
    tavelo::FrameAssembler assembler(mailbox, wholeFrame);
    const tavelo::UsbTransferShape shape{0x81, isochronous, 512, 1};
    tavelo::PayloadJoiner joiner(assembler, shape, maxPayload);
    const auto now = FrameMailbox::Clock::time_point{};
    for (const tavelo::UsbPacket& packet : packetsOf(std::span(data, size).subspan(4))) {
        joiner.take(std::span(&packet, 1), now);
        if (mailbox.wait(now) == FrameMailbox::Event::frame) lookAt(mailbox.reading(), wholeFrame, capacity);
    }
    return 0;
}
