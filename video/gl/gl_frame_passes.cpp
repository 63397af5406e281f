// SPDX-License-Identifier: MIT
#include "video/gl/gl_frame_passes.h"

#include <QOpenGLContext>
#include <cstddef>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

// The shaders use the same numbers.
constexpr GLuint frameBinding = 0;
constexpr GLuint correctedBinding = 1;
constexpr GLuint modelViewBinding = 1;
constexpr GLuint parametersBinding = 2;
constexpr GLuint correctTextureUnit = 0;
constexpr GLint frameSizeLocation = 0;
constexpr GLint rowPitchesLocation = 1;
constexpr GLuint positionLocation = 0;
constexpr GLuint textureCoordinateLocation = 1;

constexpr std::size_t parametersBlockSize = 16; // the block's 12 bytes, rounded up as std140 requires
constexpr GLbitfield clientMappedBufferBarrierBit = 0x4000;

} // namespace

/// A picture's storage buffer and, if it is displayed, its texture.
class GlFramePasses::Texture final : public FrameTexture {
public:
    Texture(std::shared_ptr<GlSharedBuffer> buffer, GlObject texture, std::shared_ptr<GlDisposal> disposal,
            const PixelBuffer& shape)
        : buffer_(std::move(buffer)),
          texture_(std::move(texture)),
          disposal_(std::move(disposal)),
          width_(GLuint(shape.width())),
          height_(GLuint(shape.height())),
          pitch_(GLuint(shape.bytesPerRow() / 4)) {}
    ~Texture() override {
        if (texture_.name() != 0) disposal_->addTexture(texture_.release());
    }

    const GlSharedBuffer& buffer() const { return *buffer_; }
    GLuint name() const { return texture_.name(); }
    GLuint width() const { return width_; }
    GLuint height() const { return height_; }
    GLuint pitch() const { return pitch_; }

    /// Whether a frame was corrected into the texture, whose content is undefined before that.
    bool isDrawn() const { return drawn_; }
    void setDrawn() { drawn_ = true; }

private:
    std::shared_ptr<GlSharedBuffer> buffer_;
    GlObject texture_;
    std::shared_ptr<GlDisposal> disposal_;
    GLuint width_;
    GLuint height_;
    GLuint pitch_;
    bool drawn_ = false;
};

std::unique_ptr<GlFramePasses> GlFramePasses::create(QOpenGLContext& context, Sharing sharing) {
    std::unique_ptr<GlFramePasses> passes(new GlFramePasses(context, sharing));
    if (!passes->build()) return nullptr;
    return passes;
}

GlFramePasses::GlFramePasses(QOpenGLContext& context, Sharing sharing)
    : context_(context),
      gl_(*context.extraFunctions()),
      sharing_(sharing) {}

GlFramePasses::~GlFramePasses() {
    disposal_->collect(gl_);
}

bool GlFramePasses::build() {
    const QByteArray version = context_.isOpenGLES() ? QByteArrayLiteral("#version 310 es\n")
                                                     : QByteArrayLiteral("#version 430 core\n");
    renderPipelineState_ = makeGlProgram(gl_, version,
                                         {{GL_VERTEX_SHADER, QStringLiteral("vertexShader.vert")},
                                          {GL_FRAGMENT_SHADER, QStringLiteral("fragmentShader.frag")}});
    correctComputePipelineState_ =
        makeGlProgram(gl_, version, {{GL_COMPUTE_SHADER, QStringLiteral("correctKernelFuction.comp")}});
    if (renderPipelineState_.name() == 0 || correctComputePipelineState_.name() == 0) return false;

    buildQuad();
    modelViewBuffer_ = makeGlBuffer(gl_);
    gl_.glBindBuffer(GL_UNIFORM_BUFFER, modelViewBuffer_.name());
    gl_.glBufferData(GL_UNIFORM_BUFFER, sizeof(FloatMatrix), nullptr, GL_DYNAMIC_DRAW);
    parametersBuffer_ = makeGlBuffer(gl_);
    gl_.glBindBuffer(GL_UNIFORM_BUFFER, parametersBuffer_.name());
    gl_.glBufferData(GL_UNIFORM_BUFFER, parametersBlockSize, nullptr, GL_DYNAMIC_DRAW);
    return true;
}

void GlFramePasses::buildQuad() {
    vertexArray_ = makeGlVertexArray(gl_);
    gl_.glBindVertexArray(vertexArray_.name());
    verticesBuffer_ = makeGlBuffer(gl_);
    gl_.glBindBuffer(GL_ARRAY_BUFFER, verticesBuffer_.name());
    gl_.glBufferData(GL_ARRAY_BUFFER, sizeof(quadVertices), quadVertices.data(), GL_STATIC_DRAW);
    const auto* textureOffset = reinterpret_cast<const void*>(offsetof(QuadVertex, textureCoordinate));
    gl_.glEnableVertexAttribArray(positionLocation);
    gl_.glVertexAttribPointer(positionLocation, 4, GL_FLOAT, GL_FALSE, sizeof(QuadVertex), nullptr);
    gl_.glEnableVertexAttribArray(textureCoordinateLocation);
    gl_.glVertexAttribPointer(textureCoordinateLocation, 2, GL_FLOAT, GL_FALSE, sizeof(QuadVertex),
                              textureOffset);
}

FramePicture GlFramePasses::makePicture(PictureUse use, std::size_t width, std::size_t height,
                                        std::size_t bytesPerRow) {
    disposal_->collect(gl_);
    GLint largest = 0;
    gl_.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    if (width > std::size_t(largest) || height > std::size_t(largest)) return {};
    auto buffer = GlSharedBuffer::create(context_, sharing_, bytesPerRow * height, disposal_);
    if (!buffer) return {};
    GlObject texture;
    if (use == PictureUse::correctedFrame) {
        texture = makeCorrectTexture(width, height);
        if (texture.name() == 0) return {};
    }
    std::vector<PixelBuffer::Plane> planes{{buffer->memory(), width, height, bytesPerRow}};
    auto pixelBuffer =
        std::make_shared<PixelBuffer>(PixelFormat::bgra32, width, height, std::move(planes), buffer);
    auto shared = std::make_shared<Texture>(std::move(buffer), std::move(texture), disposal_, *pixelBuffer);
    return {std::move(pixelBuffer), std::move(shared)};
}

GlObject GlFramePasses::makeCorrectTexture(std::size_t width, std::size_t height) {
    GlObject texture = makeGlTexture(gl_);
    gl_.glBindTexture(GL_TEXTURE_2D, texture.name());
    gl_.glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, GLsizei(width), GLsizei(height));
    if (gl_.glGetError() != GL_NO_ERROR) return {};
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return texture;
}

bool GlFramePasses::correct(FrameTexture& frame, FrameTexture& corrected,
                            const CorrectionParameters& parameters, const GroupExtent& groupCount) {
    const auto& from = static_cast<const Texture&>(frame);
    auto& to = static_cast<Texture&>(corrected);
    from.buffer().upload(gl_);

    gl_.glUseProgram(correctComputePipelineState_.name());
    gl_.glBindBufferBase(GL_SHADER_STORAGE_BUFFER, frameBinding, from.buffer().name());
    gl_.glBindBufferBase(GL_SHADER_STORAGE_BUFFER, correctedBinding, to.buffer().name());
    gl_.glBindImageTexture(correctTextureUnit, to.name(), 0, GL_FALSE, 0, GL_WRITE_ONLY, GL_RGBA8);
    gl_.glBindBufferBase(GL_UNIFORM_BUFFER, parametersBinding, parametersBuffer_.name());
    gl_.glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof(parameters), &parameters);
    gl_.glUniform2ui(frameSizeLocation, from.width(), from.height());
    gl_.glUniform2ui(rowPitchesLocation, from.pitch(), to.pitch());
    gl_.glDispatchCompute(GLuint(groupCount.width), GLuint(groupCount.height), GLuint(groupCount.depth));

    const bool mapped = sharing_ == Sharing::mapped;
    gl_.glMemoryBarrier(GL_TEXTURE_FETCH_BARRIER_BIT | GL_BUFFER_UPDATE_BARRIER_BIT |
                        (mapped ? clientMappedBufferBarrierBit : 0U));
    const bool done = waitForGpu(gl_) && to.buffer().download(gl_);
    if (done) to.setDrawn();
    return done;
}

void GlFramePasses::display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) {
    gl_.glClearColor(0, 0, 0, 1);
    gl_.glClear(GL_COLOR_BUFFER_BIT);
    const auto* texture = static_cast<const Texture*>(corrected);
    if (texture != nullptr && texture->isDrawn()) {
        gl_.glViewport(0, 0, GLsizei(viewport.width), GLsizei(viewport.height));
        gl_.glUseProgram(renderPipelineState_.name());
        gl_.glBindVertexArray(vertexArray_.name());
        gl_.glBindBufferBase(GL_UNIFORM_BUFFER, modelViewBinding, modelViewBuffer_.name());
        gl_.glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof(modelView), modelView.data());
        gl_.glActiveTexture(GL_TEXTURE0 + correctTextureUnit);
        gl_.glBindTexture(GL_TEXTURE_2D, texture->name());
        gl_.glDrawArrays(GL_TRIANGLES, 0, GLsizei(numVertices));
        gl_.glBindVertexArray(0);
    }
    waitForGpu(gl_);
}

} // namespace tavelo
