// SPDX-License-Identifier: MIT
#include "bench/peers/camera/usb_tree.h"

#include <cerrno>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo::bench {
namespace {

namespace fs = std::filesystem;

// The controls of the processing unit that the video node has too: brightness, contrast, saturation,
// sharpness.
constexpr std::uint32_t unitControls = 0b1'1011;

void write(const fs::path& file, std::string_view content) {
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream)
        throw fs::filesystem_error("cannot write", file, std::error_code(errno, std::generic_category()));
}

void link(const fs::path& from, const fs::path& to) {
    fs::create_directories(from.parent_path());
    fs::create_symlink(fs::relative(to, from.parent_path()), from);
}

std::string hexadecimal(unsigned value, int digits) {
    constexpr std::string_view figures = "0123456789abcdef";
    std::string text;
    while (digits-- > 0)
        text += figures[value >> (4 * digits) & 0xFU];
    return text;
}

VirtualCameraModel model() {
    VirtualCameraModel camera = virtualCameraModel(1);
    camera.product = "Pretend Camera";
    camera.terminalControls = 0;
    camera.unitControls = unitControls;
    camera.extensionUnitID = 0;
    return camera;
}

void makeUsbDevice(const fs::path& sysfs, const fs::path& folder, const VirtualCameraModel& camera,
                   bool isHub) {
    fs::create_directories(folder);
    write(folder / "uevent", isHub ? "DEVTYPE=usb_device\nDRIVER=usb\n"
                                   : "DEVTYPE=usb_device\nDRIVER=usb\nBUSNUM=001\nDEVNUM=002\n");
    write(folder / "busnum", "1\n");
    write(folder / "devnum", isHub ? "1\n" : "2\n");
    write(folder / "speed", "480\n");
    write(folder / "bConfigurationValue", "1\n");
    write(folder / "bDeviceClass", isHub ? "09\n" : "ef\n");
    write(folder / "idVendor", isHub ? "1d6b\n" : hexadecimal(camera.vendorID, 4) + "\n");
    write(folder / "idProduct", isHub ? "0002\n" : hexadecimal(camera.productID, 4) + "\n");
    write(folder / "product", isHub ? "Pretend Controller\n" : camera.product + "\n");
    write(folder / "manufacturer", "Tavelo\n");
    link(folder / "subsystem", sysfs / "bus/usb");
    link(sysfs / "bus/usb/devices" / folder.filename(), folder);
}

void makeInterface(const fs::path& sysfs, const fs::path& folder) {
    fs::create_directories(folder);
    write(folder / "uevent", "DEVTYPE=usb_interface\nDRIVER=uvcvideo\n");
    write(folder / "bInterfaceNumber", "00\n");
    link(folder / "subsystem", sysfs / "bus/usb");
    link(sysfs / "bus/usb/devices" / folder.filename(), folder);
}

void makeVideoNode(const fs::path& sysfs, const fs::path& interface, const std::string& product) {
    const fs::path folder = interface / "video4linux/video0";
    fs::create_directories(folder);
    write(folder / "uevent", "MAJOR=81\nMINOR=0\nDEVNAME=video0\n");
    write(folder / "name", product + "\n");
    write(folder / "index", "0\n");
    write(folder / "dev", "81:0\n");
    link(folder / "device", interface);
    link(folder / "subsystem", sysfs / "class/video4linux");
    link(sysfs / "class/video4linux/video0", folder);
    link(sysfs / "dev/char/81:0", folder);
}

} // namespace

void makeUsbTree(const fs::path& sysfs) {
    const VirtualCameraModel camera = model();
    const fs::path controller = sysfs / "devices/pretend_hcd.0";
    const fs::path hub = controller / "usb1";
    const fs::path device = hub / "1-1";
    fs::create_directories(sysfs / "bus/usb/devices");
    fs::create_directories(sysfs / "class/video4linux");
    makeUsbDevice(sysfs, hub, camera, true);
    write(controller / "uevent", "DRIVER=xhci_hcd\n");
    makeUsbDevice(sysfs, device, camera, false);
    std::string descriptors;
    for (const auto& part : {makeDeviceDescriptor(camera), makeConfigurationDescriptor(camera)})
        descriptors.append(part.begin(), part.end());
    write(device / "descriptors", descriptors);
    makeInterface(sysfs, device / "1-1:1.0");
    makeVideoNode(sysfs, device / "1-1:1.0", camera.product);
}

} // namespace tavelo::bench
