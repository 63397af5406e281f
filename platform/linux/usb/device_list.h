// SPDX-License-Identifier: MIT
// The cameras on the USB bus as video sources, whether a driver holds them or not.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/capture.h"
#include "platform/common/capture_device_list.h"
#include "platform/linux/usb/usb_camera_claims.h"
#include "platform/main_queue.h"

namespace tavelo {

/// A video function of a plugged-in device.
struct UsbCamera {
    UsbCameraAddress address;
    std::string uniqueID;      ///< the same as through the kernel's driver
    std::string localizedName; ///< printable, never empty
    std::string place;         ///< see CaptureDevice
    /// The active configuration with all that follows it.
    std::vector<std::uint8_t> configurationDescriptor;

    bool isSameAs(const UsbCamera& other) const;
    /// Those of its first streaming interface.
    std::vector<CaptureFormat> formats() const;
};

struct UsbCameraScan {
    std::vector<UsbCamera> cameras; ///< by bus and port
    /// A device is so new that the kernel has not chosen its configuration: scan again.
    bool unsettled = false;
};

/// Reads only sysfs, so a camera is listed without rights to it and without waking it.  Reentrant.
UsbCameraScan scanUsbCameras(const std::filesystem::path& sysfs);

/// Makes the input of a camera; null with the reason if it cannot.  Called on the main thread.
using UsbInputMaker = std::function<std::unique_ptr<CaptureDeviceInput>(
    const std::shared_ptr<CaptureDevice>& device, const UsbCamera& camera, Error& error)>;

/// The video functions on the bus; those present at the start by bus and port.
class UsbDeviceList : private CaptureDeviceList<UsbCamera> {
public:
    /// The queue must outlive the list.
    UsbDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue, UsbInputMaker makeInput);

    /// Main thread: fills the list before anybody can have seen it, so no observer is notified.
    void fill();

    /// Thread-safe: scans for changes; the list and its observers are updated on the main thread.
    /// @return whether all devices were settled; if not, the caller has to scan again
    bool rescan();

    using CaptureDeviceList::addObserver;
    using CaptureDeviceList::devices;
    using CaptureDeviceList::removeObserver;

private:
    const std::filesystem::path sysfs_;
};

} // namespace tavelo
