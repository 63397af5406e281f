// SPDX-License-Identifier: MIT
// A video-control interface that is ours: requests go to the camera as they were built.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/diagnostics.h"
#include "platform/linux/usb/usb_camera_claims.h"
#include "platform/linux/usb/usb_video_function.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// Sends each request on the default pipe, one second at most.  A camera may stall the range of a control
/// for which the class does not demand it; the class's own range answers then.
///
/// Thread-safe; no lock is held while the camera is asked, and closing does not wait for an answer.  A closed
/// interface keeps its part of the claim until it is destroyed: it is closed because the camera refused
/// something and will be opened anew, and the kernel's driver need not meet the camera in between.
class UsbControlInterface final : public UsbInterface {
public:
    /// @param name        what diagnostics call the camera
    /// @param diagnostics must outlive the interface
    UsbControlInterface(std::shared_ptr<UsbCameraClaim> claim, UsbVideoFunction function, std::string name,
                        Diagnostics& diagnostics);

    UsbStatus ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override;
    std::uint8_t GetInterfaceNumber() const override { return function_.controlInterface; }

private:
    /// Answers a read that the camera stalled and need not answer; false if there is no such answer.
    bool answerForTheClass(UsbControlRequest& request);
    UsbStatus statusOf(const UsbControlRequest& request, int libusbError) const;
    void report(const UsbControlRequest& request, std::string_view reason) noexcept;

    const std::shared_ptr<UsbCameraClaim> claim_;
    const UsbVideoFunction function_;
    const std::string name_;
    Diagnostics& diagnostics_;

    std::mutex mutex_; // guards closed_
    bool closed_ = false;
};

} // namespace tavelo
