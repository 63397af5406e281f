// SPDX-License-Identifier: MIT
// A separate program, because it counts every allocation of the process.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/usb/stream/frame_assembler.h"

namespace {

std::atomic<int> allocations = 0;

void* counted(std::size_t size, std::size_t alignment) {
    ++allocations;
    void* memory = std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (memory == nullptr) std::abort();
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return counted(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return counted(size, static_cast<std::size_t>(alignment));
}
// Not inlined: otherwise GCC warns that new is paired with free().
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

namespace tavelo {
namespace {

class Pipeline {
public:
    Pipeline(const UsbTransferShape& shape, std::size_t payload)
        : payload_(payload),
          assembler_(mailbox_, wholeFrame),
          joiner_(assembler_, shape, 0) {
        mailbox_.open(wholeFrame);
        EXPECT_TRUE(converter_.setFormat({fourcc::yuyv, {width, height}, 0, {}, false}));
    }

    // One frame, from payloads to the converted picture.
    bool pass() {
        identifier_ ^= 1U;
        for (std::size_t left = wholeFrame; left > 0;) {
            const std::size_t size = std::min(left, payload_.size() - 2);
            left -= size;
            payload_[0] = 2;
            payload_[1] = static_cast<std::uint8_t>(0x80U | identifier_ | (left == 0 ? 2U : 0U));
            const UsbPacket packet{std::span(payload_).first(size + 2), false};
            joiner_.take({&packet, 1}, FrameMailbox::Clock::now());
        }
        if (mailbox_.wait({}) != FrameMailbox::Event::frame) return false;
        const FrameMailbox::Frame& frame = mailbox_.reading();
        return converter_.convert(std::span(frame.bytes).first(frame.size)) != nullptr;
    }

private:
    static constexpr std::uint32_t width = 64;
    static constexpr std::uint32_t height = 48;
    static constexpr std::size_t wholeFrame = std::size_t{2} * width * height;

    std::vector<std::uint8_t> payload_;
    FrameMailbox mailbox_;
    FrameAssembler assembler_;
    PayloadJoiner joiner_;
    FrameConverter converter_;
    std::uint8_t identifier_ = 0;
};

TEST(StreamAllocation, TheSteadyStateOfAStreamAllocatesNothing) {
    for (const bool isochronous : {true, false}) {
        Pipeline pipeline({0x81, isochronous, 1000, 1}, 900);
        for (int frame = 0; frame < 10; ++frame)
            ASSERT_TRUE(pipeline.pass());
        const int before = allocations;
        for (int frame = 0; frame < 100; ++frame)
            ASSERT_TRUE(pipeline.pass());
        EXPECT_EQ(allocations - before, 0) << (isochronous ? "isochronous" : "bulk");
    }
}

} // namespace
} // namespace tavelo
