// SPDX-License-Identifier: MIT
// Encoders that are slow to open, do not open, or fail in the middle of a movie.
#include <sys/resource.h>

#include <csignal>
#include <limits>
#include <string>

#include "movie_fixture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// x264 posing as a graphics card that fails at a frame but returns the frames that it still holds.
class FailingEncoder final : public VideoEncoder {
public:
    FailingEncoder(std::unique_ptr<VideoEncoder> encoder, int good)
        : encoder_(std::move(encoder)),
          good_(good) {}

    const AVCodecContext& context() const override { return encoder_->context(); }
    std::string name() const override { return "a card that fails"; }
    int encode(const AVFrame* frame, const PacketSink& sink) override {
        return frame == nullptr || good_-- > 0 ? encoder_->encode(frame, sink) : AVERROR(EIO);
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    int good_;
};

/// Fails at a frame that it has accepted, but still returns that frame at the end.
class LateEncoder final : public VideoEncoder {
public:
    LateEncoder(std::unique_ptr<VideoEncoder> encoder, int good)
        : encoder_(std::move(encoder)),
          good_(good) {}

    const AVCodecContext& context() const override { return encoder_->context(); }
    std::string name() const override { return "a card that is late"; }
    int encode(const AVFrame* frame, const PacketSink& sink) override {
        if (frame == nullptr) {
            if (late_->size > 0) sink(*late_);
            return encoder_->encode(nullptr, sink);
        }
        if (good_-- > 0) return encoder_->encode(frame, sink);
        encoder_->encode(frame, [this](AVPacket& packet) {
            av_packet_move_ref(late_.get(), &packet);
            return 0;
        });
        return AVERROR(EIO);
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    int good_;
    AvPacket late_{av_packet_alloc()};
};

/// Files of this process cannot grow above a number of bytes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        static_cast<void>(std::signal(SIGXFSZ, handler_));
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN); // the signal would end the process
};

class MovieEncoderTest : public MovieTest {
protected:
    /// Uses a card that opens and encodes this many frames.
    void useCardThatFailsAt(int frame) {
        tools_.encoders.hardware = [frame](const VideoEncoderSettings& settings, Error& error) {
            return std::make_unique<FailingEncoder>(openSoftwareEncoder(settings, error), frame);
        };
        useTools();
    }
};

TEST_F(MovieEncoderTest, OpeningAnEncoderDoesNotBlock) {
    std::promise<void> mayOpen;
    std::promise<std::thread::id> opened;
    tools_.encoders.hardware = [&](const VideoEncoderSettings& settings, Error& error) {
        mayOpen.get_future().wait_for(10s);
        opened.set_value(std::this_thread::get_id());
        return openSoftwareEncoder(settings, error);
    };
    useTools();
    start(videoSettings(160, 90));
    appendPictures(8, 160, 90);
    EXPECT_FALSE(video_->isReadyForMoreMediaData()); // eight frames are queued
    mayOpen.set_value();
    EXPECT_NE(opened.get_future().get(), std::this_thread::get_id());
    appendPictures(2, 160, 90, 8);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(decode(path_).pictures.size(), 10U);
}

TEST_F(MovieEncoderTest, MovieWithoutAnyEncoderFailsWithItsReasonAndLeavesNoFile) {
    const auto refuses = [](const VideoEncoderSettings&, Error& error) -> std::unique_ptr<VideoEncoder> {
        error = {ErrorCode::invalid, "no encoder here"};
        return nullptr;
    };
    tools_.encoders = {refuses, refuses};
    useTools();
    start(videoSettings(160, 90));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(writer_->error().text, "no encoder here");
    EXPECT_EQ(writer_->error().kept, std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(MovieEncoderTest, CardThatFailsInTheMiddleIsReplacedAndNoFrameIsLost) {
    for (const int frame : {0, 1, 25}) {
        std::filesystem::remove(path_);
        useCardThatFailsAt(frame);
        start(videoSettings(320, 180));
        appendPictures(100, 320, 180);
        EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
        EXPECT_EQ(packetsOf(path_).size(), 100U);
        const auto decoded = decode(path_);
        ASSERT_EQ(decoded.pictures.size(), 100U);
        for (const std::size_t picture : {0U, 1U, 24U, 25U, 26U, 99U})
            EXPECT_NEAR(decoded.at(picture, 40, 20).red, quarters[0].red, 6) << picture;
    }
    EXPECT_THAT(diagnostics_.lines(), Contains(HasSubstr("H.264 by the graphics card: a card that fails")));
    EXPECT_THAT(diagnostics_.lines(),
                Contains(HasSubstr("the graphics card's a card that fails failed: Input/output error; "
                                   "H.264 by the processor: libx264")));
}

TEST_F(MovieEncoderTest, FrameThatTheCardHandsOutAfterItFailedIsInTheMovieOnce) {
    tools_.encoders.hardware = [](const VideoEncoderSettings& settings, Error& error) {
        return std::make_unique<LateEncoder>(openSoftwareEncoder(settings, error), 25);
    };
    useTools();
    start(videoSettings(320, 180));
    appendPictures(50, 320, 180);
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    EXPECT_EQ(packetsOf(path_).size(), 50U);
    EXPECT_EQ(decode(path_).pictures.size(), 50U);
}

TEST_F(MovieEncoderTest, MovieOfTwoEncodersSeeksToBoth) {
    useCardThatFailsAt(75);
    start(videoSettings(320, 180));
    appendPictures(150, 320, 180);
    ASSERT_EQ(finish(), AssetWriterStatus::completed);
    // Seeks to the second encoder's part, then to the first one's.
    for (const auto& [second, frames] : {std::pair(4, 30U), std::pair(1, 120U)}) {
        const std::string bytes =
            outputOf("ffmpeg -v error -xerror -ss " + std::to_string(second) + " -i " + path_.string() +
                     " -map v:0 -fps_mode passthrough -f rawvideo -pix_fmt gray -");
        EXPECT_EQ(bytes.size() / (320 * 180), frames);
    }
}

TEST_F(MovieEncoderTest, MovieOfTwoEncodersThatWasNeverFinishedPlaysToo) {
    useCardThatFailsAt(25);
    start(videoSettings(320, 180));
    appendPictures(100, 320, 180);
    writer_.reset();
    EXPECT_GE(decode(path_).pictures.size(), 85U);
}

TEST_F(MovieEncoderTest, ProcessorThatFailsTooEndsTheMovieWithWhatWasKept) {
    useCardThatFailsAt(30);
    tools_.encoders.software = [](const VideoEncoderSettings&, Error& error) {
        error = {ErrorCode::invalid, "no encoder here"};
        return nullptr;
    };
    useTools();
    start(videoSettings(320, 180));
    for (int i = 0; i < 40 && append(makeMovingPicture(320, 180, i), i * frameInterval); ++i)
        continue;
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_THAT(writer_->error().text, HasSubstr("the movie cannot be encoded: Input/output error"));
    ASSERT_TRUE(writer_->error().kept.has_value());
    EXPECT_NEAR(writer_->error().kept->count(), 1.0, 0.001);
    EXPECT_EQ(decode(path_).pictures.size(), 30U);
}

TEST_F(MovieEncoderTest, FileThatCannotBeWrittenIsNotTakenForAFailingCard) {
    useCardThatFailsAt(std::numeric_limits<int>::max());
    const FileSizeLimit limit(10'000);
    start(videoSettings(640, 360));
    for (int i = 0; i < 300 && append(makeMovingPicture(640, 360, i), i * frameInterval); ++i)
        continue;
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_THAT(writer_->error().text, HasSubstr("the movie cannot be written: File too large"));
    EXPECT_THAT(diagnostics_.lines(), Not(Contains(HasSubstr("failed"))));
}

// The copy

TEST_F(MovieEncoderTest, DestroyingAFinishingWriterAbortsTheCopy) {
    std::atomic<bool> hurried = false;
    tools_.makeOrdinary = [&](const MovieFile& movie, MovieFileType type, const MovieContent& content,
                              const std::stop_token& hurry) {
        std::promise<void> asked;
        const std::stop_callback ask(hurry, [&] { asked.set_value(); });
        // As long as copying a large movie may take; destruction must not wait for that.
        hurried = asked.get_future().wait_for(10s) == std::future_status::ready;
        return makeOrdinaryMovie(movie, type, content, hurry);
    };
    useTools();
    start(videoSettings(160, 90));
    appendPictures(20, 160, 90);
    bool told = false;
    writer_->finishWritingWithCompletionHandler(
        [&told, writer = writer_.get()] { told = writer->status() == AssetWriterStatus::completed; });
    writer_.reset();
    EXPECT_TRUE(told);
    EXPECT_TRUE(hurried);
    EXPECT_THAT(boxesOf(path_), Contains("moof"));
    EXPECT_EQ(decode(path_).pictures.size(), 20U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(MovieEncoderTest, TheFirstPictureIsAFragmentAndThenEachHalfSecond) {
    keepFragments();
    start(videoSettings(160, 90));
    appendPictures(75, 160, 90);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_THAT(samplesOfFragments(path_), ElementsAre(1, 15, 15, 15, 15, 14));
}

// QuickTime's own players do not know the short way.
TEST_F(MovieEncoderTest, FragmentsOfMpeg4AreCountedFromThemselvesAndThoseOfQuickTimeFromTheFilesStart) {
    keepFragments();
    for (const MovieFileType type : {MovieFileType::mpeg4, MovieFileType::quickTimeMovie}) {
        path_ = folder_.path() / (type == MovieFileType::mpeg4 ? "movie.mp4" : "movie.mov");
        start(videoSettings(160, 90), {}, type);
        appendPictures(3, 160, 90);
        EXPECT_EQ(finish(), AssetWriterStatus::completed);
        const std::string bytes = contentOf(path_);
        const std::size_t header = bytes.find("tfhd");
        ASSERT_LT(header + 8, bytes.size());
        const bool fromItself = (bytes[header + 5] & 0x02) != 0;
        const bool fromTheStart = (bytes[header + 7] & 0x01) != 0;
        EXPECT_EQ(fromItself, type == MovieFileType::mpeg4) << path_;
        EXPECT_EQ(fromTheStart, type == MovieFileType::quickTimeMovie) << path_;
    }
}

} // namespace
} // namespace tavelo::testing
