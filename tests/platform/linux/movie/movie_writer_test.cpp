// SPDX-License-Identifier: MIT
// States, refusals and failures of the movie writer.
#include <sys/stat.h>

#include <fstream>

#include "movie_fixture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

using MovieWriterTest = MovieTest;

std::size_t filesIn(const std::filesystem::path& folder) {
    return std::size_t(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Making a writer

TEST_F(MovieWriterTest, NothingIsMadeBeforeItStarts) {
    make(videoSettings(160, 90));
    EXPECT_EQ(writer_->status(), AssetWriterStatus::unknown);
    EXPECT_EQ(filesIn(folder_.path()), 0U);
}

TEST_F(MovieWriterTest, FileThatIsThereAlreadyIsRefusedAndStays) {
    std::ofstream(path_) << "somebody's";
    Error error;
    EXPECT_EQ(platform_->makeWriter(path_.string(), MovieFileType::mpeg4, error), nullptr);
    EXPECT_EQ(error.text, "the movie file cannot be made: File exists");
    EXPECT_EQ(error.domain, "file system");
    EXPECT_EQ(error.code, ErrorCode::refused);
    EXPECT_EQ(std::filesystem::file_size(path_), 10U);
}

TEST_F(MovieWriterTest, FileThatAppearsBeforeTheStartIsRefusedAndStays) {
    make(videoSettings(160, 90));
    std::ofstream(path_) << "somebody's";
    EXPECT_FALSE(writer_->startWriting());
    EXPECT_EQ(writer_->status(), AssetWriterStatus::failed);
    EXPECT_THAT(writer_->error().text, HasSubstr("File exists"));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(std::filesystem::file_size(path_), 10U);
}

TEST_F(MovieWriterTest, PathThatCannotBeWrittenIsRefusedWithTheFileSystemsReason) {
    Error error;
    const auto refused = [&](const std::string& path) {
        error = {};
        return platform_->makeWriter(path, MovieFileType::mpeg4, error) == nullptr;
    };
    EXPECT_TRUE(refused((folder_.path() / "missing" / "movie.mp4").string()));
    EXPECT_THAT(error.text, HasSubstr("No such file or directory"));
    EXPECT_TRUE(refused("/dev/null/movie.mp4"));
    EXPECT_THAT(error.text, HasSubstr("Not a directory"));
    EXPECT_TRUE(refused(folder_.path().string()));
    EXPECT_TRUE(refused(""));
}

TEST_F(MovieWriterTest, ReportsAFolderRemovedBeforeTheStart) {
    make(videoSettings(160, 90));
    std::filesystem::remove(folder_.path());
    EXPECT_FALSE(writer_->startWriting());
    EXPECT_THAT(writer_->error().text, HasSubstr("No such file or directory"));
}

// Inputs

TEST_F(MovieWriterTest, InputsWithoutSensibleSettingsAreNotAccepted) {
    Error error;
    const auto writer = platform_->makeWriter(path_.string(), MovieFileType::mpeg4, error);
    const auto takesVideo = [&](const std::optional<VideoSettings>& settings) {
        return writer->canAddInput(*platform_->makeVideoInput(settings));
    };
    const auto takesAudio = [&](const std::optional<AudioSettings>& settings) {
        return writer->canAddInput(*platform_->makeAudioInput(settings));
    };
    EXPECT_TRUE(takesVideo(videoSettings(160, 90)));
    EXPECT_FALSE(takesVideo(std::nullopt));
    EXPECT_FALSE(takesVideo(VideoSettings()));
    EXPECT_FALSE(takesVideo(videoSettings(1, 90)));
    EXPECT_FALSE(takesVideo(videoSettings(160, 0)));
    EXPECT_FALSE(takesVideo(videoSettings(1U << 20, 90)));
    EXPECT_TRUE(takesAudio(AudioSettings()));
    EXPECT_TRUE(takesAudio(AudioSettings{44100, 1, 64000}));
    for (const std::uint32_t rate :
         {96000U, 88200U, 64000U, 48000U, 32000U, 24000U, 22050U, 16000U, 12000U, 11025U, 8000U})
        EXPECT_TRUE(takesAudio(AudioSettings{rate, 2, {}})) << rate;
    EXPECT_FALSE(takesAudio(std::nullopt));
    EXPECT_FALSE(takesAudio(AudioSettings{44101, 1, {}}));
    EXPECT_FALSE(takesAudio(AudioSettings{{}, 7, {}}));
    EXPECT_FALSE(takesAudio(AudioSettings{{}, {}, -1}));
}

TEST_F(MovieWriterTest, OneInputOfEachTypeIsAcceptedAndNoneOnceItWrites) {
    make(videoSettings(160, 90));
    EXPECT_FALSE(writer_->canAddInput(*platform_->makeVideoInput(videoSettings(160, 90))));
    EXPECT_TRUE(writer_->canAddInput(*platform_->makeAudioInput(AudioSettings())));
    ASSERT_TRUE(writer_->startWriting());
    EXPECT_FALSE(writer_->canAddInput(*platform_->makeAudioInput(AudioSettings())));
}

TEST_F(MovieWriterTest, WithoutAnInputItDoesNotStart) {
    make(std::nullopt);
    EXPECT_FALSE(writer_->startWriting());
    EXPECT_EQ(writer_->error().text, "the movie has no track");
    EXPECT_EQ(filesIn(folder_.path()), 0U);
}

TEST_F(MovieWriterTest, InputMayOutliveItsWriter) {
    start(videoSettings(160, 90));
    writer_.reset();
    EXPECT_FALSE(video_->isReadyForMoreMediaData());
    EXPECT_FALSE(video_->appendSampleBuffer({makeMovingPicture(160, 90), at(0ns)}));
}

// Illegal calls, state by state

TEST_F(MovieWriterTest, NothingIsTakenBeforeItWrites) {
    make(videoSettings(160, 90));
    EXPECT_FALSE(video_->isReadyForMoreMediaData());
    EXPECT_FALSE(video_->appendSampleBuffer({makeMovingPicture(160, 90), at(0ns)}));
    EXPECT_EQ(writer_->status(), AssetWriterStatus::unknown);
}

TEST_F(MovieWriterTest, FrameBeforeTheSessionFails) {
    make(videoSettings(160, 90));
    ASSERT_TRUE(writer_->startWriting());
    EXPECT_FALSE(writer_->startWriting());
    EXPECT_FALSE(video_->appendSampleBuffer({makeMovingPicture(160, 90), at(0ns)}));
    EXPECT_EQ(writer_->status(), AssetWriterStatus::failed);
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(filesIn(folder_.path()), 0U);
}

TEST_F(MovieWriterTest, FrameWithoutATimeScaleFails) {
    start(videoSettings(160, 90));
    EXPECT_FALSE(video_->appendSampleBuffer({makeMovingPicture(160, 90), MediaTime{0, 0}}));
    EXPECT_EQ(writer_->status(), AssetWriterStatus::failed);
    EXPECT_THAT(writer_->error().text, ::testing::HasSubstr("no place on the movie's time line"));
}

TEST_F(MovieWriterTest, NothingIsTakenOnceTheInputIsFinished) {
    start(videoSettings(160, 90));
    appendPictures(3, 160, 90);
    video_->markAsFinished();
    EXPECT_FALSE(video_->isReadyForMoreMediaData());
    EXPECT_FALSE(video_->appendSampleBuffer({makeMovingPicture(160, 90), at(1s)}));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(packetsOf(path_).size(), 3U);
}

TEST_F(MovieWriterTest, FinishingAWriterThatNeverStartedFails) {
    make(videoSettings(160, 90));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(writer_->error().text, "nothing was recorded");
    EXPECT_EQ(filesIn(folder_.path()), 0U);
}

TEST_F(MovieWriterTest, MovieWithoutAFrameIsNoMovie) {
    start(videoSettings(160, 90));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(writer_->error().text, "nothing was recorded");
    EXPECT_EQ(filesIn(folder_.path()), 0U);
}

// Frames that cannot be written

TEST_F(MovieWriterTest, FrameThatIsNotLaterEndsTheMovieAndWhatWasRecordedPlays) {
    start(videoSettings(160, 90));
    appendPictures(20, 160, 90);
    EXPECT_FALSE(append(makeMovingPicture(160, 90), 19 * frameInterval));
    EXPECT_EQ(writer_->status(), AssetWriterStatus::failed);
    EXPECT_TRUE(video_->isReadyForMoreMediaData()); // so that the next call reports it
    EXPECT_FALSE(append(makeMovingPicture(160, 90), 25 * frameInterval));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(writer_->error().text, "a frame is not later than the one before it");
    EXPECT_EQ(decode(path_).pictures.size(), 20U);
}

TEST_F(MovieWriterTest, FrameBeforeTheSessionsStartIsLeftOut) {
    start(videoSettings(160, 90));
    ASSERT_TRUE(append(makeMovingPicture(160, 90), -5ms));
    appendPictures(5, 160, 90);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(packetsOf(path_).size(), 5U);
}

TEST_F(MovieWriterTest, FrameThatIsNotBgraEndsTheMovie) {
    start(videoSettings(160, 90));
    appendPictures(5, 160, 90);
    EXPECT_FALSE(append(PixelBuffer::create(PixelFormat::nv12, 160, 90), 1s));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(decode(path_).pictures.size(), 5U);
}

// The queue

TEST_F(MovieWriterTest, FullQueueIsNotReadyAndEveryFrameTakenIsWritten) {
    start(videoSettings(1920, 1080));
    const auto picture = makeMovingPicture(1920, 1080, 0, 60);
    std::size_t taken = 0;
    bool full = false;
    for (int i = 0; i < 400 && !full; ++i) {
        full = !video_->isReadyForMoreMediaData();
        if (full) break;
        ASSERT_TRUE(video_->appendSampleBuffer({picture, at(i * frameInterval)}));
        ++taken;
    }
    EXPECT_TRUE(full);
    EXPECT_GE(taken, 8U);
    EXPECT_EQ(writer_->status(), AssetWriterStatus::writing);
    awaitReady(*video_);
    ASSERT_TRUE(video_->appendSampleBuffer({picture, at(1h)}));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(packetsOf(path_).size(), taken + 1);
}

TEST_F(MovieWriterTest, FrameThatComesWhileNotReadyEndsTheMovie) {
    start(videoSettings(1920, 1080));
    const auto picture = makeMovingPicture(1920, 1080, 0, 60);
    int time = 0;
    while (video_->appendSampleBuffer({picture, at(++time * frameInterval)}))
        ASSERT_LT(time, 400);
    EXPECT_EQ(writer_->error().text, "a sample came while none could be taken");
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(packetsOf(path_).size(), std::size_t(time) - 1);
}

// The end

TEST_F(MovieWriterTest, CallsTheHandlerOnceOnTheWritersThread) {
    start(videoSettings(160, 90));
    appendPictures(3, 160, 90);
    std::atomic<int> calls = 0;
    std::thread::id thread;
    writer_->finishWritingWithCompletionHandler([&] {
        thread = std::this_thread::get_id();
        ++calls;
    });
    writer_.reset(); // waits
    EXPECT_EQ(calls, 1);
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(packetsOf(path_).size(), 3U);
}

TEST_F(MovieWriterTest, WriterDestroyedWithoutAFinishLeavesAMovieThatPlays) {
    start(videoSettings(160, 90));
    appendPictures(60, 160, 90);
    writer_.reset();
    EXPECT_GE(decode(path_).pictures.size(), 45U);
}

TEST_F(MovieWriterTest, QuickTimeMovieThatWasNeverFinishedPlaysToo) {
    start(videoSettings(160, 90), {}, MovieFileType::quickTimeMovie);
    appendPictures(60, 160, 90);
    writer_.reset();
    EXPECT_GE(decode(path_).pictures.size(), 45U);
}

TEST_F(MovieWriterTest, FinishedMovieHasTheRightsOfAnyNewFile) {
    start(videoSettings(160, 90));
    appendPictures(3, 160, 90);
    const auto other = folder_.path() / "other";
    std::ofstream(other).put('x');
    const auto usual = std::filesystem::status(other).permissions();
    EXPECT_EQ(std::filesystem::status(path_).permissions(), usual);
    finish();
    EXPECT_EQ(std::filesystem::status(path_).permissions(), usual);
}

TEST_F(MovieWriterTest, MovieDeletedWhileItIsRecordedStaysDeleted) {
    start(videoSettings(160, 90));
    appendPictures(10, 160, 90);
    std::filesystem::remove(path_);
    std::ofstream(path_) << "another one's";
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(std::filesystem::file_size(path_), 13U);
    EXPECT_EQ(filesIn(folder_.path()), 1U);
}

TEST_F(MovieWriterTest, MovieMovedWhileItIsRecordedPlaysWhereItWent) {
    start(videoSettings(160, 90));
    appendPictures(10, 160, 90);
    const auto elsewhere = folder_.path() / "elsewhere.mp4";
    std::filesystem::rename(path_, elsewhere);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_EQ(decode(elsewhere).pictures.size(), 10U);
    EXPECT_EQ(filesIn(folder_.path()), 1U);
}

} // namespace
} // namespace tavelo::testing
