// SPDX-License-Identifier: MIT
#include "platform/linux/video_device_list.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/linux/v4l2_retry_policy.h"

namespace tavelo {
namespace {

using Clock = std::chrono::steady_clock;

bool isNode(const V4l2Device& device, const VideoNode& node) {
    return device.node().name == node.name && device.node().instance == node.instance;
}

} // namespace

class VideoDeviceList::Book {
public:
    explicit Book(V4l2DeviceSetup setup) : setup_(std::move(setup)) {}

    /// @param rightsMayComeUntil for the devices that are new
    void apply(const Scan& scan, Clock::time_point rightsMayComeUntil) {
        if (scan.serial <= applied_) return; // overtaken by a later one
        applied_ = scan.serial;
        removeMissing(scan.nodes);
        for (const VideoNode& node : scan.nodes) {
            const bool known =
                std::ranges::any_of(devices_, [&](const auto& device) { return isNode(*device, node); });
            if (known) continue;
            devices_.push_back(std::make_shared<V4l2Device>(node, setup_, rightsMayComeUntil));
            tell(&CaptureDeviceObserver::captureDeviceWasConnected, devices_.back());
        }
    }

    std::vector<std::shared_ptr<CaptureDevice>> devices() const { return {devices_.begin(), devices_.end()}; }

    void add(CaptureDeviceObserver* observer) { observers_.push_back(observer); }
    void remove(CaptureDeviceObserver* observer) { std::erase(observers_, observer); }

private:
    void removeMissing(const std::vector<VideoNode>& nodes) {
        const auto missing = [&](const std::shared_ptr<V4l2Device>& device) {
            return std::ranges::none_of(nodes, [&](const VideoNode& node) { return isNode(*device, node); });
        };
        for (auto found = std::ranges::find_if(devices_, missing); found != devices_.end();
             found = std::ranges::find_if(devices_, missing)) {
            const std::shared_ptr<V4l2Device> device = *found;
            devices_.erase(found);
            tell(&CaptureDeviceObserver::captureDeviceWasDisconnected, device);
        }
    }

    // An observer may add and remove observers while it is told, itself included.
    void tell(void (CaptureDeviceObserver::*what)(const std::shared_ptr<CaptureDevice>&),
              const std::shared_ptr<CaptureDevice>& device) {
        for (CaptureDeviceObserver* observer : std::vector(observers_)) {
            if (std::ranges::find(observers_, observer) != observers_.end()) (observer->*what)(device);
        }
    }

    const V4l2DeviceSetup setup_;
    std::vector<std::shared_ptr<V4l2Device>> devices_;
    std::vector<CaptureDeviceObserver*> observers_;
    std::uint64_t applied_ = 0;
};

VideoDeviceList::VideoDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue,
                                 const V4l2DeviceSetup& setup)
    : mainQueue_(mainQueue),
      book_(std::make_shared<Book>(setup)),
      scanner_(std::move(sysfs), setup.opener) {}

VideoDeviceList::~VideoDeviceList() = default;

VideoDeviceList::Scan VideoDeviceList::scan() {
    return {++serial_, scanner_.scan()};
}

void VideoDeviceList::fill() {
    const std::lock_guard lock(mutex_);
    book_->apply(scan(), Clock::now());
}

void VideoDeviceList::rescan() {
    const std::lock_guard lock(mutex_);
    mainQueue_.post([book = std::weak_ptr(book_), found = scan()] {
        if (const auto alive = book.lock()) alive->apply(found, Clock::now() + V4l2Patience().deniedFor);
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
