// SPDX-License-Identifier: MIT
#include "bench/peers/preload/camera_file.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>

#include "bench/peers/link/link_socket.h"
#include "bench/peers/preload/camera_formats.h"
#include "bench/peers/preload/real_calls.h"

namespace tavelo::bench {
namespace {

template <typename Structure>
Structure& as(void* argument) {
    return *static_cast<Structure*>(argument);
}

bool isOurs(std::uint32_t type, std::uint32_t memory) {
    return type == V4L2_BUF_TYPE_VIDEO_CAPTURE && memory == V4L2_MEMORY_MMAP;
}

} // namespace

CameraFile::CameraFile(FileDescriptor link, const Greeting& greeting, FrameLog& log)
    : link_(std::move(link)),
      modes_(greeting.modes.begin(), greeting.modes.begin() + greeting.modeCount),
      log_(log) {}

int CameraFile::control(int file, unsigned long request, void* argument) {
    request &= 0xFFFF'FFFFU; // a caller that has it in 32 bits extends its sign
    int error = 0;
    // Taking a frame may wait, and others may want to queue buffers meanwhile.
    if (request == VIDIOC_DQBUF) {
        error = take(file, as<v4l2_buffer>(argument));
    } else {
        const std::lock_guard lock(mutex_);
        error = request == VIDIOC_STREAMOFF ? stop(file) : answer(request, argument);
    }
    if (error == 0) return 0;
    errno = error;
    return -1;
}

int CameraFile::answer(unsigned long request, void* argument) {
    switch (request) {
        case VIDIOC_G_FMT:
            return describeFormat(mode(), as<v4l2_format>(argument));
        case VIDIOC_S_FMT:
            return setFormat(as<v4l2_format>(argument));
        case VIDIOC_G_PARM:
        case VIDIOC_S_PARM:
            return describeRate(as<v4l2_streamparm>(argument));
        case VIDIOC_REQBUFS:
            return requestBuffers(as<v4l2_requestbuffers>(argument));
        case VIDIOC_QUERYBUF:
            return describeBuffer(as<v4l2_buffer>(argument));
        case VIDIOC_EXPBUF:
            return exportBuffer(as<v4l2_exportbuffer>(argument));
        case VIDIOC_QBUF:
            return queue(as<v4l2_buffer>(argument));
        case VIDIOC_STREAMON:
            return start();
        default:
            break;
    }
    const int error = answerAboutFormats(modes_, request, argument);
    return error == ENOTTY ? controls_.answer(request, argument) : error;
}

int CameraFile::setFormat(v4l2_format& format) {
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return EINVAL;
    if (buffers_ > 0) return EBUSY;
    mode_ = closestMode(modes_, format.fmt.pix);
    return describeFormat(mode(), format);
}

// Each mode has one rate, which a program gets whatever it asks for.
int CameraFile::describeRate(v4l2_streamparm& parameters) const {
    if (parameters.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return EINVAL;
    parameters.parm.capture = {};
    parameters.parm.capture.capability = V4L2_CAP_TIMEPERFRAME;
    parameters.parm.capture.timeperframe = {1, mode().framesPerSecond};
    return 0;
}

int CameraFile::requestBuffers(v4l2_requestbuffers& request) {
    request.capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP;
    if (!isOurs(request.type, request.memory)) return EINVAL;
    if (streaming_) return EBUSY;
    request.count = std::min(request.count, mostBuffers);
    Answer answer;
    if (const int error = ask({RequestKind::allocate, mode_, request.count, 0}, answer)) return error;
    memory_.clear();
    buffers_ = request.count;
    bufferBytes_ = answer.bufferBytes;
    queued_.fill(false);
    while (memory_.size() < buffers_) {
        FileDescriptor memory;
        if (const int error =
                ask({RequestKind::lend, mode_, 0, std::uint32_t(memory_.size())}, answer, &memory))
            return error;
        memory_.push_back(std::move(memory));
    }
    return 0;
}

// The driver's would be a DMA buffer; ours is a file in memory, which can be mapped and passed on as well.
int CameraFile::exportBuffer(v4l2_exportbuffer& wanted) const {
    if (wanted.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || wanted.index >= buffers_ || wanted.plane != 0)
        return EINVAL;
    const int kind = (wanted.flags & O_CLOEXEC) != 0 ? F_DUPFD_CLOEXEC : F_DUPFD;
    wanted.fd = realCalls().fcntl(memory_[wanted.index].get(), kind, 0);
    return wanted.fd < 0 ? errno : 0;
}

void CameraFile::fill(v4l2_buffer& buffer, std::uint32_t index) const {
    buffer.index = index;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.field = V4L2_FIELD_NONE;
    buffer.length = bufferBytes_;
    buffer.m.offset = index * bufferBytes_;
    buffer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC | V4L2_BUF_FLAG_MAPPED;
    if (queued_[index]) buffer.flags |= V4L2_BUF_FLAG_QUEUED;
}

int CameraFile::describeBuffer(v4l2_buffer& buffer) {
    if (buffer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || buffer.index >= buffers_) return EINVAL;
    fill(buffer, buffer.index);
    return 0;
}

int CameraFile::queue(v4l2_buffer& buffer) {
    if (!isOurs(buffer.type, buffer.memory) || buffer.index >= buffers_ || queued_[buffer.index])
        return EINVAL;
    if (!sendMessage(link_.get(), Request{RequestKind::queue, mode_, 0, buffer.index})) return ENODEV;
    queued_[buffer.index] = true;
    fill(buffer, buffer.index);
    return 0;
}

int CameraFile::take(int file, v4l2_buffer& buffer) {
    if (!isOurs(buffer.type, buffer.memory)) return EINVAL;
    {
        const std::lock_guard lock(mutex_);
        if (!streaming_) return EINVAL;
    }
    FrameReady ready;
    const long received = receiveBytes(file, &ready, sizeof ready, nullptr, 0);
    if (received < 0) return errno;
    if (received == 0) return ENODEV;
    const std::lock_guard lock(mutex_);
    if (ready.index >= buffers_) return EIO;
    queued_[ready.index] = false;
    fill(buffer, ready.index);
    buffer.bytesused = ready.bytes;
    buffer.sequence = ready.sequence;
    buffer.timestamp = {ready.time / 1'000'000'000, ready.time % 1'000'000'000 / 1000};
    log_.add(ready.sequence, ready.time);
    return 0;
}

int CameraFile::start() {
    if (buffers_ == 0) return EINVAL;
    Answer answer;
    const int error = ask({RequestKind::start, mode_, 0, 0}, answer);
    streaming_ = error == 0;
    return error;
}

int CameraFile::stop(int file) {
    Answer answer;
    if (const int error = ask({RequestKind::stop, mode_, 0, 0}, answer)) return error;
    streaming_ = false;
    queued_.fill(false);
    FrameReady leftOver;
    while (receiveMessage(file, leftOver, nullptr, MSG_DONTWAIT)) {
    }
    return 0;
}

int CameraFile::ask(const Request& request, Answer& answer, FileDescriptor* memory) {
    if (!sendMessage(link_.get(), request)) return ENODEV;
    long received = 0;
    do {
        received = receiveBytes(link_.get(), &answer, sizeof answer, memory, 0);
    } while (received < 0 && errno == EINTR);
    return received == long(sizeof answer) ? answer.error : ENODEV;
}

void* CameraFile::map(void* where, std::size_t length, int protection, int flags, int /*file*/,
                      off_t offset) {
    const std::lock_guard lock(mutex_);
    const auto at = bufferBytes_ == 0 ? memory_.size() : std::size_t(offset) / bufferBytes_;
    if (at >= memory_.size() || std::size_t(offset) % bufferBytes_ != 0) {
        errno = EINVAL;
        return MAP_FAILED;
    }
    return realCalls().mmap(where, length, protection, flags, memory_[at].get(), 0);
}

// The camera offers mapped buffers only.
ssize_t CameraFile::read(int /*file*/, void* /*buffer*/, std::size_t /*length*/) {
    errno = EINVAL;
    return -1;
}

} // namespace tavelo::bench
