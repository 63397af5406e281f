// SPDX-License-Identifier: MIT
// The capture half of a backend, on top of its list of cameras.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/capture.h"
#include "platform/common/standard_capture_session.h"

namespace tavelo {

/// A backend derives from it what watches for cameras that come and go.
/// @tparam List a CaptureDeviceList, or what has its devices() and observers
template <typename List>
class ListedCapturePlatform : public CapturePlatform {
public:
    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        return type == MediaType::video ? list_.devices() : std::vector<std::shared_ptr<CaptureDevice>>();
    }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    std::shared_ptr<ThreadPriority> threadPriority() override { return priority_; }
    void addObserver(CaptureDeviceObserver* observer) override { list_.addObserver(observer); }
    void removeObserver(CaptureDeviceObserver* observer) override { list_.removeObserver(observer); }

protected:
    /// @param priority may be null
    /// @param list     what the list is made of
    template <typename... Arguments>
    explicit ListedCapturePlatform(std::shared_ptr<ThreadPriority> priority, Arguments&&... list)
        : list_(std::forward<Arguments>(list)...),
          priority_(std::move(priority)) {}

    List list_;

private:
    const std::shared_ptr<ThreadPriority> priority_;
};

} // namespace tavelo
