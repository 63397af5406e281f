// SPDX-License-Identifier: MIT
// Takes a virtual camera from the kernel's driver and streams it over libusb.
//
// Usage: usb_stream_check SERIAL pictures|unplug
//   pictures  checks pictures in each format, then stops and starts ten times; one line per check
//   unplug    prints "streaming", waits until the camera is unplugged, and ends
// Exit status 1 if any check fails.

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/usb/capture_input.h"
#include "platform/linux/usb/device/libusb_bus.h"
#include "platform/linux/usb/usb_camera_claims.h"

#include "platform/virtual/picture/virtual_picture.h"
#include "support/recorded_frames.h"
#include "support/standard_error_diagnostics.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t vendor = 0x1209;
constexpr std::uint16_t product = 0x0001;
// The guest's processor is emulated.
constexpr auto longestWait = 60s;
constexpr std::size_t pictures = 4;
constexpr int restarts = 10;

// Of a virtual camera.
constexpr std::uint8_t controlInterface = 0;
constexpr std::uint8_t streamingInterface = 1;

struct Camera {
    UsbCameraAddress address;
    std::vector<std::uint8_t> configurationDescriptor;
};

std::optional<Camera> cameraWithSerial(std::string_view serial) {
    for (const SysfsUsbDevice& device : usbDevices("/sys")) {
        if (device.vendorID != vendor || device.productID != product) continue;
        std::string told;
        std::getline(std::ifstream(device.path / "serial"), told);
        const auto descriptors = usbDescriptors(device);
        if (told != serial || !descriptors) continue;
        const UsbAddress address{device.busNumber, device.deviceNumber};
        return Camera{{address, controlInterface, {streamingInterface}}, descriptors->configuration};
    }
    return std::nullopt;
}

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

using Acquire = std::function<std::shared_ptr<UsbHandle>(Error&)>;

std::unique_ptr<CaptureDeviceInput> makeInput(const Camera& camera, Diagnostics& diagnostics,
                                              const char* fourcc, Acquire acquire) {
    return std::make_unique<UsbCaptureInput>(
        nullptr, UsbStreamSource{std::move(acquire), streamingInterface, camera.configurationDescriptor},
        CaptureInputOptions{.diagnostics = diagnostics,
                            .whoHolds = [] { return "busy: in use by another program"; },
                            .request = {CaptureFormatRequest::Size{320, 240}, {}, fourcc}});
}

bool inOrder(const std::vector<std::int64_t>& times) {
    return (times.empty() || times.front() > 0) && std::ranges::is_sorted(times, std::less_equal<>());
}

bool looksRight(CaptureDeviceInput& input, std::size_t wanted) {
    testing::RecordedFrames frames;
    bool right = true;
    input.start(frames);
    for (std::size_t count = 1; count <= wanted && right; ++count)
        right = frames.waitForFrames(count) && isRight(*frames.last().imageBuffer);
    input.stop();
    const std::size_t count = frames.count();
    std::printf("     %zu pictures%s\n", count, right ? "" : ", the last one wrong");
    return right && inOrder(frames.times());
}

bool say(bool right, const char* subject) {
    std::printf("%s %s\n", right ? "ok  " : "FAIL", subject);
    return right;
}

// The camera stays ours from the first picture to the last.
bool checkPictures(UsbCameraClaims& claims, const Camera& camera, Diagnostics& diagnostics) {
    Error error;
    const auto held = claims.acquire(camera.address, error);
    if (!held) return say(false, error.text.c_str());
    bool right = true;
    for (const char* fourcc : {"YUYV", "MJPG"}) {
        const auto input = makeInput(camera, diagnostics, fourcc, [&](Error&) { return held; });
        right = say(looksRight(*input, pictures), fourcc) && right;
        bool again = true;
        for (int i = 0; i < restarts && again; ++i)
            again = looksRight(*input, 1);
        right = say(again, "stopped and started ten times") && right;
    }
    return right;
}

bool checkUnplug(UsbCameraClaims& claims, const Camera& camera, Diagnostics& diagnostics) {
    std::mutex mutex; // guards dropped
    std::condition_variable changed;
    bool dropped = false;
    const auto acquire = [&](Error& error) {
        std::shared_ptr<UsbHandle> held = claims.acquire(camera.address, error);
        if (!held) return held;
        return std::shared_ptr<UsbHandle>(held.get(), [&, held](UsbHandle*) mutable {
            held.reset();
            const std::lock_guard lock(mutex);
            dropped = true;
            changed.notify_all();
        });
    };
    testing::RecordedFrames frames;
    const auto input = makeInput(camera, diagnostics, "YUYV", acquire);
    input->start(frames);
    if (!say(frames.waitForFrames(2), "streaming")) return false;
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
    const std::shared_ptr<LibusbBus> bus = LibusbBus::open();
    if (!bus) return fail("libusb does not start");
    const auto camera = cameraWithSerial(serial);
    if (!camera) return fail("no camera of ours has that serial number");
    testing::StandardErrorDiagnostics diagnostics;
    UsbCameraClaims claims(bus, nullptr, diagnostics);
    const bool right = what == "pictures" ? checkPictures(claims, *camera, diagnostics)
                                          : checkUnplug(claims, *camera, diagnostics);
    return right ? 0 : 1;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc != 3) return tavelo::fail("usage: usb_stream_check SERIAL pictures|unplug");
    return tavelo::check(argv[1], argv[2]);
}
