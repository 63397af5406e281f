// SPDX-License-Identifier: MIT
#include "video/gl/gl_objects.h"

#include <QFile>

namespace tavelo {
namespace {

constexpr GLuint64 gpuPatience = 2'000'000'000; // nanoseconds

GlObject makeGlShader(QOpenGLExtraFunctions& gl, const QByteArray& version, const GlShaderSource& source) {
    QFile file(QStringLiteral(":/shaders/") + source.resource);
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray text = version + file.readAll();
    const char* lines = text.constData();
    const auto length = GLint(text.size());

    GlObject shader(gl, gl.glCreateShader(source.stage),
                    [](QOpenGLExtraFunctions& functions, GLuint name) { functions.glDeleteShader(name); });
    gl.glShaderSource(shader.name(), 1, &lines, &length);
    gl.glCompileShader(shader.name());
    GLint compiled = GL_FALSE;
    gl.glGetShaderiv(shader.name(), GL_COMPILE_STATUS, &compiled);
    if (compiled == GL_FALSE) return {};
    return shader;
}

} // namespace

GlObject makeGlBuffer(QOpenGLExtraFunctions& gl) {
    GLuint name = 0;
    gl.glGenBuffers(1, &name);
    return {gl, name, [](QOpenGLExtraFunctions& functions, GLuint it) { functions.glDeleteBuffers(1, &it); }};
}

GlObject makeGlTexture(QOpenGLExtraFunctions& gl) {
    GLuint name = 0;
    gl.glGenTextures(1, &name);
    return {gl, name,
            [](QOpenGLExtraFunctions& functions, GLuint it) { functions.glDeleteTextures(1, &it); }};
}

GlObject makeGlVertexArray(QOpenGLExtraFunctions& gl) {
    GLuint name = 0;
    gl.glGenVertexArrays(1, &name);
    return {gl, name,
            [](QOpenGLExtraFunctions& functions, GLuint it) { functions.glDeleteVertexArrays(1, &it); }};
}

GlObject makeGlProgram(QOpenGLExtraFunctions& gl, const QByteArray& version,
                       std::initializer_list<GlShaderSource> sources) {
    GlObject program(gl, gl.glCreateProgram(),
                     [](QOpenGLExtraFunctions& functions, GLuint name) { functions.glDeleteProgram(name); });
    for (const GlShaderSource& source : sources) {
        const GlObject shader = makeGlShader(gl, version, source);
        if (shader.name() == 0) return {};
        gl.glAttachShader(program.name(), shader.name()); // the program keeps the shader alive
    }
    gl.glLinkProgram(program.name());
    GLint linked = GL_FALSE;
    gl.glGetProgramiv(program.name(), GL_LINK_STATUS, &linked);
    if (linked == GL_FALSE) return {};
    return program;
}

bool waitForGpu(QOpenGLExtraFunctions& gl) {
    const GLsync fence = gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    if (fence == nullptr) return false;
    const GLenum result = gl.glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, gpuPatience);
    gl.glDeleteSync(fence);
    return result == GL_ALREADY_SIGNALED || result == GL_CONDITION_SATISFIED;
}

void GlDisposal::addBuffer(GLuint name) {
    const std::lock_guard lock(mutex_);
    buffers_.push_back(name);
}

void GlDisposal::addTexture(GLuint name) {
    const std::lock_guard lock(mutex_);
    textures_.push_back(name);
}

void GlDisposal::collect(QOpenGLExtraFunctions& gl) {
    const std::lock_guard lock(mutex_);
    gl.glDeleteBuffers(GLsizei(buffers_.size()), buffers_.data());
    gl.glDeleteTextures(GLsizei(textures_.size()), textures_.data());
    buffers_.clear();
    textures_.clear();
}

} // namespace tavelo
