// SPDX-License-Identifier: MIT
// Chooses and creates the preview's renderer.
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

/// Passes and the surface that they draw into.  Destroy the passes first, on the render queue, then the
/// surface on the main thread.
struct RenderBackend {
    Renderer renderer = Renderer::cpu;
    QSurface::SurfaceType surfaceType = QSurface::RasterSurface;
    QSurfaceFormat format; ///< the window must be created with it
    std::unique_ptr<FrameSurface> surface;
    std::unique_ptr<FramePasses> passes;
};

/// Call on the main thread, before the native window is created.  Waits for the queue.  Window and queue must
/// outlive the result.
RenderBackend makeRenderBackend(RendererChoice choice, QWindow& window, SerialQueue& renderQueue);

/// Creates exactly this renderer, to replace one that was lost; has no passes if that fails.  Threads and
/// lifetimes as above, but only the CPU's renderer needs a window without a native window.
RenderBackend remakeRenderBackend(Renderer renderer, QWindow& window, SerialQueue& renderQueue);

} // namespace tavelo
