// SPDX-License-Identifier: MIT
#include "fake_video_nodes.h"

#include <stdlib.h> // NOLINT(modernize-deprecated-headers): mkdtemp

#include <cerrno>
#include <fstream>
#include <stdexcept>

#include "fake_control_node.h"

namespace tavelo {

namespace fs = std::filesystem;

namespace {

const fs::path bus = "devices/pci0000:00/0000:00:14.0/usb1";

void write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << '\n';
}

void link(const fs::path& from, const fs::path& to) {
    fs::create_directories(from.parent_path());
    if (!fs::is_symlink(from)) fs::create_directory_symlink(to, from);
}

} // namespace

FakeVideoTree::FakeVideoTree() {
    std::string pattern = (fs::temp_directory_path() / "tavelo-sysfs-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    root_ = pattern;
    fs::create_directories(root_ / bus);
    link(root_ / "bus/usb/devices/usb1", root_ / bus);
    fs::create_directories(root_ / "class/video4linux");
}

FakeVideoTree::~FakeVideoTree() {
    std::error_code error;
    fs::remove_all(root_, error);
}

void FakeVideoTree::plug(const Camera& camera) {
    const std::string name = "1-" + std::to_string(camera.port);
    const fs::path device = root_ / bus / name;
    write(device / "idVendor", camera.vendorID);
    write(device / "idProduct", camera.productID);
    write(device / "devnum", "5");
    if (!camera.product.empty()) write(device / "product", camera.product);
    link(root_ / "bus/usb/devices" / name, device);
}

void FakeVideoTree::addNode(const std::string& name, int port, const std::string& driversName, int index,
                            int interfaceNumber) {
    const std::string device = "1-" + std::to_string(port);
    writeNode(root_ / bus / device / (device + ":1." + std::to_string(interfaceNumber)), name, driversName,
              index);
}

void FakeVideoTree::addPlatformNode(const std::string& name, const std::string& driversName) {
    writeNode(root_ / "devices/platform/sensor.0", name, driversName, 0);
}

void FakeVideoTree::writeNode(const fs::path& parent, const std::string& name, const std::string& driversName,
                              int index) {
    const fs::path node = parent / "video4linux" / name;
    write(node / "name", driversName);
    write(node / "index", std::to_string(index));
    link(node / "device", parent);
    link(root_ / "class/video4linux" / name, node);
}

void FakeVideoTree::removeNode(const std::string& name) {
    const fs::path entry = root_ / "class/video4linux" / name;
    // Renamed instead of deleted, because a file system may reuse the inode number of a deleted folder.
    fs::rename(fs::canonical(entry), root_ / ("removed" + std::to_string(removed_++)));
    fs::remove(entry);
}

void FakeNodeOpener::capabilities(const std::string& name, std::uint32_t deviceCaps) {
    const std::lock_guard lock(mutex_);
    caps_["/dev/" + name] = deviceCaps;
}

void FakeNodeOpener::fail(const std::string& name, int error) {
    const std::lock_guard lock(mutex_);
    errors_["/dev/" + name] = error;
}

int FakeNodeOpener::opened() {
    const std::lock_guard lock(mutex_);
    return opened_;
}

std::unique_ptr<V4l2Node> FakeNodeOpener::open(const std::string& path, int& error) {
    const std::lock_guard lock(mutex_);
    ++opened_;
    const auto caps = caps_.find(path);
    error = caps == caps_.end() ? ENOENT : errors_[path];
    if (error != 0) return nullptr;
    auto node = std::make_unique<test::FakeControlNode>();
    node->capabilities = caps->second;
    return node;
}

} // namespace tavelo
