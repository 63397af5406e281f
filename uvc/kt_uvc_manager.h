// SPDX-License-Identifier: MIT
// Reads and writes the picture controls of one camera.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include "platform/usb_platform.h"
#include "platform/uvc/uvc_protocol.h"
#include "uvc/bound_camera.h"
#include "uvc/camera_binding.h"
#include "uvc/kt_uvc_control_records.h"
#include "uvc/location_candidates.h"
#include "uvc/write_marks.h"

namespace tavelo {

class Localizer;

/// Called with whether the camera took a value: once, on the calling thread, before the setter returns.  May
/// be empty.
using ComplitionHandle = std::function<void(bool success)>;

/// What a manager depends on.  `usb` and `text` may be null: no bus, English names.
struct KTUVCEnvironment {
    UsbPlatform* usb = nullptr;      ///< must outlive the manager unless releasePlatform() is called before
    const Localizer* text = nullptr; ///< used only while the manager is made
    /// The clock for the time of failures; called from any thread.
    std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
};

/// Controls of the bound camera: what it supports, its ranges and values, and a setter for each.
///
///   unbound --refreshData...: true--> bound --refreshData...--> bound to another camera, or unbound
///                                       |
///                                 request fails
///                                       v
///                               bound, interface closed: every request fails until rebound or reopened
///
/// Construction, binding and the prober belong to the main thread; a manager that nobody else uses yet may be
/// bound on another one.  Setters, pushes, support queries, reset
/// and bulk send are thread-safe: requests are sent on the calling thread, without a lock held, and if two
/// threads write one control the last one wins.  No operation throws; a refused value never stays in a
/// record.
///
/// A setter belongs to the binding that it started with.  If another camera is bound before the answer
/// arrives, the answer changes no record; while a camera is being read, setters fail.
class KTUVCManager : public KTUVCControlRecords {
public:
    /// The environment for sharedManager().  Call it once, before the first sharedManager().
    static void setEnvironment(const KTUVCEnvironment& environment);
    /// The program's only manager, made on the first call.  Thread-safe.
    static KTUVCManager& sharedManager();

    explicit KTUVCManager(const KTUVCEnvironment& environment);
    ~KTUVCManager();

    KTUVCManager(const KTUVCManager&) = delete;
    KTUVCManager& operator=(const KTUVCManager&) = delete;

    // The bus.

    /// Starts watching the bus.
    /// @param scope 2 for video devices
    /// @param delegate may be null; must outlive the prober
    void initProberWithBusProberScopeProberDelegate(int scope, BusProberDelegate* delegate);

    /// Whether a capture device's identifier names a camera that the prober lists.
    bool uniqueIDIsCorrect(std::string_view uniqueID) const;

    /// Binds to the camera with this identifier and reads all its controls; blocks meanwhile.
    bool refreshDataWithUniqueIDString(std::string_view uniqueID);
    /// Binds to the first camera on the bus that is at one of these locations.  A camera without a control
    /// interface is bound too, with every control unsupported.
    bool refreshDataWithLocationID(const LocationCandidates& locationIDs);

    /// Reopens the bound camera's interface if a failed request closed it.  Keeps the records, so no request
    /// is sent and nothing waits for the camera.  Only if reading the records had failed is the camera bound
    /// from the start.
    /// @return whether requests can be sent again
    bool openInterfaceAgain();

    /// Changes with each binding, and only then.
    BindingIdentity bindingIdentity() const { return binding_.get().identity; }
    /// Whether all controls of the bound camera could be queried without a failed request.
    bool recordsAreRead() const { return binding_.get().recordsAreRead; }
    /// Whether there is an interface to send requests to and at least one supported control.
    bool isControllable() const;

    /// The interface of the bound record's video function, or the first one if the record does not name it.
    /// Null if the device has no such interface or it cannot be opened.
    std::shared_ptr<UsbInterface> _getControlInferaceWithDeviceInterface(UsbDevice& deviceInterface) const;

    /// Takes the interface's number and reads every control.
    void generalInit();

    /// Releases prober, camera and interface, for the shared manager, which outlives the platform.
    void releasePlatform();

    BusProber* prober() const { return prober_.get(); }
    void setProber(std::unique_ptr<BusProber> prober);

    std::shared_ptr<const BusProberDevice> device() const { return binding_.get().device; }
    void setDevice(std::shared_ptr<const BusProberDevice> device);

    std::shared_ptr<UsbInterface> interface() const { return binding_.get().interface; }
    void setInterface(std::shared_ptr<UsbInterface> interface);

    /// Closes the interface of a camera that was unplugged.  Must not happen late: when the camera is back,
    /// Linux's driver loses the new stream as soon as the last file of the old device is closed.
    void letGoOfInterface();

    /// Whether the interface was closed because a request failed.
    bool interfaceIsClosed() const { return binding_.get().interfaceIsClosed(); }
    /// Why it was closed; none while it is open.
    ErrorCode failure() const { return binding_.get().failure; }
    std::chrono::steady_clock::time_point failedAt() const { return binding_.get().failedAt; }
    /// The clock of failedAt().
    std::chrono::steady_clock::time_point now() const { return now_(); }

    std::uint32_t deviceLocationID() const { return binding_.get().deviceLocationID; }
    void setDeviceLocationID(std::uint32_t locationID);

    std::int32_t interfaceNumber() const { return binding_.get().interfaceNumber; }
    void setInterfaceNumber(std::int32_t number);

    std::int32_t inputTerminalID() const { return binding_.get().inputTerminalID; }
    void setInputTerminalID(std::int32_t entity);

    std::int32_t processingUnitID() const { return binding_.get().processingUnitID; }
    void setProcessingUnitID(std::int32_t entity);

    // Setters.  A value is sent as it is: no setter clamps it to the record's range, the camera decides.

    /// Sets any control.  On/off flags become 1 or 0; the two flags that are numbers keep their low 32 bits.
    void setControlWithComplitionHandle(KTUVCControl control, std::int64_t value,
                                        const ComplitionHandle& handle);

    void setScanningModeWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::scanningMode, value, handle);
    }
    void setAutoExposureModeWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::autoExposureMode, value, handle);
    }
    void setAutoExposurePriorityWithComplitionHandle(bool on, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::autoExposurePriority, on, handle);
    }
    void setExposureTimeWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::exposureTime, value, handle);
    }
    void setIrisWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::iris, value, handle);
    }
    void setAutoFocusWithComplitionHandle(bool on, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::autoFocus, on, handle);
    }
    void setFocusWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::focus, value, handle);
    }
    void setZoomWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::zoom, value, handle);
    }
    /// Does nothing and never calls the handler.
    void setRelativeZoomWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle);
    void setPanTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle);
    /// Uses the low 32 bits only; the other half does not change.
    void setPanWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle);
    void setTiltWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle);
    void setRollWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::roll, value, handle);
    }
    void setBacklightWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::backlight, value, handle);
    }
    void setBrightWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::bright, value, handle);
    }
    void setContrastWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::contrast, value, handle);
    }
    void setGainWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::gain, value, handle);
    }
    void setPowerLineWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::powerLine, value, handle);
    }
    void setAutoHueWithComplitionHandle(std::int32_t flag, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::autoHue, flag, handle);
    }
    void setHueWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::hue, value, handle);
    }
    void setSaturationWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::saturation, value, handle);
    }
    void setSharpnessWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::sharpness, value, handle);
    }
    void setGammaWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::gamma, value, handle);
    }
    void setAutoWhiteBalanceWithComplitionHandle(std::int32_t flag, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::autoWhiteBalance, flag, handle);
    }
    void setWhiteBalanceWithComplitionHandle(std::int64_t value, const ComplitionHandle& handle) {
        setControlWithComplitionHandle(KTUVCControl::whiteBalance, value, handle);
    }

    // Whether a manual control may be changed now: the camera has it, and no automatic control governs it.

    bool controlSupported(KTUVCControl control) const;
    bool exposureTimeSupported() const { return controlSupported(KTUVCControl::exposureTime); }
    bool focusSupported() const { return controlSupported(KTUVCControl::focus); }
    bool hueSupported() const { return controlSupported(KTUVCControl::hue); }
    bool whiteBalanceSupported() const { return controlSupported(KTUVCControl::whiteBalance); }

    // All controls except roll, each automatic one before those it governs.  A refused value does not stop
    // the walk; a camera that is gone or failed to answer twice does, and so does another binding.

    /// Writes the camera's own defaults; a control without one does not change.
    void resetParamsToDefaults();
    /// Writes the values that the records hold.
    void sendParamsToDevice();

    // Requests.

    /// One SET_CUR request.
    /// @param bytes the value, least significant byte first; copied
    /// @param size at most 8; anything longer ends the program
    /// @param unit 1 for the camera terminal, any other for the processing unit
    bool setBytesSizedToUnitSelector(const std::uint8_t* bytes, std::size_t size, std::int32_t unit,
                                     std::int32_t selector);
    bool _setBytesSizedToControl(const std::uint8_t* bytes, std::size_t size,
                                 const KTUVCControlInfo& control);

    /// Sends the record's value in its actual size, 1 to 4 bytes.  A null record fails.
    bool _pushParamToDevice(const KTUVCParameters* record);
    /// Sends a pan/tilt value for a record of 8 bytes without changing the record.  A null record fails.
    bool _push2x4ByteValueParamToDevice(std::int64_t value, const KTUVCParameters* record);

    /// False if nothing is bound or the request failed; a failure closes the interface for good.
    bool _sendControlRequest(UsbControlRequest& request);
    /// Reads one value of a control.
    /// @param returnVal receives the bytes, or null if there are none
    /// @return the number of bytes, -1 if the request failed
    std::int32_t _requestValTypeForControlReturnVal(UvcRequest requestCode, const KTUVCControlInfo& control,
                                                    std::unique_ptr<std::uint8_t[]>& returnVal);

    /// Fills one record from the camera.
    /// @param support whether the camera's descriptors list the control
    void _populateParamSupport(KTUVCParameters& record, bool support);
    /// The same for pan and tilt.
    void _populate2x4ByteParamSupport(KTUVCParameters& record, bool support);
    /// Requests the current value and changes nothing.
    void populateParam(const KTUVCParameters& record);
    /// Takes the current value of a control that somebody else may have changed into its record.
    ControlRefresh refreshControl(KTUVCControl control);
    void _populateAllParams();

private:
    friend class BoundCamera;
    friend class ReportedChanges;

    using Decode = std::function<std::int64_t(std::int64_t previous, std::span<const std::uint8_t> reply)>;
    using Only = std::optional<BindingIdentity>; // the only binding allowed, or any

    bool send(const CameraBinding& binding, UsbControlRequest& request);
    std::int32_t requestValue(const CameraBinding& binding, UvcRequest requestCode,
                              const KTUVCControlInfo& control, std::unique_ptr<std::uint8_t[]>& returnVal);
    /// @param bytes afterwards what the camera took, if the transport knows it
    bool write(const CameraBinding& binding, std::span<std::uint8_t> bytes, std::int32_t unit,
               std::int32_t selector);
    bool writeBytes(const CameraBinding& binding, const std::uint8_t* bytes, std::size_t size,
                    std::int32_t unit, std::int32_t selector);
    void readCurrent(const CameraBinding& binding, const KTUVCParameters& record);
    ControlRefresh refresh(const ControlRow& row, Only only);
    /// @param unwrittenSince the control's mark before the value was read; nothing if it was being written
    ControlRefresh takeReported(const ControlRow& row, BindingIdentity only,
                                std::span<const std::uint8_t> value,
                                std::optional<std::uint64_t> unwrittenSince);
    void populate(KTUVCParameters& record, bool support, const Decode& decode);
    static void markUnsupported(KTUVCParameters& record);
    bool readAll(KTUVCParameters& record, const Decode& decode);
    bool mayHaveControl(bool support) const;

    bool bindRecordOf(const LocationCandidates& locationIDs);
    bool bindInterfaceOf(const LocationCandidates& locationIDs);
    /// Null if the device has no control interface or it cannot be opened, nothing if there is no device.
    std::optional<std::shared_ptr<UsbInterface>> openInterfaceAt(const LocationCandidates& locationIDs) const;
    std::unique_ptr<UsbDevice> deviceAt(const LocationCandidates& locationIDs) const;
    bool openInterfaceOf(BindingIdentity identity);

    bool setControl(const ControlRow& row, std::int64_t value, Only only);
    bool setScalar(const ControlRow& row, std::int64_t value, Only only);
    /// @param next computes the value to send from the one that the record holds
    bool setPair(const std::function<std::int64_t(std::int64_t held)>& next, Only only);
    /// What the camera took, or nothing if the write failed.
    std::optional<std::int64_t> push(const CameraBinding& binding, const KTUVCControlInfo& control,
                                     std::size_t size, std::int64_t value);

    void walk(const std::function<void(const BoundCamera& camera, const ControlRow& row)>& writeControl);
    void resetToDefault(const BoundCamera& camera, const ControlRow& row);
    bool ignoresItsAutoFocusDefault() const;

    const std::function<std::chrono::steady_clock::time_point()> now_;
    mutable std::mutex busMutex_; // guards usb_; only one thread at a time searches the bus and opens
    UsbPlatform* usb_;
    std::unique_ptr<BusProber> prober_;
    SharedCameraBinding binding_;
    WriteMarks writeMarks_;
};

} // namespace tavelo
