// SPDX-License-Identifier: MIT
// The cameras that the kernel's driver holds.
#pragma once

#include "platform/common/capture_device_list.h"
#include "platform/linux/kernel/capture_device.h"
#include "platform/linux/v4l2/video_nodes.h"
#include "platform/main_queue.h"

namespace tavelo {

/// The capturing video nodes; those present at the start by number.
class KernelDeviceList : private CaptureDeviceList<VideoNode> {
public:
    /// The queue must outlive the list.
    KernelDeviceList(MainQueue& mainQueue, const KernelDeviceOptions& options);

    /// Main thread: fills the list before anybody can have seen it, so no observer is notified.
    void fill();

    /// Thread-safe: scans for changes; the list and its observers are updated on the main thread.
    void rescan();

    using CaptureDeviceList::addObserver;
    using CaptureDeviceList::devices;
    using CaptureDeviceList::removeObserver;

private:
    VideoNodeScanner scanner_; // used by one scan at a time
};

} // namespace tavelo
