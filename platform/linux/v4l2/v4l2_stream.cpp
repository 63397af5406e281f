// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_stream.h"

#include <algorithm>
#include <cerrno>

#include "platform/common/frame_bounds.h"
#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {
namespace {

// One being filled, one ready, one being converted, and a spare for scheduling delays.
constexpr std::uint32_t wantedBuffers = 4;
// Drivers may round the number up.
constexpr std::uint32_t mostBuffers = 32;

// The driver takes the size of its buffers from the camera.  Even well-behaved cameras name the size of
// their largest format for every format.
constexpr std::size_t harmlessBuffer = std::size_t{64} << 20U;

std::size_t mostBufferBytes(const FrameFormat& format) {
    return std::max(harmlessBuffer, mostFrameBytes(format.format, format.size));
}

v4l2_buffer bufferRequest(std::uint32_t index) {
    v4l2_buffer request{};
    request.index = index;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    return request;
}

int requestBuffers(V4l2Node& node, std::uint32_t& count) {
    v4l2_requestbuffers request{};
    request.count = count;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    const int error = node.control(VIDIOC_REQBUFS, &request);
    count = error == 0 ? request.count : 0;
    return error;
}

} // namespace

V4l2Stream::~V4l2Stream() {
    if (streaming_) {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        node_.control(VIDIOC_STREAMOFF, &type);
    }
    buffers_.clear(); // unmapped first: the driver does not free a mapped buffer
    std::uint32_t none = 0;
    if (allocated_) requestBuffers(node_, none);
}

int V4l2Stream::start(const FormatChoice& choice) {
    if (const int error = setFormat(choice); error != 0) return error;
    setRate(choice.interval);
    if (const int error = allocate(); error != 0) return error;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int error = node_.control(VIDIOC_STREAMON, &type);
    streaming_ = error == 0;
    return error;
}

int V4l2Stream::setFormat(const FormatChoice& choice) {
    v4l2_format request{};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.fmt.pix.width = choice.size.width;
    request.fmt.pix.height = choice.size.height;
    request.fmt.pix.pixelformat = choice.format;
    request.fmt.pix.field = V4L2_FIELD_ANY;
    if (const int error = node_.control(VIDIOC_S_FMT, &request); error != 0) return error;
    format_ = frameFormat(request.fmt.pix);
    const bool fits = isShowable(format_.size) && request.fmt.pix.sizeimage <= mostBufferBytes(format_) &&
                      format_.bytesPerLine <= mostBytesPerLine;
    return fits ? 0 : EOVERFLOW;
}

// A driver that cannot set a rate streams at its own.
void V4l2Stream::setRate(FrameInterval interval) {
    if (interval.framesPerSecond() <= 0) return;
    v4l2_streamparm request{};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.parm.capture.timeperframe = {interval.numerator, interval.denominator};
    node_.control(VIDIOC_S_PARM, &request);
}

int V4l2Stream::allocate() {
    std::uint32_t count = wantedBuffers;
    if (const int error = requestBuffers(node_, count); error != 0) return error;
    allocated_ = true;
    if (count == 0) return ENOMEM;
    count = std::min(count, mostBuffers);
    for (std::uint32_t index = 0; index < count; ++index)
        if (const int error = mapAndQueue(index); error != 0) return error;
    return 0;
}

int V4l2Stream::mapAndQueue(std::uint32_t index) {
    v4l2_buffer buffer = bufferRequest(index);
    if (const int error = node_.control(VIDIOC_QUERYBUF, &buffer); error != 0) return error;
    if (buffer.length > mostBufferBytes(format_)) return EOVERFLOW;
    V4l2Mapping memory = node_.map(buffer.length, buffer.m.offset);
    if (!memory) return ENOMEM;
    buffers_.push_back({std::move(memory), buffer.length});
    v4l2_buffer queued = bufferRequest(index);
    return node_.control(VIDIOC_QBUF, &queued);
}

int V4l2Stream::take(Frame& frame) {
    frame.buffer = bufferRequest(0);
    if (const int error = node_.control(VIDIOC_DQBUF, &frame.buffer); error != 0) return error;
    if (frame.buffer.index >= buffers_.size()) return EIO;
    const Buffer& buffer = buffers_[frame.buffer.index];
    frame.bytes = {buffer.memory.get(), std::min<std::size_t>(frame.buffer.bytesused, buffer.length)};
    frame.damaged = (frame.buffer.flags & V4L2_BUF_FLAG_ERROR) != 0 || frame.bytes.empty();
    return 0;
}

int V4l2Stream::giveBack(const Frame& frame) {
    v4l2_buffer buffer = bufferRequest(frame.buffer.index);
    return node_.control(VIDIOC_QBUF, &buffer);
}

} // namespace tavelo
