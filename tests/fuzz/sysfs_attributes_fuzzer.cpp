// SPDX-License-Identifier: MIT
// The attributes of USB devices and video nodes, as the kernel took them from the device.
//
// Input: the device's name in the tree, its attributes in the order below, each ended by a zero byte, then
// the descriptors.
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "platform/linux/bus/sysfs_bus_prober.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/v4l2/video_nodes.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using namespace tavelo;
using tavelo::fuzz::expect;
using tavelo::fuzz::FuzzInput;

// Nobody may open a node, so that the tree decides.
class ClosedNodes final : public V4l2NodeOpener {
public:
    std::unique_ptr<V4l2Node> open(const std::string& /*path*/, int& error) override {
        error = EACCES;
        return nullptr;
    }
};

void write(const fs::path& file, std::string_view content) {
    std::ofstream(file, std::ios::binary) << content;
}

bool canBeAFile(std::string_view name) {
    return !name.empty() && name.size() < 64 && name != "." && name != ".." &&
           name.find('/') == std::string_view::npos;
}

// A tree with one device.  Its name changes from input to input, the rest is written over.
class Tree {
public:
    Tree() {
        fs::create_directories(root() / "bus/usb/devices");
        fs::create_directories(root() / "class/video4linux");
        fs::create_directories(hub());
        fs::create_directory_symlink(hub(), root() / "bus/usb/devices/usb1");
    }

    fs::path root() const { return folder_.path(); }

    /// False if there cannot be such a device.
    bool setUp(FuzzInput& input) {
        const std::string_view name = input.text();
        if (!canBeAFile(name) || name == "usb1") return false;
        const fs::path device = hub() / name;
        const std::string interfaceName = std::string(name) + ":1.0";
        if (interfaceName.size() > 64) return false;
        const fs::path node = device / interfaceName / "video4linux/video0";
        fs::create_directories(node);
        fs::create_directory_symlink(device, root() / "bus/usb/devices" / name);
        fs::create_directory_symlink(device / interfaceName, node / "device");
        fs::create_directory_symlink(node, root() / "class/video4linux/video0");
        for (const char* attribute :
             {"idVendor", "idProduct", "devnum", "product", "speed", "bConfigurationValue"})
            write(device / attribute, input.text());
        write(node / "name", input.text());
        write(node / "index", "0\n");
        write(device / "descriptors", input.restText());
        made_ = {device, root() / "bus/usb/devices" / name, root() / "class/video4linux/video0"};
        return true;
    }

    void clear() {
        for (const fs::path& path : made_)
            fs::remove_all(path);
    }

private:
    fs::path hub() const { return root() / "devices/pci0000:00/0000:00:14.0/usb1"; }

    const testing::TemporaryFolder folder_;
    std::array<fs::path, 3> made_;
};

bool isPrintable(std::string_view text) {
    return text.find_first_of("\n\r\x1B\x7F") == std::string_view::npos;
}

void look(const fs::path& root) {
    const auto devices = usbDevices(root);
    expect(devices.size() <= 1);
    for (const SysfsUsbDevice& device : devices) {
        static_cast<void>(usbSpeed(device));
        if (const auto descriptors = usbDescriptors(device)) expect(descriptors->device.size() <= 18);
        expect(videoNodesOfInterface(device, 0).size() <= 1);
    }
    const auto identity = usbIdentityOfVideoNode(root, "/dev/video0");
    expect(!identity || (devices.size() == 1 && identity->locationID == devices.front().locationID));
    if (identity) expect(identity->captureIdentifier().starts_with("0x"));
    SysfsBusProber prober(nullptr, root, nullptr);
    prober.refreshData(false);
    for (const auto& camera : prober.devicesArray())
        expect(isPrintable(camera->name));
    for (const VideoNode& node : VideoNodeScanner(root, std::make_shared<ClosedNodes>()).scan())
        expect(!node.localizedName.empty() && isPrintable(node.localizedName));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Tree tree;
    FuzzInput input(data, size);
    if (!tree.setUp(input)) return 0;
    look(tree.root());
    tree.clear();
    return 0;
}
