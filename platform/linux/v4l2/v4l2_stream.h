// SPDX-License-Identifier: MIT
// One run of a video node's stream: from setting the format to returning the buffers.
#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <span>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_converter.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// Owns the driver's buffers.  Thread-bound.  Whatever fails returns the errno; after a failure the object
/// can only be destroyed, which stops the stream and frees the buffers.
class V4l2Stream {
public:
    /// The node must outlive the stream.
    explicit V4l2Stream(V4l2Node& node) : node_(node) {}
    ~V4l2Stream();
    V4l2Stream(const V4l2Stream&) = delete;
    V4l2Stream& operator=(const V4l2Stream&) = delete;

    /// Called once.  ENOSPC: the bus has not enough bandwidth left for this choice.  EOVERFLOW: the driver
    /// wants more memory for it than any picture needs.
    [[nodiscard]] int start(const FormatChoice& choice);

    /// The format as the driver set it; constant after start().
    const FrameFormat& format() const { return format_; }

    /// A filled buffer, ours until giveBack().
    struct Frame {
        v4l2_buffer buffer{};
        std::span<const std::uint8_t> bytes;
        bool damaged = false; ///< the driver says so, or it is empty
    };

    /// EAGAIN if none is ready.
    [[nodiscard]] int take(Frame& frame);
    [[nodiscard]] int giveBack(const Frame& frame);

private:
    struct Buffer {
        V4l2Mapping memory;
        std::size_t length = 0;
    };

    int setFormat(const FormatChoice& choice);
    void setRate(FrameInterval interval);
    int allocate();
    int mapAndQueue(std::uint32_t index);

    V4l2Node& node_;
    FrameFormat format_;
    std::vector<Buffer> buffers_;
    bool allocated_ = false;
    bool streaming_ = false;
};

} // namespace tavelo
