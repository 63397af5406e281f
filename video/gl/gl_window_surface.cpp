// SPDX-License-Identifier: MIT
#include "video/gl/gl_window_surface.h"

#include <QOpenGLFunctions>
#include <utility>

namespace tavelo {

GlWindowSurface::GlWindowSurface(QWindow& window, std::unique_ptr<GlContext> context)
    : window_(window),
      context_(std::move(context)) {}

void GlWindowSurface::setDrawable(bool drawable) {
    drawable_ = drawable;
    // Release the window now: it may be destroyed as soon as this returns.
    if (!drawable) {
        windowIsCurrent_ = false;
        context_->makeCurrent(nullptr);
    }
}

bool GlWindowSurface::makeCurrent() {
    // Not skipped if already current, because some window systems apply a new size only here.
    windowIsCurrent_ = drawable_ && context_->makeCurrent(&window_);
    return windowIsCurrent_ || context_->makeCurrent(nullptr);
}

bool GlWindowSurface::beginDisplay(ViewportSize viewport) {
    if (!windowIsCurrent_ || viewport.width == 0 || viewport.height == 0) return false;
    QOpenGLContext& context = context_->context();
    context.functions()->glBindFramebuffer(GL_FRAMEBUFFER, context.defaultFramebufferObject());
    return true;
}

void GlWindowSurface::present() {
    context_->swapBuffers(window_);
}

} // namespace tavelo
