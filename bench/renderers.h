// SPDX-License-Identifier: MIT
// Both renderers' passes, which draw into memory of the preview's size.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/serial_queue.h"
#include "video/passes/frame_passes.h"

namespace tavelo::bench {

/// The preview's size in the panel.
inline constexpr ViewportSize previewSize{536, 301};

/// A renderer on its own thread.  Created and destroyed on the main thread.
class BenchRenderer {
public:
    virtual ~BenchRenderer() = default;

    /// Runs `work` on the renderer's thread.
    virtual void run(const std::function<void(FramePasses&)>& work) = 0;

    /// How long the graphics card works on what `work` asks of it; waits for the card.  On the renderer's
    /// thread.  Nothing if no card takes part, or if it does not tell.
    virtual std::optional<std::chrono::nanoseconds> cardTime(const std::function<void()>& /*work*/) {
        return std::nullopt;
    }

    /// The card and its driver; empty for none.
    virtual std::string card() { return {}; }
};

std::unique_ptr<BenchRenderer> makeCpuRenderer();
/// Null if there is no suitable OpenGL, or if the driver does not support `mapped`.
/// @param mapped whether frames are in mapped memory
std::unique_ptr<BenchRenderer> makeGlRenderer(bool mapped);

} // namespace tavelo::bench
