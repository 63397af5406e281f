// SPDX-License-Identifier: MIT
#include "fake_camera.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <optional>

namespace tavelo {
namespace {

constexpr std::size_t bufferBytes = 1 << 20;

} // namespace

struct FakeCamera::State {
    std::mutex mutex; // guards everything below
    std::condition_variable changed;
    Counts counts;
    std::vector<OfferedMode> modes;
    std::map<unsigned long, std::deque<int>> failures;
    std::optional<timeval> fixedStamp;
    Lies lies;
    bool gone = false;
    bool broken = false;
    v4l2_pix_format format{};
    v4l2_fract interval{};

    // State of the node that owns the queue.
    bool streaming = false;
    FileDescriptor ready; // write end of the node's pipe: one byte per frame
    std::vector<std::shared_ptr<Bytes>> buffers;
    std::deque<std::uint32_t> queued;
    std::deque<v4l2_buffer> done;

    bool waitUntil(const std::function<bool()>& condition) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), condition);
    }

    int scripted(unsigned long request) {
        auto& errors = failures[request];
        if (errors.empty()) return 0;
        const int error = errors.front();
        errors.pop_front();
        return error;
    }
};

class FakeNode final : public V4l2Node {
public:
    FakeNode(std::shared_ptr<FakeCamera::State> state, FileDescriptor readable)
        : state_(std::move(state)),
          readable_(std::move(readable)) {}
    ~FakeNode() override {
        const std::lock_guard lock(state_->mutex);
        ++state_->counts.closed;
        state_->changed.notify_all();
    }
    FakeNode(const FakeNode&) = delete;
    FakeNode& operator=(const FakeNode&) = delete;

    int control(unsigned long request, void* argument) override {
        const std::lock_guard lock(state_->mutex);
        ++state_->counts.requests;
        if (state_->gone) return ENODEV;
        if (state_->broken) return EIO;
        if (const int error = state_->scripted(request); error != 0) return error;
        switch (request) {
            case VIDIOC_ENUM_FMT:
                return enumFormat(*static_cast<v4l2_fmtdesc*>(argument));
            case VIDIOC_ENUM_FRAMESIZES:
                return enumSize(*static_cast<v4l2_frmsizeenum*>(argument));
            case VIDIOC_ENUM_FRAMEINTERVALS:
                return enumInterval(*static_cast<v4l2_frmivalenum*>(argument));
            case VIDIOC_S_FMT:
                return setFormat(*static_cast<v4l2_format*>(argument));
            case VIDIOC_S_PARM:
                state_->interval = static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe;
                return 0;
            case VIDIOC_REQBUFS:
                return requestBuffers(*static_cast<v4l2_requestbuffers*>(argument));
            case VIDIOC_QUERYBUF:
                return queryBuffer(*static_cast<v4l2_buffer*>(argument));
            case VIDIOC_QBUF:
                return queue(*static_cast<v4l2_buffer*>(argument));
            case VIDIOC_DQBUF:
                return dequeue(*static_cast<v4l2_buffer*>(argument));
            case VIDIOC_STREAMON:
                return setStreaming(true);
            case VIDIOC_STREAMOFF:
                return setStreaming(false);
            default:
                return ENOTTY;
        }
    }

    V4l2Mapping map(std::size_t length, std::uint32_t offset) override {
        const std::lock_guard lock(state_->mutex);
        if (offset >= state_->buffers.size() || length > bufferBytes) return nullptr;
        if (++state_->counts.mapped > state_->counts.mostMapped)
            state_->counts.mostMapped = state_->counts.mapped;
        return {state_->buffers[offset]->data(), [state = state_, buffer = state_->buffers[offset]](auto) {
                    const std::lock_guard unmapLock(state->mutex);
                    --state->counts.mapped;
                }};
    }

    int descriptor() const override { return readable_.get(); }

private:
    std::vector<Fourcc> formats() const {
        std::vector<Fourcc> result;
        for (const OfferedMode& mode : state_->modes)
            if (std::ranges::find(result, mode.format) == result.end()) result.push_back(mode.format);
        return result;
    }

    int enumFormat(v4l2_fmtdesc& entry) const {
        const auto all = formats();
        if (entry.index >= all.size()) return EINVAL;
        entry.pixelformat = all[entry.index];
        return 0;
    }

    int enumSize(v4l2_frmsizeenum& entry) const {
        std::uint32_t index = 0;
        for (const OfferedMode& mode : state_->modes) {
            if (mode.format != entry.pixel_format || index++ != entry.index) continue;
            entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
            entry.discrete = {mode.size.width, mode.size.height};
            return 0;
        }
        return EINVAL;
    }

    int enumInterval(v4l2_frmivalenum& entry) const {
        for (const OfferedMode& mode : state_->modes) {
            const bool same = mode.format == entry.pixel_format && mode.size.width == entry.width &&
                              mode.size.height == entry.height;
            if (!same || entry.index >= mode.intervals.size()) continue;
            const FrameInterval interval = mode.intervals[entry.index].shortest;
            entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
            entry.discrete = {interval.numerator, interval.denominator};
            return 0;
        }
        return EINVAL;
    }

    bool isLiedAbout(Fourcc format) const {
        return state_->lies.onlyOf == 0 || state_->lies.onlyOf == format;
    }

    int setFormat(v4l2_format& format) {
        if (!state_->buffers.empty()) return EBUSY;
        format.fmt.pix.colorspace = V4L2_COLORSPACE_SRGB;
        if (format.fmt.pix.pixelformat == fourcc::yuyv)
            format.fmt.pix.bytesperline = format.fmt.pix.width * 2;
        format.fmt.pix.sizeimage = std::uint32_t(bufferBytes);
        if (isLiedAbout(format.fmt.pix.pixelformat)) {
            const FakeCamera::Lies& lies = state_->lies;
            if (lies.imageBytes > 0) format.fmt.pix.sizeimage = lies.imageBytes;
            if (lies.bytesPerLine > 0) format.fmt.pix.bytesperline = lies.bytesPerLine;
            if (lies.width > 0) format.fmt.pix.width = lies.width;
        }
        state_->format = format.fmt.pix;
        return 0;
    }

    int requestBuffers(v4l2_requestbuffers& request) {
        if (request.count == 0 && state_->counts.mapped > 0) return EBUSY;
        state_->buffers.clear();
        state_->queued.clear();
        state_->done.clear();
        const std::uint32_t count = request.count > 0 ? std::max(request.count, state_->lies.bufferCount) : 0;
        for (std::uint32_t i = 0; i < count; ++i)
            state_->buffers.push_back(std::make_shared<Bytes>(bufferBytes));
        state_->counts.buffers = int(count);
        request.count = count;
        return 0;
    }

    // The kernel refuses others.
    static bool isOurKind(const v4l2_buffer& buffer) {
        return buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE && buffer.memory == V4L2_MEMORY_MMAP;
    }

    int queryBuffer(v4l2_buffer& buffer) const {
        if (!isOurKind(buffer) || buffer.index >= state_->buffers.size()) return EINVAL;
        buffer.length = std::uint32_t(bufferBytes);
        if (state_->lies.bufferBytes > 0 && isLiedAbout(state_->format.pixelformat))
            buffer.length = state_->lies.bufferBytes;
        buffer.m.offset = buffer.index;
        return 0;
    }

    int queue(const v4l2_buffer& buffer) {
        if (!isOurKind(buffer) || buffer.index >= state_->buffers.size() ||
            std::ranges::count(state_->queued, buffer.index) > 0)
            return EINVAL;
        state_->queued.push_back(buffer.index);
        return 0;
    }

    int dequeue(v4l2_buffer& buffer) {
        if (!isOurKind(buffer) || !state_->streaming) return EINVAL;
        if (state_->done.empty()) return EAGAIN;
        char byte = 0;
        if (::read(readable_.get(), &byte, 1) != 1) return EIO;
        buffer = state_->done.front();
        state_->done.pop_front();
        return 0;
    }

    int setStreaming(bool on) {
        state_->streaming = on;
        ++(on ? state_->counts.streamOn : state_->counts.streamOff);
        state_->changed.notify_all();
        return 0;
    }

    std::shared_ptr<FakeCamera::State> state_;
    FileDescriptor readable_;
};

FakeCamera::FakeCamera() : state_(std::make_shared<State>()) {
    state_->modes = {{fourcc::yuyv, {32, 16}, {{{1, 30}, {1, 30}}}}};
}

FakeCamera::~FakeCamera() = default;

void FakeCamera::offer(std::vector<OfferedMode> modes) {
    const std::lock_guard lock(state_->mutex);
    state_->modes = std::move(modes);
}

void FakeCamera::failNext(unsigned long request, int error, int times) {
    const std::lock_guard lock(state_->mutex);
    state_->failures[request].insert(state_->failures[request].end(), std::size_t(times), error);
}

bool FakeCamera::deliver(const Bytes& bytes, std::uint32_t flags) {
    const std::lock_guard lock(state_->mutex);
    if (!state_->streaming || state_->queued.empty() || !state_->ready.isOpen()) return false;
    v4l2_buffer buffer{};
    buffer.index = state_->queued.front();
    buffer.bytesused = std::uint32_t(bytes.size());
    buffer.flags = flags | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    buffer.timestamp = state_->fixedStamp.value_or(timeval{micros / 1'000'000, micros % 1'000'000});
    if (!bytes.empty()) std::memcpy(state_->buffers[buffer.index]->data(), bytes.data(), bytes.size());
    state_->queued.pop_front();
    state_->done.push_back(buffer);
    return ::write(state_->ready.get(), "f", 1) == 1;
}

void FakeCamera::stamp(timeval time) {
    const std::lock_guard lock(state_->mutex);
    state_->fixedStamp = time;
}

void FakeCamera::lie(const Lies& lies) {
    const std::lock_guard lock(state_->mutex);
    state_->lies = lies;
}

void FakeCamera::vanish() {
    const std::lock_guard lock(state_->mutex);
    state_->gone = true;
    state_->streaming = false;
    state_->ready.reset();
}

void FakeCamera::breakQueue() {
    const std::lock_guard lock(state_->mutex);
    state_->broken = true;
    state_->ready.reset();
}

void FakeCamera::hangUp() {
    const std::lock_guard lock(state_->mutex);
    state_->ready.reset();
}

bool FakeCamera::waitForStreamOn(int count) {
    return state_->waitUntil([this, count] { return state_->counts.streamOn >= count; });
}

bool FakeCamera::waitForClosed(int count) {
    return state_->waitUntil([this, count] { return state_->counts.closed >= count; });
}

bool FakeCamera::waitForOpened(int count) {
    return state_->waitUntil([this, count] { return state_->counts.opened >= count; });
}

FakeCamera::Counts FakeCamera::counts() {
    const std::lock_guard lock(state_->mutex);
    return state_->counts;
}

v4l2_pix_format FakeCamera::format() {
    const std::lock_guard lock(state_->mutex);
    return state_->format;
}

v4l2_fract FakeCamera::interval() {
    const std::lock_guard lock(state_->mutex);
    return state_->interval;
}

std::unique_ptr<V4l2Node> FakeCamera::open(const std::string& /*path*/, int& error) {
    const std::lock_guard lock(state_->mutex);
    ++state_->counts.opened;
    state_->changed.notify_all();
    error = state_->gone ? ENODEV : state_->scripted(0);
    std::array<int, 2> ends{};
    if (error == 0 && ::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0) error = errno;
    if (error != 0) {
        ++state_->counts.closed; // a failed open leaves nothing open
        state_->changed.notify_all();
        return nullptr;
    }
    // A new node starts without the state of an earlier one.
    state_->broken = false;
    state_->streaming = false;
    state_->buffers.clear();
    state_->counts.buffers = 0;
    state_->queued.clear();
    state_->done.clear();
    state_->ready = FileDescriptor(ends[1]);
    return std::make_unique<FakeNode>(state_, FileDescriptor(ends[0]));
}

} // namespace tavelo
