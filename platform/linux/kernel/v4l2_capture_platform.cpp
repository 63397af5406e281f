// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/v4l2_capture_platform.h"

#include "platform/common/standard_capture_session.h"
#include "platform/linux/bus/udev_events.h"
#include "platform/linux/bus/udev_monitor.h"
#include "platform/linux/kernel/device_list.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {
namespace {

class V4l2CapturePlatform final : public CapturePlatform {
public:
    V4l2CapturePlatform(MainQueue& mainQueue, Diagnostics& diagnostics, const CaptureFormatRequest& request,
                        const std::shared_ptr<ThreadPriority>& priority)
        : priority_(priority),
          list_(mainQueue, {std::make_shared<KernelNodeOpener>(), diagnostics, request, "/sys", priority}),
          monitor_(openUdevEvents("video4linux", nullptr), [this](const UdevEvent&) { list_.rescan(); }) {
        list_.fill(); // after the monitor listens, so that no change is missed
    }

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        return type == MediaType::video ? list_.devices() : std::vector<std::shared_ptr<CaptureDevice>>();
    }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    std::shared_ptr<ThreadPriority> threadPriority() override { return priority_; }
    void addObserver(CaptureDeviceObserver* observer) override { list_.addObserver(observer); }
    void removeObserver(CaptureDeviceObserver* observer) override { list_.removeObserver(observer); }

private:
    const std::shared_ptr<ThreadPriority> priority_;
    KernelDeviceList list_;
    UdevMonitor monitor_; // last: its thread uses the list
};

} // namespace

std::unique_ptr<CapturePlatform> makeV4l2CapturePlatform(MainQueue& mainQueue, Diagnostics& diagnostics,
                                                         const CaptureFormatRequest& request,
                                                         const std::shared_ptr<ThreadPriority>& priority) {
    return std::make_unique<V4l2CapturePlatform>(mainQueue, diagnostics, request, priority);
}

} // namespace tavelo
