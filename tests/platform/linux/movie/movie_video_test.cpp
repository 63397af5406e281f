// SPDX-License-Identifier: MIT
// Finished movies, examined with other programs.
#include "movie_fixture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST_F(MovieTest, FinishedMovieIsH264MainOfItsSizeWithEveryFrameFed) {
    start(videoSettings(320, 180));
    appendPictures(40, 320, 180);
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    const auto facts = factsOf(path_);
    EXPECT_EQ(facts.at("streams.stream.0.codec_name"), "h264");
    EXPECT_EQ(facts.at("streams.stream.0.profile"), "Main");
    EXPECT_EQ(facts.at("streams.stream.0.width"), "320");
    EXPECT_EQ(facts.at("streams.stream.0.height"), "180");
    EXPECT_EQ(facts.at("format.nb_streams"), "1");
    EXPECT_THAT(facts.at("format.tags.major_brand"), StartsWith("iso"));
    EXPECT_EQ(packetsOf(path_).size(), 40U);
    EXPECT_EQ(decode(path_).pictures.size(), 40U);
}

TEST_F(MovieTest, QuickTimeMovieIsOne) {
    start(videoSettings(320, 180), {}, MovieFileType::quickTimeMovie);
    appendPictures(40, 320, 180);
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    EXPECT_THAT(factsOf(path_).at("format.tags.major_brand"), StartsWith("qt"));
    EXPECT_EQ(decode(path_).pictures.size(), 40U);
}

TEST_F(MovieTest, FinishedMovieHasItsIndexInFrontAndNoFragments) {
    start(videoSettings(320, 180));
    appendPictures(40, 320, 180);
    finish();
    EXPECT_THAT(boxesOf(path_), ElementsAre("ftyp", "moov", "free", "free", "mdat"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(MovieTest, FinishedMovieSeeks) {
    start(videoSettings(320, 180));
    appendPictures(150, 320, 180);
    finish();
    const std::string bytes = outputOf("ffmpeg -v error -ss 4 -i " + path_.string() +
                                       " -map v:0 -fps_mode passthrough -f rawvideo -pix_fmt gray -");
    EXPECT_EQ(bytes.size() / (320 * 180), 30U);
}

TEST_F(MovieTest, KeyFramesAreAtMostSixtyApart) {
    start(videoSettings(160, 90));
    appendPictures(200, 160, 90);
    finish();
    const auto packets = packetsOf(path_);
    ASSERT_EQ(packets.size(), 200U);
    EXPECT_TRUE(packets.front().keyFrame);
    int distance = 0;
    int keyFrames = 0;
    for (const MoviePacket& packet : packets) {
        if (packet.keyFrame) {
            distance = 0;
            ++keyFrames;
        }
        EXPECT_LT(distance++, 60);
    }
    EXPECT_GE(keyFrames, 4);
}

TEST_F(MovieTest, FramesKeepTheirCaptureTimesFromTheFirstOneOn) {
    const std::vector<nanoseconds> times{0ns,   31'123'457ns, 70ms,   95'500'001ns,
                                         180ms, 1s,           1033ms, 3'000'000'007ns};
    start(videoSettings(160, 90));
    for (std::size_t i = 0; i < times.size(); ++i)
        ASSERT_TRUE(append(makeMovingPicture(160, 90, int(i)), times[i]));
    finish();
    const auto packets = packetsOf(path_);
    ASSERT_EQ(packets.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(packets[i].time, std::chrono::duration<double>(times[i]).count(), 2.0 / 90000);
        EXPECT_EQ(packets[i].time, packets[i].decodeTime);
        if (i > 0) {
            EXPECT_GT(packets[i].time, packets[i - 1].time);
        }
    }
    // The last frame has the duration of the one before.
    EXPECT_NEAR(std::stod(factsOf(path_).at("format.duration")), 3.0 + 1.967, 0.002);
}

TEST_F(MovieTest, DurationIsThatOfTheCaptureClock) {
    start(videoSettings(160, 90));
    appendPictures(90, 160, 90);
    finish();
    const auto facts = factsOf(path_);
    EXPECT_NEAR(std::stod(facts.at("format.duration")), 3.0, 0.002);
    EXPECT_NEAR(std::stod(facts.at("streams.stream.0.start_time")), 0.0, 1e-6);
}

TEST_F(MovieTest, TimesFinerThanTheMoviesScaleStayApart) {
    start(videoSettings(160, 90));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(append(makeMovingPicture(160, 90, i), nanoseconds(i)));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto packets = packetsOf(path_);
    ASSERT_EQ(packets.size(), 5U);
    for (std::size_t i = 1; i < packets.size(); ++i)
        EXPECT_GT(packets[i].decodeTime, packets[i - 1].decodeTime);
}

TEST_F(MovieTest, TimesInSixHundredthsOfASecondAreExact) {
    make(videoSettings(160, 90));
    ASSERT_TRUE(writer_->startWriting());
    const auto time = [](std::int64_t frame) { return MediaTime{frame, 600, MediaTime::flagValid, 0}; };
    writer_->startSessionAtSourceTime(time(7));
    for (const std::int64_t frame : {7, 8, 28, 607}) {
        awaitReady(*video_);
        ASSERT_TRUE(video_->appendSampleBuffer({makeMovingPicture(160, 90, int(frame)), time(frame)}));
    }
    finish();
    const auto packets = packetsOf(path_);
    ASSERT_EQ(packets.size(), 4U);
    EXPECT_NEAR(packets[1].time, 1.0 / 600, 1e-6);
    EXPECT_NEAR(packets[2].time, 21.0 / 600, 1e-6);
    EXPECT_NEAR(packets[3].time, 1.0, 1e-6);
}

// Pictures

void expectQuarters(const DecodedPictures& decoded, std::size_t picture, bool mirrored = false) {
    constexpr int tolerance = 6;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const bool right = (quarter % 2 == 1) != mirrored;
        const int x = decoded.width * (right ? 7 : 1) / 8;
        const int y = decoded.height * (quarter / 2 == 1 ? 7 : 1) / 8;
        const auto shown = decoded.at(picture, x, y);
        const Paint& fed = quarters[quarter];
        EXPECT_NEAR(shown.red, fed.red, tolerance) << quarter;
        EXPECT_NEAR(shown.green, fed.green, tolerance) << quarter;
        EXPECT_NEAR(shown.blue, fed.blue, tolerance) << quarter;
    }
}

TEST_F(MovieTest, PlayersShowTheColoursThatWereFed) {
    start(videoSettings(640, 360));
    appendPictures(10, 640, 360);
    finish();
    const auto facts = factsOf(path_);
    EXPECT_EQ(facts.at("streams.stream.0.color_space"), "smpte170m");
    EXPECT_EQ(facts.at("streams.stream.0.color_range"), "tv");
    EXPECT_EQ(facts.at("streams.stream.0.color_primaries"), "bt709");
    EXPECT_EQ(facts.at("streams.stream.0.color_transfer"), "bt709");
    const auto decoded = decode(path_);
    ASSERT_EQ(decoded.pictures.size(), 10U);
    expectQuarters(decoded, 0);
    expectQuarters(decoded, 9);
}

TEST_F(MovieTest, PixelsMayChangeOnceTheyAreAppended) {
    start(videoSettings(320, 180));
    const auto picture = makeMovingPicture(320, 180);
    ASSERT_TRUE(append(picture, 0ns));
    {
        const auto lock = picture->lock();
        std::fill_n(picture->baseAddress(), picture->bytesPerRow() * picture->height(), std::uint8_t(0));
    }
    finish();
    expectQuarters(decode(path_), 0);
}

TEST_F(MovieTest, OddSizesLoseTheirLastColumnAndRow) {
    start(videoSettings(321, 181));
    appendPictures(5, 321, 181);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto decoded = decode(path_);
    EXPECT_EQ(decoded.width, 320);
    EXPECT_EQ(decoded.height, 180);
    expectQuarters(decoded, 4);
}

TEST_F(MovieTest, CameraThatChangesItsSizeGoesOnInTheMoviesSize) {
    start(videoSettings(320, 180));
    appendPictures(10, 320, 180);
    appendPictures(10, 640, 480, 10);
    appendPictures(10, 160, 90, 20);
    appendPictures(10, 120, 100, 30);
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    const auto decoded = decode(path_);
    EXPECT_EQ(decoded.width, 320);
    EXPECT_EQ(decoded.height, 180);
    ASSERT_EQ(decoded.pictures.size(), 40U);
    for (const std::size_t picture : {9U, 19U, 29U, 39U})
        expectQuarters(decoded, picture);
}

TEST_F(MovieTest, PictureOfAnotherShapeFillsTheMovieAndIsCutOffAtTwoSides) {
    start(videoSettings(180, 180));
    // Red, then green from a third of the width on; in the middle square a quarter of the width is cut off.
    auto wide = PixelBuffer::create(PixelFormat::bgra32, 360, 180);
    for (std::size_t y = 0; y < 180; ++y)
        for (std::size_t x = 0; x < 360; ++x) {
            std::uint8_t* pixel = wide->baseAddress() + y * wide->bytesPerRow() + x * 4;
            pixel[x < 120 ? 2 : 1] = 200;
        }
    ASSERT_TRUE(append(wide, 0ns));
    finish();
    const auto decoded = decode(path_);
    EXPECT_GT(decoded.at(0, 25, 90).red, 150); // 115 in the picture
    EXPECT_LT(decoded.at(0, 25, 90).green, 60);
    EXPECT_GT(decoded.at(0, 35, 90).green, 150); // 125 in the picture
    EXPECT_LT(decoded.at(0, 35, 90).red, 60);
}

TEST_F(MovieTest, SmallestAndVeryLargePicturesAreRecorded) {
    for (const auto& [width, height] : {std::pair(2U, 2U), std::pair(3840U, 2160U)}) {
        std::filesystem::remove(path_);
        start(videoSettings(width, height));
        const auto picture = PixelBuffer::create(PixelFormat::bgra32, width, height);
        for (int i = 0; i < 3; ++i)
            ASSERT_TRUE(append(picture, i * frameInterval));
        EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
        EXPECT_EQ(decodedPictureCount(path_), 3U);
        EXPECT_EQ(factsOf(path_).at("streams.stream.0.width"), std::to_string(width));
    }
}

TEST_F(MovieTest, BitRateIsTheCallersIfGiven) {
    const auto bytesAt = [&](std::int64_t bitRate) {
        std::filesystem::remove(path_);
        auto settings = videoSettings(640, 360);
        settings.compressionProperties.averageBitRate = bitRate;
        start(settings);
        for (int i = 0; i < 90; ++i)
            EXPECT_TRUE(append(makeMovingPicture(640, 360, i, 40), i * frameInterval));
        EXPECT_EQ(finish(), AssetWriterStatus::completed);
        return double(std::filesystem::file_size(path_));
    };
    EXPECT_NEAR(bytesAt(1'000'000), 3 * 125'000, 3 * 125'000 * 0.4);
    EXPECT_NEAR(bytesAt(4'000'000), 3 * 500'000, 3 * 500'000 * 0.4);
}

TEST_F(MovieTest, DiagnosticsNameTheEncoder) {
    start(videoSettings(160, 90));
    appendPictures(3, 160, 90);
    finish();
    EXPECT_THAT(diagnostics_.lines(),
                Contains(::testing::AnyOf(HasSubstr("movie.mp4: H.264 by the processor: libx264"),
                                          HasSubstr("movie.mp4: H.264 by the graphics card: h264_vaapi"))));
    EXPECT_EQ(diagnostics_.lines().size(), 1U);
}

// The level

TEST_F(MovieTest, LevelFollowsTheRateOfTheFrames) {
    const auto levelOf = [&](std::uint32_t width, std::uint32_t height, int rate) {
        std::filesystem::remove(path_);
        start(videoSettings(width, height));
        const auto picture = PixelBuffer::create(PixelFormat::bgra32, width, height);
        for (int i = 0; i < rate; ++i)
            EXPECT_TRUE(append(picture, nanoseconds(std::nano::den * i / rate)));
        EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
        EXPECT_EQ(decodedPictureCount(path_), std::size_t(rate));
        return factsOf(path_).at("streams.stream.0.level");
    };
    EXPECT_EQ(levelOf(1280, 720, 30), "31");
    EXPECT_EQ(levelOf(1280, 720, 60), "32");
    EXPECT_EQ(levelOf(1920, 1080, 30), "40");
    EXPECT_EQ(levelOf(1920, 1080, 60), "42");
}

TEST_F(MovieTest, LevelFollowsACameraThatGrowsFasterAndNeverFallsAgain) {
    start(videoSettings(1280, 720));
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    nanoseconds time(0);
    for (const int rate : {15, 60, 15})
        for (int i = 0; i < rate; ++i) {
            ASSERT_TRUE(append(picture, time));
            time += nanoseconds(std::nano::den / rate);
        }
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(factsOf(path_).at("streams.stream.0.level"), "32");
}

TEST_F(MovieTest, LevelIsMarkedInAMovieThatWasNeverFinishedToo) {
    start(videoSettings(1280, 720), AudioSettings(), MovieFileType::quickTimeMovie);
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    for (int i = 0; i < 90; ++i)
        ASSERT_TRUE(append(picture, nanoseconds(std::nano::den * i / 60)));
    writer_.reset();
    EXPECT_EQ(factsOf(path_).at("streams.stream.0.level"), "32");
}

TEST_F(MovieTest, JitterOfTheFramesDoesNotRaiseTheLevel) {
    start(videoSettings(1280, 720));
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    for (int i = 0; i < 90; ++i)
        ASSERT_TRUE(append(picture, i * frameInterval + (i % 3) * nanoseconds(4'000'000)));
    finish();
    EXPECT_EQ(factsOf(path_).at("streams.stream.0.level"), "31");
}

TEST_F(MovieTest, FirstFramesThatLieCloseTogetherDoNotRaiseTheLevel) {
    start(videoSettings(1280, 720));
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    for (int i = 0; i < 45; ++i)
        ASSERT_TRUE(append(picture, i == 0 ? nanoseconds(20'000'000) : i * frameInterval));
    finish();
    EXPECT_EQ(factsOf(path_).at("streams.stream.0.level"), "31");
}

TEST_F(MovieTest, LevelOfAMovieShorterThanHalfASecondFollowsItsFrames) {
    start(videoSettings(1280, 720));
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 1280, 720);
    for (int i = 0; i < 12; ++i)
        ASSERT_TRUE(append(picture, nanoseconds(std::nano::den * i / 60)));
    finish();
    EXPECT_EQ(factsOf(path_).at("streams.stream.0.level"), "32");
}

TEST_F(MovieTest, LevelOfALargePictureAtALowRateIsThatOfItsSize) {
    start(videoSettings(3840, 2160));
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 3840, 2160);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(append(picture, std::chrono::seconds(i)));
    finish();
    EXPECT_GE(std::stoi(factsOf(path_).at("streams.stream.0.level")), 51); // 32400 macroblocks
}

} // namespace
} // namespace tavelo::testing
