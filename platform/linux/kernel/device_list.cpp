// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/device_list.h"

#include <chrono>
#include <utility>

#include "platform/common/capture_device_book.h"
#include "platform/common/stream_retry_policy.h"

namespace tavelo {
namespace {

using Clock = std::chrono::steady_clock;

bool isNode(const V4l2Device& device, const VideoNode& node) {
    return device.node().name == node.name && device.node().instance == node.instance;
}

} // namespace

class VideoDeviceList::Book : public CaptureDeviceBook<V4l2Device> {
public:
    explicit Book(V4l2DeviceSetup setup) : setup_(std::move(setup)) {}

    /// @param rightsMayComeUntil for new devices
    void update(const Scan& scan, Clock::time_point rightsMayComeUntil) {
        if (scan.serial <= applied_) return; // a later scan came first
        applied_ = scan.serial;
        apply<VideoNode>(scan.nodes, isNode, [&](const VideoNode& node) {
            return std::make_shared<V4l2Device>(node, setup_, rightsMayComeUntil);
        });
    }

private:
    const V4l2DeviceSetup setup_;
    std::uint64_t applied_ = 0;
};

VideoDeviceList::VideoDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue,
                                 const V4l2DeviceSetup& setup)
    : mainQueue_(mainQueue),
      book_(std::make_shared<Book>(
          V4l2DeviceSetup{setup.opener, setup.diagnostics, setup.request, sysfs, setup.priority})),
      scanner_(std::move(sysfs), setup.opener) {}

VideoDeviceList::~VideoDeviceList() = default;

VideoDeviceList::Scan VideoDeviceList::scan() {
    return {++serial_, scanner_.scan()};
}

void VideoDeviceList::fill() {
    const std::lock_guard lock(mutex_);
    book_->update(scan(), Clock::now());
}

void VideoDeviceList::rescan() {
    const std::lock_guard lock(mutex_);
    mainQueue_.post([book = std::weak_ptr(book_), found = scan()] {
        if (const auto alive = book.lock()) alive->update(found, Clock::now() + StreamPatience().deniedFor);
    });
}

std::vector<std::shared_ptr<CaptureDevice>> VideoDeviceList::devices() const {
    return book_->devices();
}

void VideoDeviceList::addObserver(CaptureDeviceObserver* observer) {
    book_->add(observer);
}

void VideoDeviceList::removeObserver(CaptureDeviceObserver* observer) {
    book_->remove(observer);
}

} // namespace tavelo
