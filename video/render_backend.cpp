// SPDX-License-Identifier: MIT
#include "video/render_backend.h"

#include <QWindow>
#include <utility>

#include "video/cpu/cpu_frame_passes.h"
#include "video/cpu/raster_surface.h"
#include "video/gl/gl_context.h"
#include "video/gl/gl_frame_passes.h"
#include "video/gl/gl_window_surface.h"

namespace tavelo {
namespace {

// Has no passes if OpenGL cannot be used.
RenderBackend makeGlBackend(RendererChoice choice, QWindow& window, SerialQueue& renderQueue) {
    auto context = GlContext::create(renderQueue);
    if (!context || (choice == RendererChoice::automatic && context->isSoftware())) return {};
    RenderBackend backend{Renderer::gl, QSurface::OpenGLSurface, context->format(), nullptr, nullptr};
    renderQueue.sync([&] {
        QOpenGLContext& current = context->context();
        backend.passes = GlFramePasses::create(current, GlSharedBuffer::bestSharing(current));
    });
    backend.surface = std::make_unique<GlWindowSurface>(window, std::move(context));
    return backend;
}

RenderBackend makeCpuBackend(QWindow& window) {
    QSurfaceFormat format;
    format.setAlphaBufferSize(0); // black stays opaque, although the panel is translucent
    auto passes = std::make_unique<CpuFramePasses>();
    auto surface = std::make_unique<RasterSurface>(window, *passes);
    return {Renderer::cpu, QSurface::RasterSurface, format, std::move(surface), std::move(passes)};
}

} // namespace

RenderBackend makeRenderBackend(RendererChoice choice, QWindow& window, SerialQueue& renderQueue) {
    const bool tryGl =
        choice == RendererChoice::gl || (choice == RendererChoice::automatic && hasGraphicsCard());
    if (tryGl) {
        RenderBackend backend = makeGlBackend(choice, window, renderQueue);
        if (backend.passes) return backend;
    }
    return makeCpuBackend(window);
}

RenderBackend remakeRenderBackend(Renderer renderer, QWindow& window, SerialQueue& renderQueue) {
    return renderer == Renderer::gl ? makeGlBackend(RendererChoice::gl, window, renderQueue)
                                    : makeCpuBackend(window);
}

} // namespace tavelo
