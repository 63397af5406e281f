// SPDX-License-Identifier: MIT
#include "video/gl/gl_context.h"

#include <QByteArray>
#include <QOpenGLFunctions>
#include <array>
#include <utility>

namespace tavelo {
namespace {

QSurfaceFormat baseFormat() {
    QSurfaceFormat format;
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    // With an alpha channel the desktop would show through a black picture, because the panel is translucent.
    format.setAlphaBufferSize(0);
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    // Frames are drawn at the camera's rate and must not wait for the screen.
    format.setSwapInterval(0);
    return format;
}

QSurfaceFormat desktopFormat() {
    QSurfaceFormat format = baseFormat();
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setVersion(4, 3);
    return format;
}

QSurfaceFormat embeddedFormat() {
    QSurfaceFormat format = baseFormat();
    format.setRenderableType(QSurfaceFormat::OpenGLES);
    format.setVersion(3, 1);
    return format;
}

// A GPU reset loses the context.  Without reset notification some drivers kill the program instead.
QSurfaceFormat withResetNotification(QSurfaceFormat format) {
    format.setOption(QSurfaceFormat::ResetNotification);
    return format;
}

bool hasComputeShaders(const QOpenGLContext& context) {
    const std::pair<int, int> needed = context.isOpenGLES() ? std::pair(3, 1) : std::pair(4, 3);
    return context.format().version() >= needed;
}

bool isSoftwareRenderer(QByteArray name) {
    name = name.toLower();
    constexpr std::array<const char*, 4> known{"llvmpipe", "softpipe", "swrast", "software rasterizer"};
    for (const char* one : known)
        if (name.contains(one)) return true;
    return false;
}

} // namespace

std::unique_ptr<GlContext> GlContext::create(SerialQueue& queue) {
    for (const QSurfaceFormat& format : {withResetNotification(desktopFormat()), desktopFormat(),
                                         withResetNotification(embeddedFormat()), embeddedFormat()}) {
        std::unique_ptr<GlContext> context(new GlContext(queue, format));
        bool open = false;
        queue.sync([&] { open = context->openOnQueue(); });
        if (open) return context;
    }
    return nullptr;
}

GlContext::GlContext(SerialQueue& queue, const QSurfaceFormat& format) : queue_(queue), format_(format) {
    offscreen_.setFormat(format);
    offscreen_.create(); // may create a hidden window, which only the main thread may do
}

GlContext::~GlContext() {
    queue_.sync([this] {
        if (context_) context_->doneCurrent();
        context_.reset();
    });
}

bool GlContext::openOnQueue() {
    context_ = std::make_unique<QOpenGLContext>();
    context_->setFormat(format_);
    if (!context_->create() || !hasComputeShaders(*context_) || !makeCurrent(nullptr)) return false;
    const auto* name = reinterpret_cast<const char*>(context_->functions()->glGetString(GL_RENDERER));
    software_ = name == nullptr || isSoftwareRenderer(QByteArray(name));
    return true;
}

bool GlContext::makeCurrent(QSurface* surface) {
    if (surface == nullptr) return offscreen_.isValid() && context_->makeCurrent(&offscreen_);
    return context_->makeCurrent(surface);
}

} // namespace tavelo
