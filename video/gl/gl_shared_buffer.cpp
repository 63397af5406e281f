// SPDX-License-Identifier: MIT
#include "video/gl/gl_shared_buffer.h"

#include <QOpenGLContext>
#include <cstring>

namespace tavelo {
namespace {

// From OpenGL 4.4 and GL_EXT_buffer_storage; missing in the headers of OpenGL ES.
constexpr GLbitfield mapPersistentBit = 0x0040;
constexpr GLbitfield mapCoherentBit = 0x0080;
constexpr GLbitfield clientStorageBit = 0x0200;
constexpr GLbitfield mapping = GL_MAP_READ_BIT | GL_MAP_WRITE_BIT | mapPersistentBit | mapCoherentBit;

using BufferStorage = void(QOPENGLF_APIENTRYP)(GLenum target, qopengl_GLsizeiptr size, const void* data,
                                               GLbitfield flags);

BufferStorage bufferStorage(QOpenGLContext& context) {
    const bool offered = context.isOpenGLES()
                             ? context.hasExtension(QByteArrayLiteral("GL_EXT_buffer_storage"))
                             : context.hasExtension(QByteArrayLiteral("GL_ARB_buffer_storage"));
    if (!offered) return nullptr;
    return reinterpret_cast<BufferStorage>(
        context.getProcAddress(context.isOpenGLES() ? "glBufferStorageEXT" : "glBufferStorage"));
}

void forgetErrors(QOpenGLExtraFunctions& gl) {
    // Bounded, because a lost context reports errors forever.
    for (int i = 0; i < 8 && gl.glGetError() != GL_NO_ERROR; ++i) {
    }
}

} // namespace

GlSharedBuffer::Sharing GlSharedBuffer::bestSharing(QOpenGLContext& context) {
    return bufferStorage(context) != nullptr ? Sharing::mapped : Sharing::copied;
}

std::shared_ptr<GlSharedBuffer> GlSharedBuffer::create(QOpenGLContext& context, Sharing sharing,
                                                       std::size_t bytes,
                                                       std::shared_ptr<GlDisposal> disposal) {
    QOpenGLExtraFunctions& gl = *context.extraFunctions();
    GLuint name = 0;
    gl.glGenBuffers(1, &name);
    std::shared_ptr<GlSharedBuffer> buffer(new GlSharedBuffer(name, bytes, std::move(disposal)));
    forgetErrors(gl);
    gl.glBindBuffer(GL_SHADER_STORAGE_BUFFER, name);
    const bool made = sharing == Sharing::mapped ? buffer->map(context) : buffer->allocate(gl);
    if (!made) return nullptr;
    std::memset(buffer->memory_, 0, bytes);
    return buffer;
}

GlSharedBuffer::GlSharedBuffer(GLuint name, std::size_t bytes, std::shared_ptr<GlDisposal> disposal)
    : name_(name),
      bytes_(bytes),
      disposal_(std::move(disposal)) {}

// Deleting a buffer unmaps it.
GlSharedBuffer::~GlSharedBuffer() {
    disposal_->addBuffer(name_);
}

bool GlSharedBuffer::map(QOpenGLContext& context) {
    QOpenGLExtraFunctions& gl = *context.extraFunctions();
    const BufferStorage storage = bufferStorage(context);
    if (storage == nullptr) return false;
    // In system memory: the CPU writes every byte of a frame and reads every byte of a recorded one, while
    // the GPU reads and writes each only once.
    storage(GL_SHADER_STORAGE_BUFFER, qopengl_GLsizeiptr(bytes_), nullptr, mapping | clientStorageBit);
    if (gl.glGetError() != GL_NO_ERROR) return false;
    memory_ = static_cast<std::uint8_t*>(
        gl.glMapBufferRange(GL_SHADER_STORAGE_BUFFER, 0, qopengl_GLsizeiptr(bytes_), mapping));
    return memory_ != nullptr;
}

bool GlSharedBuffer::allocate(QOpenGLExtraFunctions& gl) {
    gl.glBufferData(GL_SHADER_STORAGE_BUFFER, qopengl_GLsizeiptr(bytes_), nullptr, GL_DYNAMIC_COPY);
    if (gl.glGetError() != GL_NO_ERROR) return false;
    ownMemory_.resize(bytes_);
    memory_ = ownMemory_.data();
    return true;
}

void GlSharedBuffer::upload(QOpenGLExtraFunctions& gl) const {
    if (ownMemory_.empty()) return;
    gl.glBindBuffer(GL_SHADER_STORAGE_BUFFER, name_);
    gl.glBufferSubData(GL_SHADER_STORAGE_BUFFER, 0, qopengl_GLsizeiptr(bytes_), memory_);
}

bool GlSharedBuffer::download(QOpenGLExtraFunctions& gl) const {
    if (ownMemory_.empty()) return true;
    gl.glBindBuffer(GL_SHADER_STORAGE_BUFFER, name_);
    const void* bytes =
        gl.glMapBufferRange(GL_SHADER_STORAGE_BUFFER, 0, qopengl_GLsizeiptr(bytes_), GL_MAP_READ_BIT);
    if (bytes != nullptr) std::memcpy(memory_, bytes, bytes_);
    return gl.glUnmapBuffer(GL_SHADER_STORAGE_BUFFER) == GL_TRUE && bytes != nullptr;
}

} // namespace tavelo
