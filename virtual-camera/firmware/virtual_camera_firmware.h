// SPDX-License-Identifier: MIT
// The firmware of a virtual USB camera: descriptors, controls, format negotiation, faults to order.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "virtual-camera/firmware/control_bank.h"
#include "virtual-camera/firmware/firmware_control.h"
#include "virtual-camera/firmware/firmware_fault.h"
#include "virtual-camera/firmware/stream_negotiation.h"
#include "virtual-camera/firmware/usb_gadget.h"
#include "virtual-camera/firmware/virtual_camera_model.h"
#include "virtual-camera/picture/picture_settings.h"

namespace tavelo {

/// One control transfer that the camera saw.
struct RequestRecord {
    UsbSetup setup;
    std::vector<std::uint8_t> data; ///< written by the host, or delivered to it
    UsbReplyKind outcome = UsbReplyKind::done;
    std::uint8_t errorCode = 0; ///< of a stalled class request, else 0
};

/// Watches a camera from the outside.
class FirmwareObserver {
public:
    virtual ~FirmwareObserver() = default;

    /// After each control transfer, on the thread that asked.
    virtual void requestAnswered(const RequestRecord& record) = 0;

    /// Once, on the thread that called vanish().
    virtual void vanished() = 0;
};

/// A USB Video Class 1.1 camera without its bus: answers control transfers and keeps the values of its
/// controls.
///
/// It is forgiving where real cameras are: a read that asks for more bytes than a control has gets the
/// control's own size, and a write with more bytes than that uses the low ones.  It is strict where they are:
/// a value out of range, a manual control while its automatic is on, an entity, control or request that it
/// does not have are stalled, and the request error code control tells why.  Relative exposure takes any
/// value: 1 and 0xFF step the exposure time in manual mode, 0 resets it there, everything else is
/// acknowledged and changes nothing.
///
/// Thread-safe.
class VirtualCameraFirmware {
public:
    explicit VirtualCameraFirmware(VirtualCameraModel model);
    ~VirtualCameraFirmware();

    VirtualCameraFirmware(const VirtualCameraFirmware&) = delete;
    VirtualCameraFirmware& operator=(const VirtualCameraFirmware&) = delete;

    const VirtualCameraModel& model() const { return model_; }

    // The bus's side.

    std::span<const std::uint8_t> deviceDescriptor() const { return deviceDescriptor_; }
    std::span<const std::uint8_t> configurationDescriptor() const { return configurationDescriptor_; }

    /// Answers a control transfer on endpoint 0, standard requests included; silence once vanished.  Blocks
    /// only for an ordered delay.
    /// @param out the data stage of a write, empty for a read
    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out);

    /// What the host committed to last, or nothing.
    std::optional<StreamFormat> committedFormat() const;
    /// Whether pictures shall flow: an alternate setting with bandwidth, or a commit on a bulk endpoint.
    bool streaming() const;
    /// Of the streaming interface.
    std::uint8_t alternateSetting() const;

    /// Whether the descriptors list that control of that entity.
    bool listsControl(std::uint8_t entityID, std::uint8_t selector) const;

    // The outside: what a person does to the camera.

    /// The control's value (pan/tilt packed, see packPanTilt); nothing where the camera does not have it.
    std::optional<std::int64_t> controlValue(ControlAddress address) const;
    /// Turns a knob behind the host's back, its automatic on or not; false where the camera does not have the
    /// control or the value is out of range.
    bool setControlValue(ControlAddress address, std::int64_t value);
    PictureSettings pictureSettings() const;

    // Faults.

    void order(const FirmwareFault& fault);
    void clearFaults();
    /// The camera is gone for good: every request, those that wait in a delay included, gets silence.
    void vanish();
    bool present() const;

    // Watching.

    /// The latest transfers, at most rememberedRequests of them, the oldest first.
    std::vector<RequestRecord> requestLog() const;
    void clearRequestLog();
    static constexpr std::size_t rememberedRequests = 4096;

    /// The observer must not add or remove observers from within its calls.  No call is under way once
    /// removeObserver has returned.
    void addObserver(FirmwareObserver* observer);
    void removeObserver(FirmwareObserver* observer);

private:
    struct Answer {
        UsbReply reply;
        std::uint8_t errorCode = 0;
    };

    static Answer delivered(std::vector<std::uint8_t> data);
    static Answer refused(std::uint8_t errorCode);
    static Answer silent();

    // Called under mutex_; those that take the lock let go of it while they wait out an ordered delay.
    Answer answer(const UsbSetup& setup, std::span<const std::uint8_t> out,
                  std::unique_lock<std::mutex>& lock);
    Answer answerStandard(const UsbSetup& setup);
    Answer answerDevice(const UsbSetup& setup);
    Answer answerDescriptor(const UsbSetup& setup) const;
    Answer answerInterface(const UsbSetup& setup);
    Answer answerEndpoint(const UsbSetup& setup);
    Answer answerClass(const UsbSetup& setup, std::span<const std::uint8_t> out,
                       std::unique_lock<std::mutex>& lock);
    Answer answerControl(ControlEntity entity, const UsbSetup& setup, std::span<const std::uint8_t> out,
                         std::unique_lock<std::mutex>& lock);
    Answer answerErrorCode(const UsbSetup& setup) const;
    Answer answerStreaming(const UsbSetup& setup, std::span<const std::uint8_t> out);
    std::optional<FirmwareFault> orderedFault(ControlAddress address, const UsbSetup& setup,
                                              std::unique_lock<std::mutex>& lock);
    void stopStream();

    const VirtualCameraModel model_;
    const std::vector<std::uint8_t> deviceDescriptor_;
    const std::vector<std::uint8_t> configurationDescriptor_;

    mutable std::mutex mutex_;        // guards everything up to the blank line
    std::condition_variable changed_; // vanished_ or faultsCleared_ did
    ControlBank controls_;
    StreamNegotiation negotiation_;
    std::vector<FirmwareFault> faults_;
    std::uint64_t faultsCleared_ = 0;
    std::deque<RequestRecord> log_;
    std::uint8_t errorCode_ = 0;
    std::uint8_t configuration_ = 0;
    std::uint8_t alternateSetting_ = 0;
    bool bulkRunning_ = false;
    bool halted_ = false;
    bool vanished_ = false;

    std::mutex observersMutex_; // guards observers_; held while they are called
    std::vector<FirmwareObserver*> observers_;
};

} // namespace tavelo
