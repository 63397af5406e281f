// SPDX-License-Identifier: MIT
// OpenGL objects as values that delete themselves.
#pragma once

#include <QByteArray>
#include <QOpenGLExtraFunctions>
#include <QString>
#include <initializer_list>
#include <mutex>
#include <utility>
#include <vector>

namespace tavelo {

/// One OpenGL name.  Destroyed where the context that made it is current.
class GlObject {
public:
    using Deleter = void (*)(QOpenGLExtraFunctions& gl, GLuint name);

    GlObject() = default;
    GlObject(QOpenGLExtraFunctions& gl, GLuint name, Deleter deleter)
        : gl_(&gl),
          name_(name),
          deleter_(deleter) {}
    ~GlObject() {
        if (name_ != 0) deleter_(*gl_, name_);
    }

    GlObject(GlObject&& other) noexcept { swap(other); }
    GlObject& operator=(GlObject&& other) noexcept {
        GlObject(std::move(other)).swap(*this);
        return *this;
    }

    GLuint name() const { return name_; }
    /// The name, which the caller now owns.
    GLuint release() { return std::exchange(name_, 0U); }

private:
    void swap(GlObject& other) noexcept {
        std::swap(gl_, other.gl_);
        std::swap(name_, other.name_);
        std::swap(deleter_, other.deleter_);
    }

    QOpenGLExtraFunctions* gl_ = nullptr;
    GLuint name_ = 0;
    Deleter deleter_ = nullptr;
};

GlObject makeGlBuffer(QOpenGLExtraFunctions& gl);
GlObject makeGlTexture(QOpenGLExtraFunctions& gl);
GlObject makeGlVertexArray(QOpenGLExtraFunctions& gl);

struct GlShaderSource {
    GLenum stage;
    QString resource; ///< name of a file under ":/shaders"
};

/// Compiles and links; an empty object where one of both fails.
/// @param version the line that opens every shader
GlObject makeGlProgram(QOpenGLExtraFunctions& gl, const QByteArray& version,
                       std::initializer_list<GlShaderSource> sources);

/// Returns when the GPU has done all work sent so far, or after two seconds from a GPU that hangs.
/// @return false if it hangs, or the context is lost
bool waitForGpu(QOpenGLExtraFunctions& gl);

/// Names whose owners died where no context is current, waiting to be deleted.  Thread-safe except
/// collect(), which wants the context.
class GlDisposal {
public:
    void addBuffer(GLuint name);
    void addTexture(GLuint name);
    void collect(QOpenGLExtraFunctions& gl);

private:
    std::mutex mutex_; // guards both lists
    std::vector<GLuint> buffers_;
    std::vector<GLuint> textures_;
};

} // namespace tavelo
