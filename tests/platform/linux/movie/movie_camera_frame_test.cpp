// SPDX-License-Identifier: MIT
// Movies made of camera frames instead of pictures.
#include <cmath>

#include "movie_fixture.h"
#include "platform/camera_frame.h"

namespace tavelo::testing {
namespace {

/// Grey steps on the left, one colour on the right; no BGRA picture of it can be drawn.
class PlainFrame final : public CameraFrame {
public:
    PlainFrame(std::size_t width, std::size_t height, int number = 0)
        : width_(width),
          height_(height),
          number_(number) {}

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer&) const override { return false; }
    bool hasMoviePicture() const override { return has; }
    void drawForMovie(const MoviePlanes& to, Mirroring mirroring) const override {
        const auto isLeft = [&](std::size_t x, std::size_t width) {
            return (x < width / 2) != mirroring.horizontal;
        };
        for (std::size_t y = 0; y < to.luma.height; ++y)
            for (std::size_t x = 0; x < to.luma.width; ++x)
                to.luma.baseAddress[y * to.luma.bytesPerRow + x] =
                    std::uint8_t(isLeft(x, to.luma.width) ? 40 + number_ * 10 : 144);
        for (std::size_t y = 0; y < to.chroma.height; ++y)
            for (std::size_t x = 0; x < to.chroma.width; ++x) {
                std::uint8_t* pair = to.chroma.baseAddress + y * to.chroma.bytesPerRow + x * 2;
                const bool left = isLeft(x, to.chroma.width);
                pair[0] = left ? 128 : 54; // green
                pair[1] = left ? 128 : 34;
            }
    }

    bool has = true;

private:
    std::size_t width_;
    std::size_t height_;
    int number_;
};

class CameraFrameMovieTest : public MovieTest {
protected:
    bool append(const std::shared_ptr<CameraFrame>& frame, int number, Mirroring mirroring = {}) {
        awaitReady(*video_);
        return video_->appendSampleBuffer(
            {nullptr, at(number * frameInterval), nullptr, frame, nullptr, mirroring});
    }
};

TEST_F(CameraFrameMovieTest, FramesDrawTheirOwnPicturesMirroredAsTheSampleSays) {
    start(videoSettings(320, 180));
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(append(std::make_shared<PlainFrame>(320, 180, i), i, {i >= 5, false}));
    ASSERT_EQ(finish(), AssetWriterStatus::completed);
    const auto decoded = decode(path_);
    ASSERT_EQ(decoded.pictures.size(), 10U);
    EXPECT_NEAR(decoded.at(0, 40, 90).red, (40 - 16) * 255 / 219, 4);
    EXPECT_NEAR(decoded.at(4, 40, 90).red, (80 - 16) * 255 / 219, 4);
    EXPECT_NEAR(decoded.at(4, 280, 90).green, 255, 6);
    EXPECT_NEAR(decoded.at(9, 40, 90).green, 255, 6);
    EXPECT_NEAR(decoded.at(9, 280, 90).red, (130 - 16) * 255 / 219, 4);
}

TEST_F(CameraFrameMovieTest, PicturesAndFramesMayTakeTurns) {
    start(videoSettings(320, 180));
    for (int i = 0; i < 6; ++i) {
        if (i % 2 == 0)
            ASSERT_TRUE(append(std::make_shared<PlainFrame>(320, 180), i));
        else
            appendPictures(1, 320, 180, i);
    }
    ASSERT_EQ(finish(), AssetWriterStatus::completed);
    const auto decoded = decode(path_);
    ASSERT_EQ(decoded.pictures.size(), 6U);
    EXPECT_NEAR(decoded.at(5, 40, 20).red, quarters[0].red, 8);
    EXPECT_NEAR(decoded.at(4, 40, 20).red, (40 - 16) * 255 / 219, 8);
}

TEST_F(CameraFrameMovieTest, FrameOfAnotherSizeOrWithoutAMoviePictureFails) {
    for (const auto& [width, height, has] :
         {std::tuple(322, 180, true), std::tuple(320, 178, true), std::tuple(320, 180, false)}) {
        start(videoSettings(320, 180));
        const auto frame = std::make_shared<PlainFrame>(width, height);
        frame->has = has;
        EXPECT_FALSE(append(frame, 1));
        EXPECT_EQ(writer_->status(), AssetWriterStatus::failed);
        EXPECT_EQ(writer_->error().text, "a frame has a format that cannot be recorded");
        finish();
        std::filesystem::remove(path_);
    }
}

TEST_F(CameraFrameMovieTest, SampleWithNothingInItFails) {
    start(videoSettings(320, 180));
    EXPECT_FALSE(append(nullptr, 1));
}

} // namespace
} // namespace tavelo::testing
