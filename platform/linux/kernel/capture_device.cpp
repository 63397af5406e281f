// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/capture_device.h"

#include <system_error>
#include <utility>

#include "platform/common/stream_retry_policy.h"
#include "platform/linux/device_holders.h"
#include "platform/linux/kernel/capture_input.h"

namespace tavelo {

V4l2Device::V4l2Device(VideoNode node, V4l2DeviceSetup setup,
                       std::chrono::steady_clock::time_point rightsMayComeUntil)
    : node_(std::move(node)),
      setup_(std::move(setup)),
      rightsMayComeUntil_(rightsMayComeUntil) {}

std::unique_ptr<CaptureDeviceInput> V4l2Device::makeInput(Error& error) {
    error = {};
    int number = 0;
    // Closed again at once: the input opens the node when it streams.
    if (!setup_.opener->open(node_.path(), number)) {
        const StreamEnd why = streamEndOf(number);
        const bool waits =
            why == StreamEnd::busy || (why == StreamEnd::gone && isListed(setup_.sysfs, node_)) ||
            (why == StreamEnd::denied && std::chrono::steady_clock::now() < rightsMayComeUntil_);
        if (!waits) {
            error = {errorCodeOf(why),
                     "cannot open " + node_.path() + ": " + std::generic_category().message(number)};
            return nullptr;
        }
    }
    return std::make_unique<V4l2Input>(
        shared_from_this(),
        V4l2InputSetup{node_.path(), setup_.opener, setup_.diagnostics, setup_.request, StreamPatience(),
                       [sysfs = setup_.sysfs, node = node_] { return isListed(sysfs, node); },
                       [path = node_.path()] { return busyText(deviceHolders(path)); }, setup_.priority});
}

} // namespace tavelo
