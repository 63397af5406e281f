// SPDX-License-Identifier: MIT
#include "platform/linux/movie/module/late_asset_writer_platform.h"

#include <gmock/gmock.h>

#include <fstream>
#include <latch>
#include <string>

#include "support/recorded_diagnostics.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

using ::testing::HasSubstr;

bool isLoaded(const std::string& library) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/" + library) != std::string::npos) return true;
    return false;
}

class LateAssetWriterPlatformTest : public ::testing::Test {
protected:
    std::string file(const std::string& name) const { return (folder_.path() / name).string(); }

    TemporaryFolder folder_;
    RecordedDiagnostics diagnostics_;
    Error error_;
};

// The order matters: what the second test loads stays loaded.
TEST_F(LateAssetWriterPlatformTest, AMissingModuleFailsTheMovieAndIsNamed) {
    const auto platform = makeLateAssetWriterPlatform(diagnostics_, folder_.path() / "missing.so");
    EXPECT_EQ(platform->makeWriter(file("movie.mp4"), MovieFileType::mpeg4, error_), nullptr);
    EXPECT_EQ(error_.code, ErrorCode::failed);
    EXPECT_THAT(error_.text, HasSubstr("missing.so"));
}

TEST_F(LateAssetWriterPlatformTest, AFileThatIsNoModuleFailsTheMovieAndIsNamed) {
    std::ofstream(folder_.path() / "text.so") << "no module";
    const auto platform = makeLateAssetWriterPlatform(diagnostics_, folder_.path() / "text.so");
    EXPECT_EQ(platform->makeWriter(file("movie.mp4"), MovieFileType::mpeg4, error_), nullptr);
    EXPECT_THAT(error_.text, HasSubstr("text.so"));
}

TEST_F(LateAssetWriterPlatformTest, LoadsTheLibrariesForTheFirstMovieOnly) {
    auto platform = makeLateAssetWriterPlatform(diagnostics_, MOVIE_MODULE);
    EXPECT_FALSE(isLoaded("libavcodec.so"));
    const auto writer = platform->makeWriter(file("movie.mp4"), MovieFileType::mpeg4, error_);
    ASSERT_NE(writer, nullptr) << error_.text;
    EXPECT_TRUE(isLoaded("libavcodec.so"));
    EXPECT_EQ(platform->makeWriter(file("movie.mp4/none"), MovieFileType::mpeg4, error_), nullptr);
}

TEST_F(LateAssetWriterPlatformTest, AWriterOutlivesItsPlatformAndWritesAMovie) {
    auto platform = makeLateAssetWriterPlatform(diagnostics_, MOVIE_MODULE);
    const auto writer = platform->makeWriter(file("movie.mp4"), MovieFileType::mpeg4, error_);
    ASSERT_NE(writer, nullptr) << error_.text;
    VideoSettings settings;
    settings.width = 64;
    settings.height = 48;
    const auto input = platform->makeVideoInput(settings);
    const auto sound = platform->makeAudioInput({});
    EXPECT_EQ(sound->mediaType(), MediaType::audio);
    platform.reset();

    writer->addInput(input);
    ASSERT_TRUE(writer->startWriting());
    const MediaTime time = MediaTime::fromNanoseconds(std::chrono::seconds(1));
    writer->startSessionAtSourceTime(time);
    EXPECT_TRUE(input->appendSampleBuffer({PixelBuffer::create(PixelFormat::bgra32, 64, 48), time}));
    input->markAsFinished();
    std::latch finished(1);
    writer->finishWritingWithCompletionHandler([&] { finished.count_down(); });
    finished.wait();
    EXPECT_EQ(writer->status(), AssetWriterStatus::completed) << writer->error().text;
    EXPECT_GT(std::filesystem::file_size(file("movie.mp4")), 500U);
}

TEST(MovieModule, IsFoundBesideThePrograms) {
    // This test lies in tests/, beside bin/, as an installed program may.
    EXPECT_TRUE(std::filesystem::equivalent(movieModule(), MOVIE_MODULE));
}

TEST_F(LateAssetWriterPlatformTest, AModuleOfAnotherVersionFailsTheMovieAndSaysSo) {
    const auto platform = makeLateAssetWriterPlatform(diagnostics_, OTHER_MOVIE_MODULE);
    EXPECT_EQ(platform->makeWriter(file("movie.mp4"), MovieFileType::mpeg4, error_), nullptr);
    EXPECT_THAT(error_.text, HasSubstr("is of another version"));
}

} // namespace
} // namespace tavelo::testing
