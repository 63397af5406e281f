// SPDX-License-Identifier: MIT
// The OpenGL context of the render queue.
#pragma once

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QSurfaceFormat>
#include <memory>

#include "platform/serial_queue.h"

namespace tavelo {

/// A context with compute shaders: OpenGL 4.3 core, else OpenGL ES 3.1.
///
/// Created and destroyed on the main thread, which waits for the queue; otherwise used on the queue only.
class GlContext {
public:
    /// Null if the machine has no such OpenGL.  The queue must outlive the context.
    static std::unique_ptr<GlContext> create(SerialQueue& queue);
    ~GlContext();

    GlContext(const GlContext&) = delete;
    GlContext& operator=(const GlContext&) = delete;

    /// The format that a window needs to be drawn into.  Without alpha channel.
    const QSurfaceFormat& format() const { return format_; }

    /// Whether OpenGL is emulated by the CPU, which makes compute shaders slow.
    bool isSoftware() const { return software_; }

    /// @param surface a window, or null to draw off screen
    bool makeCurrent(QSurface* surface);
    void swapBuffers(QSurface& surface) { context_->swapBuffers(&surface); }
    QOpenGLContext& context() { return *context_; }

private:
    GlContext(SerialQueue& queue, const QSurfaceFormat& format);

    bool openOnQueue();

    SerialQueue& queue_;
    QSurfaceFormat format_;
    QOffscreenSurface offscreen_;
    std::unique_ptr<QOpenGLContext> context_; // lives on the queue's thread
    bool software_ = false;
};

} // namespace tavelo
