// SPDX-License-Identifier: MIT
// The one place where the preview's way of drawing is chosen.
#pragma once

#include <QSurface>
#include <QSurfaceFormat>
#include <memory>

#include "platform/serial_queue.h"
#include "video/passes/frame_passes.h"
#include "video/passes/frame_surface.h"
#include "video/renderer_choice.h"

class QWindow;

namespace tavelo {

/// Passes and the surface that they draw into.  The passes die first, on the render queue; the surface on the
/// main thread.
struct RenderBackend {
    Renderer renderer = Renderer::cpu;
    QSurface::SurfaceType surfaceType = QSurface::RasterSurface;
    QSurfaceFormat format; ///< what the window must be made with
    std::unique_ptr<FrameSurface> surface;
    std::unique_ptr<FramePasses> passes;
};

/// Called on the main thread, before the window has its native half; waits for the queue.  Window and queue
/// must outlive the result.
RenderBackend makeRenderBackend(RendererChoice choice, QWindow& window, SerialQueue& renderQueue);

/// Makes that very renderer, in the place of one that was lost; without passes if it cannot be made.
/// Threads and lifetimes as above.  The processor's wants a window without a native half.
RenderBackend remakeRenderBackend(Renderer renderer, QWindow& window, SerialQueue& renderQueue);

} // namespace tavelo
