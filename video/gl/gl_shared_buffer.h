// SPDX-License-Identifier: MIT
// Memory shared by the CPU and the GPU.
#pragma once

#include <QOpenGLExtraFunctions>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "video/gl/gl_objects.h"

class QOpenGLContext;

namespace tavelo {

/// A storage buffer of the GPU whose bytes the CPU can access.
///
/// If the driver supports buffer storage, the buffer stays mapped for its whole life.  Otherwise the bytes
/// are in separate memory, and upload() and download() copy them.  Thread-bound to the render queue, except
/// memory() and the release of the last reference.
class GlSharedBuffer {
public:
    enum class Sharing : std::uint8_t { mapped, copied };

    /// `mapped` if the driver of the current context supports it.
    static Sharing bestSharing(QOpenGLContext& context);

    /// The memory is zeroed.  Null if out of memory.
    static std::shared_ptr<GlSharedBuffer> create(QOpenGLContext& context, Sharing sharing, std::size_t bytes,
                                                  std::shared_ptr<GlDisposal> disposal);
    ~GlSharedBuffer();

    GlSharedBuffer(const GlSharedBuffer&) = delete;
    GlSharedBuffer& operator=(const GlSharedBuffer&) = delete;

    GLuint name() const { return name_; }
    std::uint8_t* memory() const { return memory_; }

    /// Makes what the CPU wrote visible to the GPU.
    void upload(QOpenGLExtraFunctions& gl) const;
    /// Makes what the GPU wrote visible to the CPU.  The GPU must have finished writing.
    /// @return false on failure
    bool download(QOpenGLExtraFunctions& gl) const;

private:
    GlSharedBuffer(GLuint name, std::size_t bytes, std::shared_ptr<GlDisposal> disposal);

    bool map(QOpenGLContext& context);
    bool allocate(QOpenGLExtraFunctions& gl);

    GLuint name_;
    std::size_t bytes_;
    std::uint8_t* memory_ = nullptr;
    std::vector<std::uint8_t> ownMemory_; // empty if the buffer is mapped
    std::shared_ptr<GlDisposal> disposal_;
};

} // namespace tavelo
