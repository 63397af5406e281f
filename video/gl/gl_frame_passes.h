// SPDX-License-Identifier: MIT
// The correction and display passes on the GPU.
#pragma once

#include <QOpenGLExtraFunctions>
#include <memory>

#include "video/gl/gl_objects.h"
#include "video/gl/gl_shared_buffer.h"
#include "video/passes/frame_passes.h"

class QOpenGLContext;

namespace tavelo {

/// The display pass draws into whatever framebuffer is bound.
class GlFramePasses final : public FramePasses {
public:
    using Sharing = GlSharedBuffer::Sharing;

    /// @param context is current and must outlive the passes
    /// @return null if a shader does not build
    static std::unique_ptr<GlFramePasses> create(QOpenGLContext& context, Sharing sharing);
    ~GlFramePasses() override;

    FramePicture makePicture(PictureUse use, std::size_t width, std::size_t height,
                             std::size_t bytesPerRow) override;
    bool correct(FrameTexture& frame, FrameTexture& corrected, const CorrectionParameters& parameters,
                 const GroupExtent& groupCount) override;
    void display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) override;

private:
    class Texture;

    GlFramePasses(QOpenGLContext& context, Sharing sharing);
    bool build();
    void buildQuad();
    GlObject makeCorrectTexture(std::size_t width, std::size_t height);

    QOpenGLContext& context_;
    QOpenGLExtraFunctions& gl_;
    const Sharing sharing_;
    const std::shared_ptr<GlDisposal> disposal_ = std::make_shared<GlDisposal>();

    GlObject correctComputePipelineState_;
    GlObject renderPipelineState_;
    GlObject verticesBuffer_;
    GlObject vertexArray_;
    GlObject modelViewBuffer_;
    GlObject parametersBuffer_;
};

} // namespace tavelo
