// SPDX-License-Identifier: MIT
// A sysfs tree in a temporary folder, with the same links and files as the kernel's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tavelo::test {

class FakeSysfs {
public:
    FakeSysfs();
    ~FakeSysfs();
    FakeSysfs(const FakeSysfs&) = delete;
    FakeSysfs& operator=(const FakeSysfs&) = delete;

    const std::filesystem::path& root() const { return root_; }

    /// @param controller folder below "devices": "pci0000:00/0000:00:14.0"
    void addRootHub(const std::string& controller, int bus);

    struct Device {
        std::string name = "1-2"; ///< its root hub must exist
        std::uint16_t vendor = 0x046D;
        std::uint16_t product = 0x0825;
        std::string productName = "Test Camera";
        std::vector<std::uint8_t> descriptors; ///< device descriptor and configurations
        std::string configurationValue = "1";
        int deviceNumber = 5;
    };
    void addDevice(const Device& device);

    /// @param interfaceName "1-2:1.0"
    /// @param index         the kernel's attribute of that name
    void addVideoNode(const std::string& interfaceName, const std::string& node, int index);

    /// A node of a device that is not on USB.
    void addPlatformVideoNode(const std::string& node);

    void removeDevice(const std::string& name);

    /// The folder of a device or interface; empty if it does not exist.
    std::filesystem::path folderOf(const std::string& name) const;

    static void write(const std::filesystem::path& file, const std::string& content);

private:
    void listOnBus(const std::filesystem::path& folder);

    std::filesystem::path root_;
};

} // namespace tavelo::test
