// SPDX-License-Identifier: MIT
// Which of a program's descriptors belong to the watched node.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "bench/peers/preload/device_file.h"
#include "bench/peers/preload/frame_log.h"

namespace tavelo::bench {

/// What the environment says: TAVELO_PEERS_NODE is the node's path.  TAVELO_PEERS_CAMERA is pretend_camera's
/// socket; without it the node is a real camera's, and is only watched.  TAVELO_PEERS_LOG is the file for the
/// frames that the program takes (FrameLog).
/// Thread-safe.
class OpenFiles {
public:
    /// The process's; never destroyed, for files are closed after main() too.
    static OpenFiles& instance();

    bool isNode(const char* path) const;
    /// Opens the node; a descriptor, or -1 with errno.
    int open(int flags);

    /// Null if the descriptor is none of ours.
    std::shared_ptr<DeviceFile> find(int descriptor) const;
    /// After a call that duplicated or closed a descriptor.
    void duplicated(int from, int to);
    void closed(int descriptor);

    const std::string& node() const { return node_; }

private:
    struct Entry {
        int descriptor;
        std::shared_ptr<DeviceFile> file;
    };

    OpenFiles();
    int openPretended(int flags, std::shared_ptr<DeviceFile>& file);
    void add(int descriptor, std::shared_ptr<DeviceFile> file);

    const std::string node_;
    const std::string camera_;
    FrameLog log_;
    mutable std::mutex mutex_;
    std::vector<Entry> entries_; // guarded by mutex_
};

} // namespace tavelo::bench
