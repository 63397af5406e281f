// SPDX-License-Identifier: MIT
// A claimed video-control interface: requests go to the camera as they are.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/diagnostics.h"
#include "platform/linux/usb/usb_camera_claims.h"
#include "platform/usb_interface.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {

/// Sends each request on the default pipe, one second at most.  If the camera stalls a range request that
/// the class does not require, the class's own range answers.
///
/// Thread-safe; no lock is held while the camera is asked, and closing does not wait for an answer.  A
/// closed interface keeps its share of the claim until it is destroyed: it is closed after the camera
/// refused a request and will be opened again, and the kernel's driver need not probe the camera in
/// between.
class UsbControlInterface final : public UsbInterface {
public:
    /// @param camera      the share of it that this interface keeps
    /// @param name        of the camera in diagnostics
    /// @param diagnostics must outlive the interface
    UsbControlInterface(std::shared_ptr<UsbHandle> camera, UsbVideoFunction function, std::string name,
                        Diagnostics& diagnostics);

    ErrorCode ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override;
    std::uint8_t GetInterfaceNumber() const override { return function_.controlInterface; }

private:
    /// Answers a read that the camera stalled and need not answer; false if there is no such answer.
    bool answerForTheClass(UsbControlRequest& request);
    ErrorCode statusOf(const UsbControlRequest& request, ErrorCode code) const;
    void report(const UsbControlRequest& request, std::string_view reason) noexcept;

    const std::shared_ptr<UsbHandle> camera_;
    const UsbVideoFunction function_;
    const std::string name_;
    Diagnostics& diagnostics_;

    std::mutex mutex_; // guards closed_
    bool closed_ = false;
};

} // namespace tavelo
