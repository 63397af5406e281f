// SPDX-License-Identifier: MIT
// A fake USB camera that answers requests with the virtual camera's firmware.  Transfers are filled by the
// test or with the firmware's picture.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/linux/usb/stream/port_stream_input.h"
#include "platform/linux/usb/stream/usb_stream_port.h"
#include "virtual-camera/firmware/virtual_camera_firmware.h"
#include "virtual-camera/program/virtual_camera_gadget.h"

namespace tavelo::test {

/// All ports opened from it share its state.  Thread-safe.
class FakeUsbCamera {
public:
    using Bytes = std::vector<std::uint8_t>;

    struct Counts {
        int connected = 0;
        int disconnected = 0;
        int transfers = 0; ///< allocated now
        int underWay = 0;  ///< submitted, or in their completion call
        int submitted = 0;
        int events = 0; ///< calls of handleEvents
        int requests = 0;
        int clearedHalts = 0;
        std::vector<int> alternates; ///< all settings, in order
    };

    enum class Frames : std::uint8_t { byHand, ofItsPicture };

    explicit FakeUsbCamera(const VirtualCameraModel& model, Frames frames = Frames::byHand);
    ~FakeUsbCamera();

    UsbStreamConnection connect(Error& error);

    VirtualCameraFirmware& firmware() { return *firmware_; }

    /// Completes the oldest submitted transfer with these packets (bulk: one).  False if there is none.
    bool deliver(const std::vector<Bytes>& packets, UsbPortStatus status = UsbPortStatus::ok);
    /// The same, but waits for a transfer.
    bool deliverSoon(const std::vector<Bytes>& packets, UsbPortStatus status = UsbPortStatus::ok);

    /// Unplugs the camera.
    void vanish();

    // Makes the next calls fail before they reach the camera.
    void failConnect(ErrorCode code, int times = 1);
    void failRequest(std::uint8_t code, std::uint8_t selector, UsbPortStatus status, int times = 1);
    void failAlternate(int alternate, UsbPortStatus status, int times = 1);
    void failSubmit(UsbPortStatus status, int times = 1);
    /// Changes the camera's answers to read requests.
    void bend(std::function<void(std::uint8_t code, std::uint8_t selector, std::span<std::uint8_t>)> bend);

    Counts counts() const;
    /// Waits up to ten seconds; false on timeout.
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
    const std::unique_ptr<VirtualCameraGadget> gadget_; // null: the test fills the transfers

    std::mutex eventsMutex_; // held while listeners are called

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
