// SPDX-License-Identifier: MIT
// Which of the machine's video nodes are cameras.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

/// A node that captures, as it was when it appeared.
struct VideoNode {
    std::string name;           ///< the kernel's: "video0"
    std::uint64_t instance = 0; ///< another one for each time that a node appears, under the same name too
    std::string uniqueID;       ///< see CaptureDevice; for a node off the USB bus "node:" and a stable text
    std::string localizedName;  ///< printable, never empty

    std::string path() const { return "/dev/" + name; }
};

/// Whether the node is there, and the same one as ever.  Reentrant.
bool isListed(const std::filesystem::path& sysfs, const VideoNode& node);

/// Looks at each node once.  Thread-bound; opens new nodes for a moment, which may take a sleeping camera's
/// time to wake.
class VideoNodeScanner {
public:
    /// @param sysfs "/sys" but in tests
    VideoNodeScanner(std::filesystem::path sysfs, std::shared_ptr<V4l2NodeOpener> opener);

    /// The capturing nodes that are there now, by number.  One for each video function: of several nodes with
    /// one identifier the first.
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
