// SPDX-License-Identifier: MIT
// The cameras that are plugged in, and who is told when that changes.
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

/// Compares what a scan finds with what is known, and tells the difference.
///
/// The scans of changes run on whatever thread hears of them, since looking at a new node may take its time;
/// the list itself belongs to the main thread.
class VideoDeviceList {
public:
    /// The queue must outlive the list.
    VideoDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue, const V4l2DeviceSetup& setup);
    ~VideoDeviceList();
    VideoDeviceList(const VideoDeviceList&) = delete;
    VideoDeviceList& operator=(const VideoDeviceList&) = delete;

    /// Main thread: fills the list before anybody can have seen it, so no observer is told.
    void fill();

    /// Thread-safe: looks what has changed; the list and its observers learn of it on the main thread.
    void rescan();

    /// Main thread.  In the order of their arrival, those that were there first by number.
    std::vector<std::shared_ptr<CaptureDevice>> devices() const;
    void addObserver(CaptureDeviceObserver* observer);
    void removeObserver(CaptureDeviceObserver* observer);

private:
    /// Of the main thread; a task that comes after the list's end finds it gone.
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
