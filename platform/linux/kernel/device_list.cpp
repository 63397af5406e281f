// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/device_list.h"

#include <chrono>

#include "platform/common/stream_retry_policy.h"

namespace tavelo {
namespace {

bool isSameNode(const VideoNode& known, const VideoNode& found) {
    return known.name == found.name && known.instance == found.instance;
}

} // namespace

KernelDeviceList::KernelDeviceList(MainQueue& mainQueue, const KernelDeviceOptions& options)
    : CaptureDeviceList(mainQueue, isSameNode,
                        [options](const VideoNode& node, CameraArrival arrival) {
                            auto rightsMayComeUntil = std::chrono::steady_clock::now();
                            if (arrival == CameraArrival::later)
                                rightsMayComeUntil += StreamPatience().deniedFor;
                            return std::make_shared<KernelCaptureDevice>(node, options, rightsMayComeUntil);
                        }),
      scanner_(options.sysfs, options.opener) {}

void KernelDeviceList::fill() {
    CaptureDeviceList::fill([this] { return scanner_.scan(); });
}

void KernelDeviceList::rescan() {
    CaptureDeviceList::rescan([this] { return scanner_.scan(); });
}

} // namespace tavelo
