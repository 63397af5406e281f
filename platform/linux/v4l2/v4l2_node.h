// SPDX-License-Identifier: MIT
// An open video node: all that controls and streaming use of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tavelo {

/// The driver's memory, unmapped with the last reference.
using V4l2Mapping = std::shared_ptr<const std::uint8_t>;

/// An open file of a video node, non-blocking; destroying it closes the node.  Controls may be used on any
/// thread, since the driver locks them itself; streaming is thread-bound to whoever opened the node.
class V4l2Node {
public:
    virtual ~V4l2Node() = default;

    /// One V4L2 request (VIDIOC_...) with its argument structure; repeated if a signal interrupts it.
    /// @return 0, or the errno
    virtual int control(unsigned long request, void* argument) = 0;

    /// Null if the driver refuses.
    virtual V4l2Mapping map(std::size_t length, std::uint32_t offset) = 0;

    /// For poll(): readable when a frame is ready, POLLPRI while an event waits, POLLERR or POLLHUP if none
    /// will come.
    virtual int descriptor() const = 0;
};

/// What this node can do, V4L2_CAP_...; other nodes of the camera may do more.
/// @return 0, or the errno
int queryCapabilities(V4l2Node& node, std::uint32_t& capabilities);

/// Thread-safe.
class V4l2NodeOpener {
public:
    virtual ~V4l2NodeOpener() = default;

    /// Null with the errno if it fails.
    virtual std::unique_ptr<V4l2Node> open(const std::string& path, int& error) = 0;
};

/// Opens real nodes.
class KernelNodeOpener final : public V4l2NodeOpener {
public:
    std::unique_ptr<V4l2Node> open(const std::string& path, int& error) override;
};

} // namespace tavelo
