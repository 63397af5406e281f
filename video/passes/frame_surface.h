// SPDX-License-Identifier: MIT
// The seam to where the picture is shown: a window's drawable and its thread.
#pragma once

#include "video/passes/frame_geometry.h"

namespace tavelo {

/// The place of the display pass's picture.
///
/// Made and destroyed on the main thread, after the passes that draw into it.  Never waits for the main
/// thread, so that the main thread may wait for the render queue.
class FrameSurface {
public:
    FrameSurface() = default;
    virtual ~FrameSurface() = default;

    FrameSurface(const FrameSurface&) = delete;
    FrameSurface& operator=(const FrameSurface&) = delete;

    // On the render queue

    /// Whether the window is there to be drawn into.  No call touches the window while it is not.
    virtual void setDrawable(bool drawable) = 0;

    /// Comes before any call of the passes; false if nothing can be drawn at all, as with a lost context.
    virtual bool makeCurrent() = 0;

    /// Makes the window the target of the display pass; false where there is no drawable.
    virtual bool beginDisplay(ViewportSize viewport) = 0;

    /// Shows what was drawn since beginDisplay().
    virtual void present() = 0;

    // On the main thread

    /// Puts the last presented picture on the screen again where that is the main thread's work.
    virtual void flush() = 0;
};

} // namespace tavelo
