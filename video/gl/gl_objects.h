// SPDX-License-Identifier: MIT
// RAII wrappers of OpenGL objects.
#pragma once

#include <QByteArray>
#include <QOpenGLExtraFunctions>
#include <QString>
#include <initializer_list>
#include <mutex>
#include <utility>
#include <vector>

namespace tavelo {

/// Owns an OpenGL name.  The context that created it must be current on destruction.
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

/// Compiles and links.  Returns an empty object on failure.
/// @param version the first line of every shader
GlObject makeGlProgram(QOpenGLExtraFunctions& gl, const QByteArray& version,
                       std::initializer_list<GlShaderSource> sources);

/// Waits until the GPU has finished all work submitted so far, for two seconds at most.
/// @return false if the GPU hangs or the context is lost
bool waitForGpu(QOpenGLExtraFunctions& gl);

/// Collects names to delete whose owners were destroyed while no context was current.  Thread-safe, except
/// collect(), which deletes the names and needs the current context.
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
