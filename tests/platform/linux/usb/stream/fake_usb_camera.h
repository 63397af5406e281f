// SPDX-License-Identifier: MIT
// A USB camera that answers with the virtual camera's firmware, its transfers filled by hand or by its
// picture.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/error.h"
#include "platform/linux/usb/stream/usb_stream_port.h"
#include "virtual-camera/firmware/virtual_camera_firmware.h"
#include "virtual-camera/program/virtual_camera_gadget.h"

namespace tavelo::test {

/// Every port opened from it shares its state.  Thread-safe.
class FakeUsbCamera {
public:
    using Bytes = std::vector<std::uint8_t>;

    struct Counts {
        int connected = 0;
        int disconnected = 0;
        int transfers = 0; ///< that exist now
        int underWay = 0;  ///< now, or being told of
        int submitted = 0;
        int events = 0; ///< calls of handleEvents
        int requests = 0;
        int clearedHalts = 0;
        std::vector<int> alternates; ///< set one after another
    };

    enum class Frames : std::uint8_t { byHand, ofItsPicture };

    explicit FakeUsbCamera(const VirtualCameraModel& model, Frames frames = Frames::byHand);
    ~FakeUsbCamera();

    std::unique_ptr<UsbStreamPort> connect(Error& error);
    /// With all that follows it.
    Bytes configurationDescriptor() const;

    VirtualCameraFirmware& firmware() { return *firmware_; }

    /// Ends the transfer that waits longest, with these packets in it (bulk: one).  False where none waits.
    bool deliver(const std::vector<Bytes>& packets, UsbPortStatus status = UsbPortStatus::ok);
    /// The same, once one waits.
    bool deliverSoon(const std::vector<Bytes>& packets, UsbPortStatus status = UsbPortStatus::ok);

    /// Unplugged.
    void vanish();

    // What the next calls of a kind come to, before they reach the camera.
    void failConnect(ErrorCode code, int times = 1);
    void failRequest(std::uint8_t code, std::uint8_t selector, UsbPortStatus status, int times = 1);
    void failAlternate(int alternate, UsbPortStatus status, int times = 1);
    void failSubmit(UsbPortStatus status, int times = 1);
    /// Rewrites what the camera reads out of requests.
    void bend(std::function<void(std::uint8_t code, std::uint8_t selector, std::span<std::uint8_t>)> bend);

    Counts counts() const;
    /// Ten seconds at most; false then.
    bool waitFor(const std::function<bool(const Counts&)>& condition) const;

private:
    class Port;
    class Transfer;
    struct Failure {
        int code;
        int selector;
        UsbPortStatus status;
        int times;
    };

    UsbPortStatus control(const UsbSetup& setup, std::span<std::uint8_t> data, std::size_t& done);
    UsbPortStatus request(const UsbStreamRequest& request, std::size_t& done);
    UsbPortStatus setAlternate(std::uint8_t alternate);
    UsbPortStatus submit(Transfer& transfer);
    void cancel(Transfer& transfer);
    void handleEvents(std::chrono::milliseconds atMost);
    void endFirst(const std::vector<Bytes>& packets, UsbPortStatus status);
    bool fillFromPicture(Transfer& transfer);
    static UsbPortStatus take(std::vector<Failure>& failures, int code, int selector);

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const std::unique_ptr<VirtualCameraGadget> gadget_; // null: by hand

    std::mutex eventsMutex_; // held while listeners are told

    mutable std::mutex mutex_; // guards what follows
    mutable std::condition_variable changed_;
    Counts counts_;
    bool gone_ = false;
    std::vector<Failure> requestFailures_;
    std::vector<Failure> alternateFailures_;
    std::vector<Failure> submitFailures_;
    std::vector<ErrorCode> connectFailures_;
    std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend_;
    std::deque<Transfer*> waiting_;
    std::deque<Transfer*> ended_;
};

} // namespace tavelo::test
