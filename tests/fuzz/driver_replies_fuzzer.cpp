// SPDX-License-Identifier: MIT
// What the kernel's driver answers: controls, formats, buffers and frames.
//
// Input: a byte that chooses the part, then the driver's answers (fuzzed_node.h).
#include <linux/videodev2.h>

#include <chrono>
#include <optional>

#include "fuzz_expect.h"
#include "fuzzed_node.h"
#include "platform/common/frame_bounds.h"
#include "platform/linux/kernel/kernel_controls.h"
#include "platform/linux/kernel/kernel_inspector.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_controls.h"
#include "platform/linux/v4l2/v4l2_formats.h"
#include "platform/linux/v4l2/v4l2_stream.h"
#include "platform/uvc/camera_record.h"

namespace {

using tavelo::fuzz::expect;
using tavelo::fuzz::FuzzedNode;
using tavelo::fuzz::FuzzInput;

constexpr std::uint64_t mostConverted = 256 * 256; // pixels; more would only be slow

void exchangeControls(FuzzedNode& node, FuzzInput& input) {
    while (!input.isEmpty()) {
        const auto controls = tavelo::kernelControls();
        const tavelo::KernelControl& control = controls[input.byte() % controls.size()];
        const std::uint8_t request = input.byte();
        tavelo::KernelReply reply;
        if (request % 4 == 0) {
            const auto data = input.bytes(input.byte() % 12);
            const auto held = input.bytes(input.byte() % 12);
            reply = tavelo::writeKernelControl(node, control, data, held);
            expect(!reply.written || reply.error == 0);
        } else {
            const auto& reads = tavelo::controlReads;
            reply = tavelo::readKernelControl(node, control, reads[request % reads.size()]);
            expect(!reply.written);
        }
        expect(reply.error == 0 || reply.bytes.empty());
        expect(reply.bytes.size() <= 8);
    }
}

void inspect(FuzzInput& input) {
    tavelo::UsbVideoFunction function;
    function.entities[1] = {tavelo::UvcEntity::cameraTerminal, ~std::bitset<256>()};
    function.entities[2] = {tavelo::UvcEntity::processingUnit, ~std::bitset<256>()};
    tavelo::KernelInspector inspector(std::make_shared<FuzzedNode>(input), "/dev/video0", function);
    while (!input.isEmpty()) {
        const std::uint8_t entity = input.byte() % 5;
        const std::uint8_t selector = input.byte();
        const std::uint16_t length = input.byte();
        const auto answer = inspector.ask({entity, selector, input.byte(), length});
        expect(answer.bytes.size() <= length);
        const auto view = inspector.driverView(entity, selector);
        expect(view.controls.size() <= tavelo::mostDriverControls);
        for (const tavelo::DriverControl& control : view.controls)
            for (const char c : control.name)
                expect(c >= ' ' && c <= '~');
    }
}

void watch(FuzzedNode& node, FuzzInput& input) {
    int error = 0;
    while (!input.isEmpty() && error == 0) {
        std::uint32_t id = 0;
        error = tavelo::takeControlEvent(node, id);
        std::uint32_t capabilities = 0;
        if (tavelo::queryCapabilities(node, capabilities) == 0)
            static_cast<void>(tavelo::canCapture(capabilities));
    }
}

void convert(const tavelo::V4l2Stream::Frame& frame, const tavelo::FrameFormat& format) {
    tavelo::FrameConverter converter;
    if (std::uint64_t{format.size.width} * format.size.height > mostConverted) return;
    if (!converter.setFormat(format)) return;
    const auto made = converter.convert(frame.bytes, {});
    if (made.imageBuffer) expect(made.imageBuffer->width() > 0);
}

void stream(FuzzedNode& node, FuzzInput& input) {
    tavelo::CaptureFormatRequest request;
    if ((input.byte() & 1U) != 0) request.size = {input.number(2), input.number(2)};
    const auto choices = tavelo::rankFormats(tavelo::offeredModes(node, request), request);
    for (const tavelo::FormatChoice& choice : choices) {
        expect(tavelo::isShowable(choice.size) && choice.bytesPerSecond() >= 0);
        tavelo::V4l2Stream stream(node);
        if (stream.start(choice) != 0) continue;
        expect(tavelo::isShowable(stream.format().size));
        tavelo::V4l2Stream::Frame frame;
        for (int left = 8; left > 0 && stream.take(frame) == 0; --left) {
            const auto now = std::chrono::nanoseconds(std::chrono::hours(1));
            expect(std::chrono::abs(tavelo::frameTime(frame.buffer, now) - now) <= std::chrono::seconds(1));
            if (!frame.damaged) convert(frame, stream.format());
            if (stream.giveBack(frame) != 0) break;
        }
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t part = input.byte() % 4;
    FuzzedNode node(input);
    if (part == 0) exchangeControls(node, input);
    if (part == 1) inspect(input);
    if (part == 2) watch(node, input);
    if (part == 3) stream(node, input);
    return 0;
}
