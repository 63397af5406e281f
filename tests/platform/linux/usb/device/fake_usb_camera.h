// SPDX-License-Identifier: MIT
// A USB camera that does what a test tells it, and keeps what was done to it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/linux/usb/device/usb_handle.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "virtual-camera/virtual_camera_gadget.h"

namespace tavelo::test {

/// Opens one camera, whatever the address; all its handles share its state.  Thread-safe.
class FakeUsbCamera final : public UsbHandleOpener {
public:
    using Bytes = std::vector<std::uint8_t>;

    /// Who has an interface.
    enum class Holder : std::uint8_t { nobody, driver, us, otherProgram };
    /// What fills its transfers.
    enum class Frames : std::uint8_t { byHand, ofItsPicture };

    struct Request {
        UsbSetupPacket setup;
        Bytes data; ///< as the caller gave it
        std::chrono::milliseconds patience{};
    };
    /// Fills the data of a read.
    using Answer = std::function<UsbResult(const UsbSetupPacket& setup, std::span<std::uint8_t> data)>;

    struct Counts {
        int opened = 0;    ///< handles, and failed tries to open one
        int closed = 0;    ///< the same
        int transfers = 0; ///< that exist now
        int underWay = 0;  ///< now, or being reported
        int submitted = 0;
        int clearedHalts = 0;
        std::vector<int> alternates; ///< set one after another
    };

    /// Acknowledges every request, and sends nothing.
    FakeUsbCamera();
    /// Answers as the virtual camera of that model.
    explicit FakeUsbCamera(const VirtualCameraModel& model, Frames frames = Frames::byHand);
    ~FakeUsbCamera() override;

    std::unique_ptr<UsbHandle> open(const UsbAddress& address, Error& error) override;

    // Of a camera with a model.
    VirtualCameraFirmware& firmware() { return *firmware_; }
    Bytes configurationDescriptor() const;
    UsbResult askFirmware(const UsbSetupPacket& setup, std::span<std::uint8_t> data);

    /// Unplugged.
    void vanish();

    // What later calls come to, before they reach the camera.

    static constexpr int always = std::numeric_limits<int>::max();
    /// @param call "open", "detach 1", "claim 1", "attach 0", "alternate 5", "submit"
    /// @param code `none`: these calls do not fail, but a failure told later comes after them
    void fail(const std::string& call, ErrorCode code, int times = always);
    void failRequest(std::uint8_t code, std::uint8_t selector, ErrorCode failure, int times = 1);
    /// Called at the start of each "detach 1", "claim 1" ..., on the caller's thread; may block.
    void before(const std::string& call, std::function<void()> action);
    void answer(Answer answer);
    /// Rewrites what the camera reads out of requests.
    void bend(std::function<void(std::uint8_t code, std::uint8_t selector, std::span<std::uint8_t>)> bend);

    void setHolder(std::uint8_t interface, Holder holder);
    Holder holder(std::uint8_t interface) const;
    /// Waits a minute at most; whether it came to that.
    bool waitForHolder(std::uint8_t interface, Holder holder) const;

    /// Ends the transfer that waits longest, with these packets in it (bulk: one).  False if none waits.
    bool deliver(const std::vector<Bytes>& packets, ErrorCode status = ErrorCode::none);
    /// The same, once one waits.
    bool deliverSoon(const std::vector<Bytes>& packets, ErrorCode status = ErrorCode::none);

    /// "open", "detach 1", "claim 1", ..., "close", in their order.
    std::vector<std::string> calls() const;
    /// Adds a line of a test's own to the calls.
    void note(const std::string& call);
    std::vector<Request> requests() const;
    UsbAddress openedAddress() const;
    int mostOpenAtOnce() const;
    Counts counts() const;
    /// Ten seconds at most; false then.
    bool waitFor(const std::function<bool(const Counts&)>& condition) const;

private:
    class Handle;
    class Transfer;
    struct Failure {
        std::string call;
        ErrorCode code;
        int times;
    };

    ErrorCode take(const std::string& call);
    Error change(const std::string& what, std::uint8_t interface, Holder from, Holder to,
                 ErrorCode otherwise);
    UsbResult request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                      std::chrono::milliseconds patience);
    UsbResult ask(const UsbSetupPacket& setup, std::span<std::uint8_t> data);
    ErrorCode setAlternate(std::uint8_t interface, std::uint8_t alternate);
    ErrorCode clearHalt(std::uint8_t endpoint);
    void close();

    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape, UsbTransferListener& listener);
    ErrorCode submit(Transfer& transfer);
    void cancel(Transfer& transfer);
    void handleEvents(std::chrono::milliseconds atMost);
    void endFirst(const std::vector<Bytes>& packets, ErrorCode status);
    bool fillFromPicture(Transfer& transfer);

    const std::shared_ptr<VirtualCameraFirmware> firmware_; // null without a model
    const std::unique_ptr<VirtualCameraGadget> gadget_;     // null if transfers are filled by hand

    std::mutex eventsMutex_; // held while listeners are called

    mutable std::mutex mutex_; // guards what follows
    mutable std::condition_variable changed_;
    Counts counts_;
    bool gone_ = false;
    std::vector<Failure> failures_;
    std::map<std::string, std::function<void()>> actions_;
    Answer answer_;
    std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend_;
    std::map<std::uint8_t, Holder> holders_{{0, Holder::driver}, {1, Holder::driver}};
    std::vector<std::string> calls_;
    std::vector<Request> requests_;
    UsbAddress openedAddress_;
    int mostOpenAtOnce_ = 0;
    std::deque<Transfer*> waiting_;
    std::deque<Transfer*> ended_;
};

} // namespace tavelo::test
