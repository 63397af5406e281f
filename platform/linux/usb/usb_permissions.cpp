// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_permissions.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/common/file_descriptor.h"
#include "platform/linux/usb/device_list.h"

namespace tavelo {

UsbNodeProbe usbNodeProbe() {
    return [](const std::string& path) {
        const FileDescriptor node(::open(path.c_str(), O_RDWR | O_CLOEXEC));
        return node.isOpen() ? 0 : errno;
    };
}

std::optional<std::string> deniedCamera(const std::filesystem::path& sysfs, const UsbNodeProbe& probe) {
    for (const UsbCamera& camera : scanUsbCameras(sysfs).cameras) {
        std::string path = camera.address.device.path();
        const int error = probe(path);
        if (error == EACCES || error == EPERM) return path;
    }
    return std::nullopt;
}

std::string missingPermissionLine(const std::string& node) {
    return "no permission to open " + node +
           "; for --transport usb, copy "
           "70-tavelo-control-panel.rules to /etc/udev/rules.d and run \"sudo udevadm control --reload && "
           "sudo udevadm trigger --subsystem-match=usb\"";
}

} // namespace tavelo
