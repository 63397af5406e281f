// SPDX-License-Identifier: MIT
#include "renderers.h"

#include <QOpenGLExtraFunctions>
#include <cstdint>
#include <vector>

#include "video/cpu/cpu_frame_passes.h"
#include "video/gl/gl_context.h"
#include "video/gl/gl_frame_passes.h"

namespace tavelo::bench {
namespace {

class CpuRenderer final : public BenchRenderer {
public:
    CpuRenderer() : pixels_(std::size_t(previewSize.width) * previewSize.height) {
        passes_.setTarget({reinterpret_cast<std::uint8_t*>(pixels_.data()), previewSize.width,
                           previewSize.height, std::size_t(previewSize.width) * 4});
    }

    void run(const std::function<void(FramePasses&)>& work) override {
        queue_.sync([&] { work(passes_); });
    }

private:
    std::vector<std::uint32_t> pixels_;
    CpuFramePasses passes_;
    SerialQueue queue_{"bench cpu"};
};

class GlRenderer final : public BenchRenderer {
public:
    bool open(bool mapped) {
        context_ = GlContext::create(queue_);
        if (!context_) return false;
        queue_.sync([&] {
            using Sharing = GlSharedBuffer::Sharing;
            if (mapped && GlSharedBuffer::bestSharing(context_->context()) != Sharing::mapped) return;
            passes_ = GlFramePasses::create(context_->context(), mapped ? Sharing::mapped : Sharing::copied);
            makeFramebuffer();
        });
        return passes_ != nullptr;
    }
    ~GlRenderer() override {
        queue_.sync([this] { passes_.reset(); });
    }

    void run(const std::function<void(FramePasses&)>& work) override {
        queue_.sync([&] { work(*passes_); });
    }

    std::optional<std::chrono::nanoseconds> cardTime(const std::function<void()>& work) override {
        constexpr GLenum timeElapsed = 0x88BF; // the name that OpenGL and the extension of OpenGL ES share
        if (context_->context().isOpenGLES() &&
            !context_->context().hasExtension("GL_EXT_disjoint_timer_query"))
            return std::nullopt;
        QOpenGLExtraFunctions& gl = *context_->context().extraFunctions();
        GLuint query = 0;
        gl.glGenQueries(1, &query);
        gl.glBeginQuery(timeElapsed, query);
        work();
        gl.glEndQuery(timeElapsed);
        GLuint nanoseconds = 0; // up to four seconds
        gl.glGetQueryObjectuiv(query, GL_QUERY_RESULT, &nanoseconds);
        gl.glDeleteQueries(1, &query);
        return std::chrono::nanoseconds(nanoseconds);
    }

    std::string card() override {
        std::string name;
        queue_.sync([&] {
            QOpenGLFunctions& gl = *context_->context().functions();
            for (const GLenum part : {GLenum(GL_VENDOR), GLenum(GL_RENDERER), GLenum(GL_VERSION)})
                name += (name.empty() ? "" : ", ") +
                        std::string(reinterpret_cast<const char*>(gl.glGetString(part)));
        });
        return name;
    }

private:
    // Freed with the context.
    void makeFramebuffer() {
        QOpenGLExtraFunctions& gl = *context_->context().extraFunctions();
        GLuint colour = 0;
        gl.glGenRenderbuffers(1, &colour);
        gl.glBindRenderbuffer(GL_RENDERBUFFER, colour);
        gl.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, GLsizei(previewSize.width),
                                 GLsizei(previewSize.height));
        GLuint framebuffer = 0;
        gl.glGenFramebuffers(1, &framebuffer);
        gl.glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour);
    }

    SerialQueue queue_{"bench gl"};
    std::unique_ptr<GlContext> context_;
    std::unique_ptr<GlFramePasses> passes_;
};

} // namespace

std::unique_ptr<BenchRenderer> makeCpuRenderer() {
    return std::make_unique<CpuRenderer>();
}

std::unique_ptr<BenchRenderer> makeGlRenderer(bool mapped) {
    auto renderer = std::make_unique<GlRenderer>();
    if (!renderer->open(mapped)) return nullptr;
    return renderer;
}

} // namespace tavelo::bench
