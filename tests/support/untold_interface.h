// SPDX-License-Identifier: MIT
// A camera's interface through a transport that does not tell of changes.
#pragma once

#include <memory>
#include <utility>

#include "platform/usb_interface.h"

namespace tavelo::testing {

class UntoldInterface final : public UsbInterface {
public:
    explicit UntoldInterface(std::shared_ptr<UsbInterface> interface) : interface_(std::move(interface)) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        return interface_->ControlRequest(request);
    }
    void USBInterfaceClose() override { interface_->USBInterfaceClose(); }
    std::uint8_t GetInterfaceNumber() const override { return interface_->GetInterfaceNumber(); }

private:
    const std::shared_ptr<UsbInterface> interface_;
};

} // namespace tavelo::testing
