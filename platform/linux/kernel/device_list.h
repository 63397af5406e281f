// SPDX-License-Identifier: MIT
// The list of cameras that are plugged in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/capture.h"
#include "platform/linux/kernel/capture_device.h"
#include "platform/linux/v4l2/video_nodes.h"
#include "platform/main_queue.h"

namespace tavelo {

/// Compares scans with the known devices and notifies observers of changes.
///
/// Scans for changes run on the thread that calls rescan(), since inspecting a new node may take time; the
/// list itself belongs to the main thread.
class VideoDeviceList {
public:
    /// The queue must outlive the list.
    VideoDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue, const V4l2DeviceSetup& setup);
    ~VideoDeviceList();
    VideoDeviceList(const VideoDeviceList&) = delete;
    VideoDeviceList& operator=(const VideoDeviceList&) = delete;

    /// Main thread: fills the list before anybody can have seen it, so no observer is notified.
    void fill();

    /// Thread-safe: scans for changes; the list and its observers are updated on the main thread.
    void rescan();

    /// Main thread.  In order of arrival; those present at the start by number.
    std::vector<std::shared_ptr<CaptureDevice>> devices() const;
    void addObserver(CaptureDeviceObserver* observer);
    void removeObserver(CaptureDeviceObserver* observer);

private:
    /// Main thread only; a task that runs after the list has ended finds it gone.
    class Book;

    struct Scan {
        std::uint64_t serial = 0;
        std::vector<VideoNode> nodes;
    };
    Scan scan();

    MainQueue& mainQueue_;
    const std::shared_ptr<Book> book_;

    std::mutex mutex_; // guards what follows, and keeps scans in the order in which they are posted
    VideoNodeScanner scanner_;
    std::uint64_t serial_ = 0;
};

} // namespace tavelo
