// SPDX-License-Identifier: MIT
// What a camera answers while a stream is agreed on over raw USB, and the packets that follow.
//
// Input: two bytes of the descriptors' length, the descriptors (18 bytes of the device's first), then the
// camera's answers: a byte for each request's outcome and, for a read, a byte for the length and the bytes.
#include <algorithm>

#include "fuzz_expect.h"
#include "fuzzed_handle.h"
#include "platform/common/frame_bounds.h"
#include "platform/linux/usb/stream/usb_stream.h"

namespace {

constexpr std::size_t deviceDescriptorSize = 18;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    tavelo::fuzz::FuzzInput input(data, size);
    const std::size_t told = input.number(2);
    input.bytes(std::min(told, deviceDescriptorSize));
    const auto interface =
        tavelo::streamingInterfaceOf(input.bytes(told - std::min(told, deviceDescriptorSize)), 1);
    // Frames' buffers are as large as the pictures are, and three of the largest would only be slow.
    constexpr std::uint64_t mostShown = 1024 * 1024;
    for (const tavelo::UvcFrameOffer& offer : interface.offers)
        if (std::uint64_t{offer.size.width} * offer.size.height > mostShown) return 0;
    tavelo::fuzz::FuzzedHandle camera(input);
    tavelo::FrameMailbox mailbox;
    tavelo::UsbStream stream(camera, 1, mailbox);
    if (!stream.start(interface, {})) expect(tavelo::isShowable(stream.format().size));
    return 0;
}
