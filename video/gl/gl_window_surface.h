// SPDX-License-Identifier: MIT
// Shows pictures drawn by OpenGL in a window.
#pragma once

#include <QWindow>
#include <memory>

#include "video/gl/gl_context.h"
#include "video/passes/frame_surface.h"

namespace tavelo {

/// Owns the context.  Without a drawable the passes still run, on an off-screen surface.
class GlWindowSurface final : public FrameSurface {
public:
    /// The window must outlive the surface.
    GlWindowSurface(QWindow& window, std::unique_ptr<GlContext> context);

    void setDrawable(bool drawable) override;
    bool makeCurrent() override;
    bool beginDisplay(ViewportSize viewport) override;
    void present() override;
    void flush() override {}

private:
    QWindow& window_;
    std::unique_ptr<GlContext> context_;
    bool drawable_ = false;
    bool windowIsCurrent_ = false;
};

} // namespace tavelo
