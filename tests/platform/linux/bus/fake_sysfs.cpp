// SPDX-License-Identifier: MIT
#include "fake_sysfs.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tavelo::test {

namespace fs = std::filesystem;

namespace {

std::string hexadecimal(std::uint16_t number) {
    char text[8];
    std::snprintf(text, sizeof text, "%04x", unsigned{number});
    return text;
}

} // namespace

FakeSysfs::FakeSysfs() {
    std::string pattern = (fs::temp_directory_path() / "tavelo-sysfs-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    root_ = pattern;
    fs::create_directories(root_ / "bus/usb/devices");
    fs::create_directories(root_ / "class/video4linux");
    fs::create_directories(root_ / "devices");
}

FakeSysfs::~FakeSysfs() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

void FakeSysfs::write(const fs::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

void FakeSysfs::listOnBus(const fs::path& folder) {
    fs::create_directory_symlink(folder, root_ / "bus/usb/devices" / folder.filename());
}

void FakeSysfs::addRootHub(const std::string& controller, int bus) {
    const fs::path folder = root_ / "devices" / controller / ("usb" + std::to_string(bus));
    fs::create_directories(folder);
    write(folder / "idVendor", "1d6b\n");
    write(folder / "idProduct", "0002\n");
    listOnBus(folder);
}

void FakeSysfs::addDevice(const Device& device) {
    const auto dash = device.name.find('-');
    const auto dot = device.name.rfind('.');
    const std::string parent =
        dot == std::string::npos ? "usb" + device.name.substr(0, dash) : device.name.substr(0, dot);
    if (folderOf(parent).empty())
        throw std::invalid_argument("no " + parent + " to plug " + device.name + " into");
    const fs::path folder = folderOf(parent) / device.name;
    fs::create_directories(folder);
    write(folder / "idVendor", hexadecimal(device.vendor) + "\n");
    write(folder / "idProduct", hexadecimal(device.product) + "\n");
    write(folder / "devnum", std::to_string(device.deviceNumber) + "\n");
    if (!device.productName.empty()) write(folder / "product", device.productName + "\n");
    write(folder / "bConfigurationValue", device.configurationValue + "\n");
    write(folder / "descriptors", {device.descriptors.begin(), device.descriptors.end()});
    listOnBus(folder);
}

void FakeSysfs::addVideoNode(const std::string& interfaceName, const std::string& node, int index) {
    const fs::path interface = folderOf(interfaceName.substr(0, interfaceName.find(':'))) / interfaceName;
    if (!fs::exists(root_ / "bus/usb/devices" / interfaceName)) {
        fs::create_directories(interface);
        listOnBus(interface);
    }
    const fs::path folder = interface / "video4linux" / node;
    fs::create_directories(folder);
    write(folder / "index", std::to_string(index) + "\n");
    fs::create_directory_symlink(interface, folder / "device");
    fs::create_directory_symlink(folder, root_ / "class/video4linux" / node);
}

void FakeSysfs::addPlatformVideoNode(const std::string& node) {
    const fs::path device = root_ / "devices/platform/vivid.0";
    const fs::path folder = device / "video4linux" / node;
    fs::create_directories(folder);
    fs::create_directory_symlink(device, folder / "device");
    fs::create_directory_symlink(folder, root_ / "class/video4linux" / node);
}

void FakeSysfs::removeDevice(const std::string& name) {
    fs::remove_all(folderOf(name));
    fs::remove(root_ / "bus/usb/devices" / name);
}

fs::path FakeSysfs::folderOf(const std::string& name) const {
    std::error_code error;
    fs::path folder = fs::canonical(root_ / "bus/usb/devices" / name, error);
    return error ? fs::path() : folder;
}

} // namespace tavelo::test
