// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/capture_device.h"

#include <system_error>
#include <utility>

#include "platform/common/stream_retry_policy.h"
#include "platform/linux/device_holders.h"
#include "platform/linux/kernel/capture_input.h"
#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {

KernelCaptureDevice::KernelCaptureDevice(VideoNode node, KernelDeviceOptions options,
                                         std::chrono::steady_clock::time_point rightsMayComeUntil)
    : node_(std::move(node)),
      options_(std::move(options)),
      rightsMayComeUntil_(rightsMayComeUntil) {}

std::vector<CaptureFormat> KernelCaptureDevice::formats() const {
    int error = 0;
    const auto node = options_.opener->open(node_.path(), error);
    return node ? captureFormats(offeredModes(*node, {})) : std::vector<CaptureFormat>();
}

DeviceHolders KernelCaptureDevice::holders() const {
    return deviceHolders(node_.path());
}

SharedPictures KernelCaptureDevice::sharedPictures() const {
    if (!options_.pipewire || options_.pictures == PictureSource::v4l2) return {};
    const auto open = [pipewire = options_.pipewire, path = node_.path()] {
        const auto platform = pipewire->get();
        return platform ? platform->makeSharedCamera(path) : nullptr;
    };
    return {.open = open, .only = options_.pictures == PictureSource::pipewire};
}

std::unique_ptr<CaptureDeviceInput> KernelCaptureDevice::makeInput(Error& error) {
    error = {};
    int number = 0;
    // Closed again at once: the input opens the node when it streams.
    if (!options_.opener->open(node_.path(), number)) {
        const StreamEnd why = streamEndOf(number);
        const bool waits =
            options_.pictures == PictureSource::pipewire || why == StreamEnd::busy ||
            (why == StreamEnd::gone && isListed(options_.sysfs, node_)) ||
            (why == StreamEnd::denied && std::chrono::steady_clock::now() < rightsMayComeUntil_);
        if (!waits) {
            error = {errorCodeOf(why),
                     "cannot open " + node_.path() + ": " + std::generic_category().message(number)};
            return nullptr;
        }
    }
    return std::make_unique<KernelCaptureInput>(
        shared_from_this(), node_.path(), options_.opener,
        CaptureInputOptions{
            .diagnostics = options_.diagnostics,
            .whoHolds = [path = node_.path()] { return busyText(deviceHolders(path)); },
            .request = options_.request,
            .isListed = [sysfs = options_.sysfs, node = node_] { return isListed(sysfs, node); },
            .priority = options_.priority},
        sharedPictures());
}

} // namespace tavelo
