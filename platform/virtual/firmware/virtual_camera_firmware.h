// SPDX-License-Identifier: MIT
// The firmware of a virtual USB camera: descriptors, controls, format negotiation, fault injection.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "platform/control_watch.h"
#include "platform/virtual/firmware/firmware_control.h"
#include "platform/virtual/firmware/firmware_controls.h"
#include "platform/virtual/firmware/firmware_fault.h"
#include "platform/virtual/firmware/stream_negotiation.h"
#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// A control transfer that the camera received.
struct RequestRecord {
    UsbSetup setup;
    std::vector<std::uint8_t> data; ///< written by the host, or delivered to it
    UsbReplyKind outcome = UsbReplyKind::done;
    std::uint8_t errorCode = 0; ///< for a stalled class request, else 0
};

/// Who sends requests to a camera, from VirtualCameraFirmware::newHost().
using FirmwareHost = std::uint64_t;

/// Observes a camera.
class FirmwareObserver {
public:
    virtual ~FirmwareObserver() = default;

    /// Called after each control transfer, on the requesting thread.
    virtual void requestAnswered(const RequestRecord& record) = 0;

    /// Called after each write that set a value, and after setControlValue(), on the thread that made it.
    /// @param change with the value that the control has now: a later one, if two threads write at once
    /// @param host who wrote; 0 for setControlValue() and for a host without a number
    virtual void controlSet(const ChangedControl& /*change*/, FirmwareHost /*host*/) {}

    /// Called once, on the thread that calls vanish().
    virtual void vanished() = 0;
};

/// A USB Video Class camera without its bus: answers control transfers and stores the values of its
/// controls.  A model that is like a recorded camera answers as that one did, see recorded_controls.h.
///
/// Like real cameras, it accepts wrong lengths: a read of more bytes than a control has returns the control's
/// own size, and a longer write uses the low bytes.  It stalls a value out of range, a manual control while
/// its automatic is on, and unknown entities, controls and requests; the request error code control then
/// returns the reason.  Relative exposure accepts any value: in manual mode 1 and 0xFF step the exposure time
/// and 0 resets it; anything else is acknowledged without effect.
///
/// Thread-safe.
class VirtualCameraFirmware {
public:
    explicit VirtualCameraFirmware(VirtualCameraModel model);
    ~VirtualCameraFirmware();

    VirtualCameraFirmware(const VirtualCameraFirmware&) = delete;
    VirtualCameraFirmware& operator=(const VirtualCameraFirmware&) = delete;

    const VirtualCameraModel& model() const { return model_; }

    // Used by the bus.

    std::span<const std::uint8_t> deviceDescriptor() const { return deviceDescriptor_; }
    std::span<const std::uint8_t> configurationDescriptor() const { return configurationDescriptor_; }

    /// Answers a control transfer on endpoint 0, standard requests included; silence once vanished.  Blocks
    /// only for an injected delay.
    /// @param out the data stage of a write, empty for a read
    /// @param host whom observers are told as the writer
    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out, FirmwareHost host = 0);

    /// A number for one host; never 0, never the same again.
    FirmwareHost newHost() { return ++hosts_; }

    /// The format that the host committed last, if any.
    std::optional<StreamFormat> committedFormat() const;
    /// Whether the host has started the stream: selected an alternate setting with bandwidth, or committed on
    /// a bulk endpoint.
    bool streaming() const;
    /// The streaming interface's alternate setting.
    std::uint8_t alternateSetting() const;

    /// Whether the descriptors list this control of this entity.
    bool listsControl(std::uint8_t entityID, std::uint8_t selector) const;

    // Direct access, past the host.

    /// The control's value (pan/tilt packed, see packPanTilt); nothing if the camera does not have it.
    std::optional<std::int64_t> controlValue(ControlAddress address) const;
    /// Sets a value even if its automatic is on.  False if the camera does not have the control or the value
    /// is out of range.
    bool setControlValue(ControlAddress address, std::int64_t value);
    /// What is not known is 0; nothing if the camera does not have the control.
    std::optional<ControlLimits> controlLimits(ControlAddress address) const;
    PictureSettings pictureSettings() const;

    // Faults.

    void order(const FirmwareFault& fault);
    void clearFaults();
    /// Unplugs the camera for good: every request, including those waiting in a delay, gets silence.
    void vanish();
    bool present() const;

    // Observation.

    /// The latest transfers, at most rememberedRequests, oldest first.
    std::vector<RequestRecord> requestLog() const;
    void clearRequestLog();
    static constexpr std::size_t rememberedRequests = 4096;

    /// The observer must not add or remove observers within its calls.  No call is in progress once
    /// removeObserver has returned.
    void addObserver(FirmwareObserver* observer);
    void removeObserver(FirmwareObserver* observer);

private:
    struct Answer {
        UsbReply reply;
        std::uint8_t errorCode = 0;
        std::optional<ControlAddress> set = {}; ///< the control whose value it set
    };

    static std::unique_ptr<FirmwareControls> makeControls(const VirtualCameraModel& model);
    static Answer delivered(std::vector<std::uint8_t> data);
    static Answer refused(std::uint8_t errorCode);
    static Answer silent();

    // Called under mutex_; functions that take the lock release it while they wait for an injected delay.
    Answer answer(const UsbSetup& setup, std::span<const std::uint8_t> out,
                  std::unique_lock<std::mutex>& lock);
    Answer answerStandard(const UsbSetup& setup);
    Answer answerDevice(const UsbSetup& setup);
    Answer answerDescriptor(const UsbSetup& setup) const;
    Answer answerInterface(const UsbSetup& setup);
    Answer answerEndpoint(const UsbSetup& setup);
    std::uint8_t configurationValue() const;
    bool hasSetting(unsigned interface, unsigned setting) const;
    Answer answerClass(const UsbSetup& setup, std::span<const std::uint8_t> out,
                       std::unique_lock<std::mutex>& lock);
    Answer answerControl(const UsbSetup& setup, std::span<const std::uint8_t> out,
                         std::unique_lock<std::mutex>& lock);
    Answer answerErrorCode(const UsbSetup& setup) const;
    Answer answerStreaming(const UsbSetup& setup, std::span<const std::uint8_t> out);
    std::optional<FirmwareFault> orderedFault(ControlAddress address, const UsbSetup& setup,
                                              std::unique_lock<std::mutex>& lock);
    void stopStream();
    void tellSet(ControlAddress address, FirmwareHost host);

    std::atomic<FirmwareHost> hosts_ = 0;
    const VirtualCameraModel model_;
    const std::vector<std::uint8_t> deviceDescriptor_;
    const std::vector<std::uint8_t> configurationDescriptor_;

    mutable std::mutex mutex_;        // guards everything up to the blank line
    std::condition_variable changed_; // signals changes of vanished_ and faultsCleared_
    std::unique_ptr<FirmwareControls> controls_;
    StreamNegotiation negotiation_;
    std::vector<FirmwareFault> faults_;
    std::uint64_t faultsCleared_ = 0;
    std::deque<RequestRecord> log_;
    std::uint8_t errorCode_ = 0;
    std::uint8_t configuration_ = 0;
    std::uint8_t alternateSetting_ = 0;
    std::map<std::uint8_t, std::uint8_t> otherSettings_; // of interfaces that do not stream
    bool bulkRunning_ = false;
    bool halted_ = false;
    bool vanished_ = false;

    std::mutex observersMutex_; // guards observers_; held while they are called; locked before mutex_
    std::vector<FirmwareObserver*> observers_;
};

} // namespace tavelo
