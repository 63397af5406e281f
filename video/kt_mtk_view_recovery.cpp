// SPDX-License-Identifier: MIT
// How KTMTKView recovers if OpenGL fails: it creates the renderer again, and finally switches to the CPU.
#include <array>
#include <utility>

#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

constexpr int maxFailures = 3;
// About a second; after that many draws earlier failures no longer count.
constexpr int drawsUntilRecovered = 30;

} // namespace

bool KTMTKView::makeCurrent() {
    return backend_.surface && backend_.passes && backend_.surface->makeCurrent();
}

void KTMTKView::didDraw() {
    if (++goodDraws_ >= drawsUntilRecovered) failures_ = 0;
}

void KTMTKView::didFailToDraw() {
    {
        const std::lock_guard lock(stateMutex_);
        reducedSource_.reset(); // the same frame must be drawn if it comes again
    }
    goodDraws_ = 0;
    if (renderer_ != Renderer::gl || std::exchange(recovering_, true)) return;
    // Only the main thread may create windows and contexts.
    QMetaObject::invokeMethod(
        this, [this] { recover(); }, Qt::QueuedConnection);
}

void KTMTKView::recover() {
    releaseBackend();
    while (++failures_ < maxFailures) {
        RenderBackend made = remakeBackend_(Renderer::gl, *this, *renderQueue_);
        if (made.passes) return useBackend(std::move(made));
    }
    switchToCpu();
}

void KTMTKView::releaseBackend() {
    RenderBackend old;
    renderQueue_->sync([&] {
        std::array<Pictures, 2> released;
        {
            const std::lock_guard lock(stateMutex_);
            std::swap(released[0], pictures_);
            std::swap(released[1], reduced_);
            reducedSource_.reset();
        }
        // Their memory is freed with the passes, so wait for a copy in progress.  No other can begin.
        for (const Pictures& pictures : released)
            if (pictures.pixelBuffer) static_cast<void>(pictures.pixelBuffer->lock());
        released = {};
        old = std::move(backend_);
        if (old.surface) old.surface->makeCurrent(); // frees OpenGL's objects if the context still works
        old.passes.reset();
    });
}

void KTMTKView::useBackend(RenderBackend backend) {
    renderer_ = backend.renderer;
    renderQueue_->sync([&] {
        backend_ = std::move(backend);
        if (backend_.surface) backend_.surface->setDrawable(drawable_);
        recovering_ = false;
    });
}

void KTMTKView::switchToCpu() {
    // The native window was created for OpenGL.
    const bool visible = isVisible();
    destroy();
    RenderBackend made = remakeBackend_(Renderer::cpu, *this, *renderQueue_);
    setSurfaceType(made.surfaceType);
    setFormat(made.format);
    useBackend(std::move(made));
    setVisible(visible);
    if (diagnostics_ != nullptr)
        diagnostics_->report("preview", "OpenGL failed three times: the processor draws from now on");
}

} // namespace tavelo
