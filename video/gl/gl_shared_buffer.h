// SPDX-License-Identifier: MIT
// Memory that the processor and the GPU both see.
#pragma once

#include <QOpenGLExtraFunctions>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "video/gl/gl_objects.h"

class QOpenGLContext;

namespace tavelo {

/// A storage buffer of the GPU and its bytes as the processor sees them.
///
/// Where the driver has buffer storage the two are one memory, mapped for the buffer's whole life.  Elsewhere
/// the bytes are the processor's own, and upload() and download() carry them over.  Thread-bound to the
/// render queue except memory() and the release of the last reference.
class GlSharedBuffer {
public:
    enum class Sharing : std::uint8_t { mapped, copied };

    /// What the driver of the current context is able to.
    static Sharing bestSharing(QOpenGLContext& context);

    /// Zeroed; null where memory is short.
    static std::shared_ptr<GlSharedBuffer> create(QOpenGLContext& context, Sharing sharing, std::size_t bytes,
                                                  std::shared_ptr<GlDisposal> disposal);
    ~GlSharedBuffer();

    GlSharedBuffer(const GlSharedBuffer&) = delete;
    GlSharedBuffer& operator=(const GlSharedBuffer&) = delete;

    GLuint name() const { return name_; }
    std::uint8_t* memory() const { return memory_; }

    /// Makes the processor's bytes the GPU's.
    void upload(QOpenGLExtraFunctions& gl) const;
    /// Makes the GPU's bytes the processor's; the GPU is done with them.
    /// @return false if they cannot be had
    bool download(QOpenGLExtraFunctions& gl) const;

private:
    GlSharedBuffer(GLuint name, std::size_t bytes, std::shared_ptr<GlDisposal> disposal);

    bool map(QOpenGLContext& context);
    bool allocate(QOpenGLExtraFunctions& gl);

    GLuint name_;
    std::size_t bytes_;
    std::uint8_t* memory_ = nullptr;
    std::vector<std::uint8_t> ownMemory_; // empty where the memory is mapped
    std::shared_ptr<GlDisposal> disposal_;
};

} // namespace tavelo
