// SPDX-License-Identifier: MIT
// A minimal V4L2 program; prints what it is told and what it sees.
//
// usage: pretend_camera_client NODE ACTION
//   modes
//   stream FORMAT WIDTH HEIGHT FRAMES [PAUSE]   PAUSE: ms before a buffer goes back
//   hold FORMAT WIDTH HEIGHT                    streams twice, and gives no buffer back the second time
//   export FORMAT WIDTH HEIGHT
//   calls
#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "bench/peers/camera/frame_code.h"
#include "bench/peers/link/camera_mode.h"
#include "platform/common/file_descriptor.h"

namespace {

using namespace tavelo;
using namespace tavelo::bench;

constexpr std::uint32_t wantedBuffers = 3;
constexpr int patience = 10'000; // ms

void request(const FileDescriptor& node, unsigned long what, void* argument, const char* name) {
    if (::ioctl(node.get(), what, argument) != 0)
        throw std::runtime_error(std::string(name) + ": " + std::strerror(errno));
}

long long nanoseconds() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string textOf(std::uint32_t fourcc) {
    return {reinterpret_cast<const char*>(&fourcc), 4};
}

void printModes(const FileDescriptor& node) {
    v4l2_capability camera{};
    request(node, VIDIOC_QUERYCAP, &camera, "QUERYCAP");
    std::printf("driver %s\n", reinterpret_cast<const char*>(camera.driver));
    v4l2_fmtdesc format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (; ::ioctl(node.get(), VIDIOC_ENUM_FMT, &format) == 0; ++format.index) {
        v4l2_frmsizeenum size{};
        size.pixel_format = format.pixelformat;
        for (; ::ioctl(node.get(), VIDIOC_ENUM_FRAMESIZES, &size) == 0; ++size.index) {
            v4l2_frmivalenum interval{};
            interval.pixel_format = format.pixelformat;
            interval.width = size.discrete.width;
            interval.height = size.discrete.height;
            for (; ::ioctl(node.get(), VIDIOC_ENUM_FRAMEINTERVALS, &interval) == 0; ++interval.index)
                std::printf("mode %s %u %u %u\n", textOf(format.pixelformat).c_str(), interval.width,
                            interval.height, interval.discrete.denominator);
        }
    }
}

struct Stream {
    v4l2_pix_format format{};
    std::vector<std::span<const std::uint8_t>> buffers; // mapped until the end
};

v4l2_buffer bufferNumber(std::uint32_t index) {
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

Stream start(const FileDescriptor& node, const v4l2_pix_format& wanted) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix = wanted;
    request(node, VIDIOC_S_FMT, &format, "S_FMT");
    Stream stream{format.fmt.pix, {}};
    v4l2_streamparm rate{};
    rate.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request(node, VIDIOC_G_PARM, &rate, "G_PARM");
    v4l2_requestbuffers buffers{};
    buffers.count = wantedBuffers;
    buffers.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffers.memory = V4L2_MEMORY_MMAP;
    request(node, VIDIOC_REQBUFS, &buffers, "REQBUFS");
    for (std::uint32_t index = 0; index < buffers.count; ++index) {
        v4l2_buffer buffer = bufferNumber(index);
        request(node, VIDIOC_QUERYBUF, &buffer, "QUERYBUF");
        void* const memory =
            ::mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED, node.get(), off_t(buffer.m.offset));
        if (memory == MAP_FAILED) throw std::runtime_error("a buffer cannot be mapped");
        stream.buffers.emplace_back(static_cast<const std::uint8_t*>(memory), buffer.length);
        request(node, VIDIOC_QBUF, &buffer, "QBUF");
    }
    std::printf("start %u %u %s %u %lld %u\n", stream.format.width, stream.format.height,
                textOf(stream.format.pixelformat).c_str(), stream.format.sizeimage, nanoseconds(),
                rate.parm.capture.timeperframe.denominator);
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request(node, VIDIOC_STREAMON, &type, "STREAMON");
    return stream;
}

bool becomesReadable(const FileDescriptor& node, int milliseconds) {
    pollfd waiting{node.get(), POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) == 1 && (waiting.revents & POLLIN) != 0;
}

std::vector<Pixel> yuyvRow(std::span<const std::uint8_t> frame, std::size_t width, std::size_t y) {
    std::vector<Pixel> row;
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t luma = frame[(y * width + x) * 2];
        row.push_back({luma, luma, luma, 255});
    }
    return row;
}

std::vector<Pixel> jpegRow(std::span<const std::uint8_t> frame, std::size_t width, std::size_t height,
                           std::size_t y) {
    const std::unique_ptr<std::remove_pointer_t<tjhandle>, int (*)(tjhandle)> decoder(
        static_cast<std::remove_pointer_t<tjhandle>*>(tjInitDecompress()), tjDestroy);
    std::vector<Pixel> picture(width * height);
    if (tjDecompress2(decoder.get(), frame.data(), frame.size(), &picture.front().blue, int(width), 0,
                      int(height), TJPF_BGRX, 0) != 0)
        throw std::runtime_error("not a picture");
    return {picture.begin() + std::ptrdiff_t(y * width), picture.begin() + std::ptrdiff_t((y + 1) * width)};
}

int codeOf(std::span<const std::uint8_t> frame, const v4l2_pix_format& format) {
    const Rectangle bar = codeBar(format.width, format.height);
    const std::size_t y = bar.top + bar.height / 2;
    const auto row = format.pixelformat == yuyvFormat ? yuyvRow(frame, format.width, y)
                                                      : jpegRow(frame, format.width, format.height, y);
    const auto code = readFrameCode(row, {0, format.width, false});
    return code ? int(*code) : -1;
}

v4l2_buffer printFrame(const FileDescriptor& node, const Stream& stream) {
    if (!becomesReadable(node, patience)) throw std::runtime_error("no frame comes");
    v4l2_buffer buffer = bufferNumber(0);
    request(node, VIDIOC_DQBUF, &buffer, "DQBUF");
    const long long taken = nanoseconds();
    const auto frame = stream.buffers.at(buffer.index).first(buffer.bytesused);
    const long long complete =
        static_cast<long long>(buffer.timestamp.tv_sec) * 1'000'000'000 + buffer.timestamp.tv_usec * 1000;
    std::printf("frame %u %u %d %lld %lld\n", buffer.sequence, buffer.bytesused, codeOf(frame, stream.format),
                complete, taken);
    std::fflush(stdout);
    return buffer;
}

v4l2_pix_format wantedBy(const std::vector<std::string>& words) {
    v4l2_pix_format wanted{};
    wanted.pixelformat = fourccOf(words.at(2));
    wanted.width = std::uint32_t(std::stoul(words.at(3)));
    wanted.height = std::uint32_t(std::stoul(words.at(4)));
    return wanted;
}

void stream(const FileDescriptor& node, const std::vector<std::string>& words) {
    const std::chrono::milliseconds pause(words.size() > 6 ? std::stol(words[6]) : 0);
    const Stream running = start(node, wantedBy(words));
    for (long left = std::stol(words.at(5)); left > 0; --left) {
        v4l2_buffer buffer = printFrame(node, running);
        std::this_thread::sleep_for(pause);
        request(node, VIDIOC_QBUF, &buffer, "QBUF");
    }
    // Frames that wait when the stream ends must not come in the next.
    if (!becomesReadable(node, patience)) throw std::runtime_error("no frame waits");
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request(node, VIDIOC_STREAMOFF, &type, "STREAMOFF");
    std::printf("after the end %s\n", becomesReadable(node, 0) ? "a frame" : "nothing");
}

// Until the camera is gone, since it has no buffer left after the first frames.
void hold(const FileDescriptor& node, const std::vector<std::string>& words) {
    const Stream running = start(node, wantedBy(words));
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request(node, VIDIOC_STREAMOFF, &type, "STREAMOFF");
    for (std::uint32_t index = 0; index < running.buffers.size(); ++index) {
        v4l2_buffer buffer = bufferNumber(index);
        request(node, VIDIOC_QBUF, &buffer, "QBUF");
    }
    request(node, VIDIOC_STREAMON, &type, "STREAMON");
    for (;;)
        printFrame(node, running);
}

// The memory of the buffer as another process would get it.
std::span<const std::uint8_t> exported(const FileDescriptor& node, std::uint32_t index, std::size_t length) {
    v4l2_exportbuffer wanted{};
    wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wanted.index = index;
    wanted.flags = O_CLOEXEC;
    request(node, VIDIOC_EXPBUF, &wanted, "EXPBUF");
    const FileDescriptor file(wanted.fd);
    if (::fcntl(file.get(), F_GETFD) != FD_CLOEXEC) throw std::runtime_error("not closed with exec");
    void* const memory = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) throw std::runtime_error("an exported buffer cannot be mapped");
    return {static_cast<const std::uint8_t*>(memory), length};
}

// A frame in each buffer, and whether its exported memory has it too.
void compareExported(const FileDescriptor& node, const std::vector<std::string>& words) {
    const Stream running = start(node, wantedBy(words));
    for (std::size_t left = running.buffers.size(); left > 0; --left) {
        const v4l2_buffer buffer = printFrame(node, running);
        const auto mapped = running.buffers.at(buffer.index);
        const bool same = std::ranges::equal(mapped, exported(node, buffer.index, mapped.size()));
        std::printf("buffer %u %s\n", buffer.index, same ? "same" : "different");
    }
}

// The ways by which libraries reach a camera, and what must fail.
void tryCalls(const FileDescriptor& node) {
    const auto say = [](const char* what, bool holds) { std::printf("%s %s\n", what, holds ? "yes" : "no"); };
    struct stat status {};
    say("a character device", ::fstat(node.get(), &status) == 0 && S_ISCHR(status.st_mode));
    v4l2_capability camera{};
    say("by number", ::syscall(SYS_ioctl, node.get(), VIDIOC_QUERYCAP, &camera) == 0);
    FileDescriptor copy(::dup(node.get()));
    say("a duplicate", ::ioctl(copy.get(), VIDIOC_QUERYCAP, &camera) == 0);
    v4l2_control brightness{V4L2_CID_BRIGHTNESS, 1000};
    say("a control is set", ::ioctl(copy.get(), VIDIOC_S_CTRL, &brightness) == 0);
    say("and clamped", ::ioctl(node.get(), VIDIOC_G_CTRL, &brightness) == 0 && brightness.value == 64);
    copy.reset();
    say("the original stays", ::ioctl(node.get(), VIDIOC_QUERYCAP, &camera) == 0);
    say("opened as asked",
        (::fcntl(node.get(), F_GETFL) & O_NONBLOCK) != 0 && ::fcntl(node.get(), F_GETFD) == FD_CLOEXEC);
    v4l2_buffer buffer = bufferNumber(0);
    say("no frame while idle", ::ioctl(node.get(), VIDIOC_DQBUF, &buffer) != 0 && errno == EINVAL);
    say("not readable while idle", !becomesReadable(node, 0));
    std::uint8_t byte = 0;
    say("nothing to read", ::read(node.get(), &byte, 1) == -1 && errno == EINVAL);
    v4l2_requestbuffers userMemory{};
    userMemory.count = 2;
    userMemory.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    userMemory.memory = V4L2_MEMORY_USERPTR;
    say("mapped buffers only", ::ioctl(node.get(), VIDIOC_REQBUFS, &userMemory) != 0 && errno == EINVAL);
    v4l2_exportbuffer missing{};
    missing.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    say("no buffer to export", ::ioctl(node.get(), VIDIOC_EXPBUF, &missing) != 0 && errno == EINVAL);
    v4l2_edid identification{};
    say("an unknown request", ::ioctl(node.get(), VIDIOC_G_EDID, &identification) != 0 && errno == ENOTTY);
}

void run(const std::vector<std::string>& words) {
    const FileDescriptor node(::open(words.at(0).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!node.isOpen()) throw std::runtime_error(std::string("open: ") + std::strerror(errno));
    if (words.at(1) == "modes") printModes(node);
    if (words.at(1) == "stream") stream(node, words);
    if (words.at(1) == "hold") hold(node, words);
    if (words.at(1) == "export") compareExported(node, words);
    if (words.at(1) == "calls") tryCalls(node);
}

} // namespace

int main(int count, char** words) {
    try {
        run({words + 1, words + count});
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
