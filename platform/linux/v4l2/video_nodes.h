// SPDX-License-Identifier: MIT
// Finds the video nodes that are cameras.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// A capturing node, as it was when it appeared.
struct VideoNode {
    std::string name;           ///< the kernel's: "video0"
    std::uint64_t instance = 0; ///< differs each time a node appears, even under the same name
    std::string uniqueID;       ///< see CaptureDevice; "node:" and a stable text for a node off the USB bus
    std::string localizedName;  ///< printable, never empty
    std::string place;          ///< see CaptureDevice

    std::string path() const { return "/dev/" + name; }
};

/// Whether the node still exists and is the same one.  Reentrant.
bool isListed(const std::filesystem::path& sysfs, const VideoNode& node);

/// Inspects each node once.  Thread-bound; opens new nodes for a moment, which may take as long as a
/// sleeping camera takes to wake.
class VideoNodeScanner {
public:
    /// @param sysfs "/sys" except in tests
    VideoNodeScanner(std::filesystem::path sysfs, std::shared_ptr<V4l2NodeOpener> opener);

    /// The capturing nodes that exist now, by number.  One per video function: of several nodes with the
    /// same identifier, the first.
    std::vector<VideoNode> scan();

private:
    struct Seen {
        VideoNode node;
        bool captures = false;
    };

    Seen look(const std::string& name, std::uint64_t instance) const;
    bool captures(const std::string& name) const;

    const std::filesystem::path sysfs_;
    const std::shared_ptr<V4l2NodeOpener> opener_;
    std::vector<Seen> seen_;
};

} // namespace tavelo
