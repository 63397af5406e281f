// SPDX-License-Identifier: MIT
#include "video/gl/gl_frame_passes.h"

#include <gmock/gmock.h>

#include <QGuiApplication>
#include <QOpenGLExtraFunctions>
#include <iostream>
#include <utility>

#include "display_test_main.h"
#include "passes_harness.h"
#include "video/gl/gl_context.h"

namespace tavelo::testing {
namespace {

// Two steps of 255, for eight-bit bilinear weights and two roundings.
constexpr int tolerance = 2;

using Sharing = GlSharedBuffer::Sharing;

// An 8-bit colour buffer, read back upright.
class Framebuffer {
public:
    Framebuffer(QOpenGLExtraFunctions& gl, int width, int height) : gl_(gl), width_(width), height_(height) {
        gl_.glGenRenderbuffers(1, &colour_);
        gl_.glBindRenderbuffer(GL_RENDERBUFFER, colour_);
        gl_.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
        gl_.glGenFramebuffers(1, &name_);
        gl_.glBindFramebuffer(GL_FRAMEBUFFER, name_);
        gl_.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour_);
    }
    ~Framebuffer() {
        gl_.glDeleteFramebuffers(1, &name_);
        gl_.glDeleteRenderbuffers(1, &colour_);
    }
    Framebuffer(const Framebuffer&) = delete;
    Framebuffer& operator=(const Framebuffer&) = delete;

    QImage read() {
        QImage image(width_, height_, QImage::Format_RGBX8888);
        gl_.glPixelStorei(GL_PACK_ALIGNMENT, 4);
        gl_.glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
        return image.mirrored(false, true).convertToFormat(QImage::Format_RGB32);
    }

private:
    QOpenGLExtraFunctions& gl_;
    int width_;
    int height_;
    GLuint colour_ = 0;
    GLuint name_ = 0;
};

class GlFramePassesTest : public ::testing::TestWithParam<Sharing> {
protected:
    void SetUp() override {
        context_ = GlContext::create(queue_);
        ASSERT_NE(context_, nullptr);
        queue_.sync([&] {
            if (GetParam() == Sharing::mapped)
                able_ = GlSharedBuffer::bestSharing(context_->context()) == Sharing::mapped;
        });
        if (!able_) GTEST_SKIP() << "this driver has no buffer storage";
    }

    PassesResult runGl(const ReferenceCase& one, std::size_t bytesPerRow) {
        PassesResult result;
        queue_.sync([&] {
            const auto passes = GlFramePasses::create(context_->context(), GetParam());
            if (!passes) return;
            Framebuffer framebuffer(*context_->context().extraFunctions(), one.viewWidth, one.viewHeight);
            result = runPasses(*passes, one, bytesPerRow, [&] { return framebuffer.read(); });
        });
        return result;
    }

    SerialQueue queue_{"gl"};
    std::unique_ptr<GlContext> context_;
    bool able_ = true;
};

TEST_P(GlFramePassesTest, DoesNotWaitForVerticalSyncAndReportsResets) {
    EXPECT_EQ(context_->format().swapInterval(), 0);
    EXPECT_TRUE(context_->format().testOption(QSurfaceFormat::ResetNotification));
}

TEST_P(GlFramePassesTest, DrawsTheReferencePictures) {
    for (const ReferenceCase& one : referenceCases()) {
        const PassesResult result = runGl(one, std::size_t(one.width) * 4);
        const Difference difference = compare(result.displayed, loadReference(one));
        EXPECT_LE(difference.largest, tolerance) << referenceName(one).toStdString() << " at "
                                                 << difference.where.x() << ", " << difference.where.y();
    }
}

TEST_P(GlFramePassesTest, DrawsLargePicturesLikeTheReference) {
    for (const ReferenceCase& one : largeCases())
        EXPECT_LE(compare(runGl(one, std::size_t(one.width) * 4).displayed, drawReference(one)).largest,
                  tolerance);
}

TEST_P(GlFramePassesTest, CorrectedFrameIsTheFrameMirroredExactly) {
    for (const ReferenceCase& one : referenceCases())
        EXPECT_EQ(runGl(one, std::size_t(one.width) * 4).corrected, expectedCorrected(one))
            << referenceName(one).toStdString();
}

TEST_P(GlFramePassesTest, PaddedRowsMakeNoDifference) {
    const ReferenceCase one{61, 37, 97, 83, VideoGravity::resizeAspect, true, true};
    const PassesResult result = runGl(one, 320);
    EXPECT_EQ(result.corrected, expectedCorrected(one));
    EXPECT_LE(compare(result.displayed, loadReference(one)).largest, tolerance);
}

TEST_P(GlFramePassesTest, DisplaysOpaqueBlackWithoutAFrame) {
    queue_.sync([&] {
        const auto passes = GlFramePasses::create(context_->context(), GetParam());
        Framebuffer framebuffer(*context_->context().extraFunctions(), 9, 5);
        passes->display(nullptr, {9, 5}, FloatMatrix{});
        QImage black(9, 5, QImage::Format_RGB32);
        black.fill(Qt::black);
        EXPECT_EQ(framebuffer.read(), black);
    });
}

TEST_P(GlFramePassesTest, RefusesAPictureThatNoTextureCanHold) {
    queue_.sync([&] {
        const auto passes = GlFramePasses::create(context_->context(), GetParam());
        const FramePicture picture = passes->makePicture(PictureUse::correctedFrame, 1'000'000, 1, 4'000'000);
        EXPECT_EQ(picture.pixelBuffer, nullptr);
        EXPECT_EQ(picture.texture, nullptr);
    });
}

TEST_P(GlFramePassesTest, PictureMayDieOnAnotherThreadWhileThePassesLive) {
    FramePicture picture;
    std::unique_ptr<GlFramePasses> passes;
    queue_.sync([&] {
        passes = GlFramePasses::create(context_->context(), GetParam());
        picture = passes->makePicture(PictureUse::correctedFrame, 64, 64, 256);
    });
    ASSERT_NE(picture.pixelBuffer, nullptr);
    picture = {};
    queue_.sync([&] {
        EXPECT_NE(passes->makePicture(PictureUse::correctedFrame, 64, 64, 256).pixelBuffer, nullptr);
        passes.reset();
    });
}

std::string sharingName(const ::testing::TestParamInfo<Sharing>& sharing) {
    return sharing.param == Sharing::mapped ? "Mapped" : "Copied";
}

INSTANTIATE_TEST_SUITE_P(Sharing, GlFramePassesTest, ::testing::Values(Sharing::mapped, Sharing::copied),
                         sharingName);

} // namespace
} // namespace tavelo::testing

// Exits with 77 if this machine has no suitable OpenGL.
int main(int argc, char** argv) {
    if (!tavelo::testing::hasDisplay()) return 77;
    const QGuiApplication application(argc, argv);
    {
        tavelo::SerialQueue queue("probe");
        const auto context = tavelo::GlContext::create(queue);
        if (!context) return 77;
        queue.sync([&] {
            const auto* version = context->context().functions()->glGetString(GL_VERSION);
            std::cout << reinterpret_cast<const char*>(version) << '\n';
        });
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
