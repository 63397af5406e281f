// SPDX-License-Identifier: MIT
// The passes of both renderers, drawing into memory of the preview's size.
#pragma once

#include <functional>
#include <memory>

#include "platform/serial_queue.h"
#include "video/passes/frame_passes.h"

namespace tavelo::bench {

/// The preview's size in the panel.
inline constexpr ViewportSize previewSize{536, 301};

/// A renderer on a thread of its own.  Made and destroyed on the main thread.
class BenchRenderer {
public:
    virtual ~BenchRenderer() = default;

    /// Runs `work` where the passes may be used.
    virtual void run(const std::function<void(FramePasses&)>& work) = 0;
};

std::unique_ptr<BenchRenderer> makeCpuRenderer();
/// Null where there is no OpenGL that will do.
/// @param mapped whether frames live in mapped memory; null too where the driver cannot
std::unique_ptr<BenchRenderer> makeGlRenderer(bool mapped);

} // namespace tavelo::bench
