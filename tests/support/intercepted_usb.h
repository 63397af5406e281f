// SPDX-License-Identifier: MIT
// A bus whose requests a test sees, and whose answers it may change.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/usb_platform.h"
#include "support/wrapped_usb_device.h"

namespace tavelo::testing {

/// Between a program and its cameras.  Thread-safe.
class InterceptedUsb final : public UsbPlatform {
public:
    /// Called before a request goes to a camera, and after its answer came; on the thread that asks.
    struct Hooks {
        std::function<void(const UsbControlRequest& request, std::size_t number)> before = {};
        std::function<void(UsbControlRequest& request, ErrorCode& code)> after = {};
    };

    explicit InterceptedUsb(std::unique_ptr<UsbPlatform> cameras) : cameras_(std::move(cameras)) {}

    /// Counts requests from 1 again.
    void setHooks(Hooks hooks) {
        const std::lock_guard lock(shared_->mutex);
        shared_->hooks = std::make_shared<const Hooks>(std::move(hooks));
        shared_->requests = 0;
    }
    std::size_t requests() const {
        const std::lock_guard lock(shared_->mutex);
        return shared_->requests;
    }
    /// Since the start.
    std::size_t allRequests() const {
        const std::lock_guard lock(shared_->mutex);
        return shared_->allRequests;
    }

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override {
        return cameras_->initBusProber(scope, delegate);
    }
    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        return wrapped(cameras_->listDevices(),
                       {.interface = [shared = shared_](std::shared_ptr<UsbInterface> camera) {
                           return std::make_shared<Interface>(std::move(camera), shared);
                       }});
    }

private:
    struct Shared {
        std::mutex mutex; // guards the rest
        std::shared_ptr<const Hooks> hooks = std::make_shared<const Hooks>();
        std::size_t requests = 0;
        std::size_t allRequests = 0;
    };

    class Interface final : public UsbInterface {
    public:
        Interface(std::shared_ptr<UsbInterface> camera, std::shared_ptr<Shared> shared)
            : camera_(std::move(camera)),
              shared_(std::move(shared)) {}

        ErrorCode ControlRequest(UsbControlRequest& request) override {
            std::shared_ptr<const Hooks> hooks;
            std::size_t number = 0;
            {
                const std::lock_guard lock(shared_->mutex);
                hooks = shared_->hooks;
                number = ++shared_->requests;
                ++shared_->allRequests;
            }
            if (hooks->before) hooks->before(request, number);
            ErrorCode code = camera_->ControlRequest(request);
            if (hooks->after) hooks->after(request, code);
            return code;
        }
        void USBInterfaceClose() override { camera_->USBInterfaceClose(); }
        std::uint8_t GetInterfaceNumber() const override { return camera_->GetInterfaceNumber(); }
        std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& events) override {
            return camera_->watchControls(events);
        }

    private:
        const std::shared_ptr<UsbInterface> camera_;
        const std::shared_ptr<Shared> shared_;
    };

    const std::unique_ptr<UsbPlatform> cameras_;
    const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

} // namespace tavelo::testing
