// SPDX-License-Identifier: MIT
// The interface of the surfaces that show pictures in a window.
#pragma once

#include "video/passes/frame_geometry.h"

namespace tavelo {

/// What the display pass draws into.
///
/// Created and destroyed on the main thread; destroyed after the passes that draw into it.  Never waits for
/// the main thread, because the main thread may wait for the render queue.
class FrameSurface {
public:
    FrameSurface() = default;
    virtual ~FrameSurface() = default;

    FrameSurface(const FrameSurface&) = delete;
    FrameSurface& operator=(const FrameSurface&) = delete;

    // On the render queue

    /// Sets whether the window can be drawn into.  While it cannot, no call accesses the window.
    virtual void setDrawable(bool drawable) = 0;

    /// Call before any call of the passes.
    /// @return false if nothing can be drawn, for example because the context is lost
    virtual bool makeCurrent() = 0;

    /// Makes the window the target of the display pass.
    /// @return false if there is no drawable
    virtual bool beginDisplay(ViewportSize viewport) = 0;

    /// Shows what was drawn since beginDisplay().
    virtual void present() = 0;

    // On the main thread

    /// Shows the last presented picture again, if the main thread has to do that.
    virtual void flush() = 0;
};

} // namespace tavelo
