// SPDX-License-Identifier: MIT
// The pretend camera: clients and the frame clock.
#pragma once

#include <memory>
#include <vector>

#include "bench/peers/camera/camera_client.h"
#include "bench/peers/camera/prepared_frames.h"
#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

/// Serves programs that open the node.  Many may have it open, one may stream.
class CameraServer {
public:
    CameraServer(std::vector<PreparedFrames> modes, FileDescriptor listener);

    /// Waits for requests or for the next frame, whichever comes first, and does it; false if waiting failed.
    bool runOnce();

private:
    bool wait(std::vector<bool>& ready) const;
    void serve(const std::vector<bool>& ready);
    void deliverDueFrames();
    void welcome();
    bool othersHaveBuffers(const CameraClient& client) const;

    const std::vector<PreparedFrames> modes_;
    FileDescriptor listener_;
    std::vector<std::unique_ptr<CameraClient>> clients_;
};

} // namespace tavelo::bench
