// SPDX-License-Identifier: MIT
// The virtual cameras of one server: plugging, lookup, unplugging.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "platform/virtual/usbip/usbip_server.h"
#include "virtual-camera/request_log.h"

namespace tavelo {

/// Cameras 1 to N, exported by a server as "1-1" to "1-N".  A camera that was unplugged comes back as new.
/// If the devices have a second video function, those are cameras N+1 to 2N, plugged and unplugged with their
/// device.
///
/// Thread-safe.
class ServedCameras {
public:
    /// Plugs every model in.
    /// @param server must outlive this object
    /// @param log may be null; must outlive this object
    /// @param twoFunctions gives each device a second video function
    ServedCameras(usbip::UsbipServer& server, std::vector<VirtualCameraModel> models, RequestLog* log,
                  bool twoFunctions = false);
    ~ServedCameras();

    ServedCameras(const ServedCameras&) = delete;
    ServedCameras& operator=(const ServedCameras&) = delete;

    /// The number of cameras, second video functions included.
    int size() const { return static_cast<int>(slots_.size()); }

    /// Null if the number does not exist or the camera is unplugged.
    std::shared_ptr<VirtualCameraFirmware> camera(int number) const;

    /// Whether a host has imported the camera.
    bool isImported(int number) const;

    /// False if it is plugged in, does not exist, or is the second function of a device.
    bool plug(int number);
    /// Unplugs a camera at once, whatever it is doing; false if it is not plugged in.
    bool vanish(int number);

private:
    /// Writes one camera's class requests to the log.
    class LogObserver : public FirmwareObserver {
    public:
        LogObserver(int number, RequestLog* log) : number_(number), log_(log) {}
        void requestAnswered(const RequestRecord& record) override;
        void vanished() override {}

    private:
        const int number_;
        RequestLog* const log_;
    };

    struct Slot {
        VirtualCameraModel model;
        std::unique_ptr<LogObserver> observer;
        std::shared_ptr<VirtualCameraFirmware> firmware; ///< null while unplugged
    };

    bool exists(int number) const { return number >= 1 && number <= size(); }
    bool isDevice(int number) const { return number >= 1 && number <= devices_; }
    int deviceOf(int number) const { return isDevice(number) ? number : number - devices_; }
    bool hasSecond() const { return size() > devices_; }
    std::shared_ptr<VirtualCameraFirmware> makeFirmware(int number);
    Slot& slot(int number) { return slots_[static_cast<std::size_t>(number - 1)]; }
    const Slot& slot(int number) const { return slots_[static_cast<std::size_t>(number - 1)]; }

    usbip::UsbipServer& server_;
    const int devices_;
    mutable std::mutex mutex_; // guards the firmwares in slots_
    std::vector<Slot> slots_;
};

/// Camera `number` as the second video function of another camera's device.
VirtualCameraModel secondFunctionOf(const VirtualCameraModel& first, int number);

/// The name under which the server exports a camera.
std::string busIdOf(int cameraNumber);

} // namespace tavelo
