// SPDX-License-Identifier: MIT
// Takes a virtual camera from the kernel's driver and streams it over libusb.
//
// Usage: usb_stream_check SERIAL pictures|unplug
//   pictures  looks at pictures in each format, and stops and starts ten times; one line a subject
//   unplug    says "streaming", waits until the camera is pulled out, and ends
// Exit status 1 where anything is not as it should be.

#include <fcntl.h>
#include <libusb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/bus/libusb_handles.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/usb/stream/usb_stream_input.h"
#include "virtual-camera/firmware/uvc_protocol.h"
#include "virtual-camera/picture/virtual_picture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t vendor = 0x1209;
constexpr std::uint16_t product = 0x0001;
// The guest's processor is an emulated one.
constexpr auto longestWait = 60s;
constexpr std::size_t pictures = 4;
constexpr int restarts = 10;

struct CloseHandle {
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};

// A camera with both of its interfaces taken from the kernel's driver, which gets them back.
class OpenedCamera {
public:
    OpenedCamera(libusb_context* context, FileDescriptor node, libusb_device_handle* handle)
        : context_(context),
          node_(std::move(node)),
          handle_(handle) {
        libusb_set_auto_detach_kernel_driver(handle, 1);
        isClaimed_ = libusb_claim_interface(handle, uvc::controlInterface) == 0 &&
                     libusb_claim_interface(handle, uvc::streamingInterface) == 0;
    }
    ~OpenedCamera() {
        libusb_release_interface(handle_.get(), uvc::streamingInterface);
        libusb_release_interface(handle_.get(), uvc::controlInterface);
    }
    OpenedCamera(const OpenedCamera&) = delete;
    OpenedCamera& operator=(const OpenedCamera&) = delete;

    bool isClaimed() const { return isClaimed_; }

    UsbStreamAccess access(std::shared_ptr<void> claim) const {
        libusb_config_descriptor* told = nullptr;
        if (libusb_get_active_config_descriptor(libusb_get_device(handle_.get()), &told) != 0) return {};
        const LibusbConfiguration header(told);
        std::vector<std::uint8_t> bytes(header->wTotalLength);
        const int length =
            libusb_get_descriptor(handle_.get(), LIBUSB_DT_CONFIG, 0, bytes.data(), int(bytes.size()));
        bytes.resize(std::size_t(std::max(length, 0)));
        return {std::move(claim), context_, handle_.get(), uvc::streamingInterface, std::move(bytes)};
    }

private:
    libusb_context* const context_;
    const FileDescriptor node_; // first: the handle uses it to its end
    const std::unique_ptr<libusb_device_handle, CloseHandle> handle_;
    bool isClaimed_ = false;
};

std::shared_ptr<OpenedCamera> open(libusb_context* context, std::string_view serial) {
    const LibusbDeviceList list(context);
    for (libusb_device* device : list.devices()) {
        libusb_device_descriptor descriptor{};
        libusb_get_device_descriptor(device, &descriptor);
        if (descriptor.idVendor != vendor || descriptor.idProduct != product) continue;
        // As the USB transport does, and for the same reason: see LibusbBus::open.
        const UsbAddress address{libusb_get_bus_number(device), libusb_get_device_address(device)};
        FileDescriptor node(::open(address.path().c_str(), O_RDWR | O_CLOEXEC));
        libusb_device_handle* opened = nullptr;
        if (!node.isOpen() || libusb_wrap_sys_device(context, node.get(), &opened) != 0) continue;
        std::unique_ptr<libusb_device_handle, CloseHandle> handle(opened);
        std::array<unsigned char, 64> text{};
        const int length = libusb_get_string_descriptor_ascii(opened, descriptor.iSerialNumber, text.data(),
                                                              int(text.size()));
        if (length < 0 || !std::equal(serial.begin(), serial.end(), text.begin(), text.begin() + length))
            continue;
        return std::make_shared<OpenedCamera>(context, std::move(node), handle.release());
    }
    return nullptr;
}

class StandardError final : public Diagnostics {
public:
    void report(std::string_view device, std::string_view reason) noexcept override {
        std::fprintf(stderr, "%.*s: %.*s\n", int(device.size()), device.data(), int(reason.size()),
                     reason.data());
    }
};

class Frames final : public FrameSink {
public:
    void consume(const SampleBuffer& sample) override {
        const std::lock_guard lock(mutex_);
        inOrder_ = inOrder_ && sample.presentationTimeStamp.value > last_.presentationTimeStamp.value;
        last_ = sample;
        ++count_;
        changed_.notify_all();
    }
    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, longestWait, [&] { return count_ >= count; });
    }
    std::size_t count() {
        const std::lock_guard lock(mutex_);
        return count_;
    }
    SampleBuffer last() {
        const std::lock_guard lock(mutex_);
        return last_;
    }
    bool inOrder() {
        const std::lock_guard lock(mutex_);
        return inOrder_;
    }

private:
    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    SampleBuffer last_;
    std::size_t count_ = 0;
    bool inOrder_ = true;
};

// Red, green, blue and yellow in the corners.
bool isRight(PixelBuffer& picture) {
    struct Corner {
        bool right, bottom;
        std::array<bool, 3> full; // blue, green, red
    };
    constexpr std::array corners{
        Corner{false, false, {false, false, true}}, Corner{true, false, {false, true, false}},
        Corner{false, true, {true, false, false}}, Corner{true, true, {false, true, true}}};
    if (picture.width() != 320 || picture.height() != 240) return false;
    const auto lock = picture.lock();
    const std::size_t side = VirtualPicture::patchSide(picture.height());
    return std::ranges::all_of(corners, [&](const Corner& corner) {
        const std::size_t x = corner.right ? picture.width() - side / 2 : side / 2;
        const std::size_t y = corner.bottom ? picture.height() - side / 2 : side / 2;
        const std::uint8_t* pixel = picture.baseAddress() + y * picture.bytesPerRow() + 4 * x;
        return std::equal(corner.full.begin(), corner.full.end(), pixel,
                          [](bool full, std::uint8_t value) { return full == (value > 100); });
    });
}

std::unique_ptr<CaptureDeviceInput> makeInput(Diagnostics& diagnostics, const char* fourcc,
                                              std::function<UsbStreamAccess(Error&)> acquire) {
    return makeUsbStreamInput(
        nullptr, {std::move(acquire), diagnostics, {CaptureFormatRequest::Size{320, 240}, {}, fourcc}});
}

bool looksRight(CaptureDeviceInput& input, std::size_t wanted) {
    Frames frames;
    bool right = true;
    input.start(frames);
    for (std::size_t count = 1; count <= wanted && right; ++count)
        right = frames.waitFor(count) && isRight(*frames.last().imageBuffer);
    input.stop();
    const std::size_t count = frames.count();
    std::printf("     %zu pictures%s\n", count, right ? "" : ", the last one wrong");
    return right && frames.inOrder();
}

bool say(bool right, const char* subject) {
    std::printf("%s %s\n", right ? "ok  " : "FAIL", subject);
    return right;
}

bool checkPictures(const std::shared_ptr<OpenedCamera>& camera, Diagnostics& diagnostics) {
    bool right = true;
    for (const char* fourcc : {"YUYV", "MJPG"}) {
        const auto input = makeInput(diagnostics, fourcc, [&](Error&) { return camera->access(camera); });
        right = say(looksRight(*input, pictures), fourcc) && right;
        bool again = true;
        for (int i = 0; i < restarts && again; ++i)
            again = looksRight(*input, 1);
        right = say(again, "stopped and started ten times") && right;
    }
    return right;
}

bool checkUnplug(std::shared_ptr<OpenedCamera> camera, Diagnostics& diagnostics) {
    std::mutex mutex; // guards dropped
    std::condition_variable changed;
    bool dropped = false;
    const auto drop = [&](void*) {
        camera.reset();
        const std::lock_guard lock(mutex);
        dropped = true;
        changed.notify_all();
    };
    const auto acquire = [&](Error& error) {
        if (camera) return camera->access(std::shared_ptr<void>(camera.get(), drop));
        error = {ErrorCode::gone, "it was pulled out"};
        return UsbStreamAccess{};
    };
    Frames frames;
    const auto input = makeInput(diagnostics, "YUYV", acquire);
    input->start(frames);
    if (!say(frames.waitFor(2), "streaming")) return false;
    std::fflush(stdout);
    std::unique_lock lock(mutex);
    const bool ended = changed.wait_for(lock, longestWait, [&] { return dropped; });
    lock.unlock();
    input->stop();
    return say(ended, "let go of a camera that is gone");
}

int fail(const std::string& reason) {
    std::fprintf(stderr, "usb_stream_check: %s\n", reason.c_str());
    return 2;
}

int check(std::string_view serial, std::string_view what) {
    libusb_context* made = nullptr;
    if (libusb_init(&made) != 0) return fail("libusb does not start");
    const LibusbContext context(made);
    auto camera = open(made, serial);
    if (!camera) return fail("no camera of ours has that serial number");
    if (!camera->isClaimed()) return fail("it cannot be claimed");
    StandardError diagnostics;
    if (what == "pictures") return checkPictures(camera, diagnostics) ? 0 : 1;
    return checkUnplug(std::move(camera), diagnostics) ? 0 : 1;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc != 3) return tavelo::fail("usage: usb_stream_check SERIAL pictures|unplug");
    return tavelo::check(argv[1], argv[2]);
}
