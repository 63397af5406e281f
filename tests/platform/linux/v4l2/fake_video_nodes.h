// SPDX-License-Identifier: MIT
// A tree as in /sys with video nodes in it, and a driver that answers for each.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// Bus 1 of one host controller, with cameras plugged into its ports.
class FakeVideoTree {
public:
    FakeVideoTree();
    ~FakeVideoTree();
    FakeVideoTree(const FakeVideoTree&) = delete;
    FakeVideoTree& operator=(const FakeVideoTree&) = delete;

    const std::filesystem::path& root() const { return root_; }

    struct Camera {
        int port = 1;
        std::string product;
        std::string vendorID = "046d";
        std::string productID = "0825";
    };
    void plug(const Camera& camera);

    /// A node of the camera in this port.
    void addNode(const std::string& name, int port, const std::string& driversName, int index = 0,
                 int interfaceNumber = 0);
    /// A node that no USB device has.
    void addPlatformNode(const std::string& name, const std::string& driversName);
    void removeNode(const std::string& name);

private:
    void writeNode(const std::filesystem::path& parent, const std::string& name,
                   const std::string& driversName, int index);

    std::filesystem::path root_;
    int removed_ = 0;
};

/// Opens every node that it was told of; they have no controls.  Thread-safe.
class FakeNodeOpener final : public V4l2NodeOpener {
public:
    void capabilities(const std::string& name, std::uint32_t deviceCaps);
    /// Opening fails from now on; 0: works again.
    void fail(const std::string& name, int error);
    int opened();

    std::unique_ptr<V4l2Node> open(const std::string& path, int& error) override;

private:
    std::mutex mutex_; // guards the rest
    std::map<std::string, std::uint32_t> caps_;
    std::map<std::string, int> errors_;
    int opened_ = 0;
};

} // namespace tavelo
