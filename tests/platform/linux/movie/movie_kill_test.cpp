// SPDX-License-Identifier: MIT
// What is left of a movie if the program is killed or the disk is full.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "movie_facts.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

/// Runs the recorder program and reads its output lines.
class Recorder {
public:
    explicit Recorder(const std::vector<std::string>& arguments) {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0) throw std::runtime_error("no pipe");
        std::vector<char*> pointers;
        std::vector<std::string> words = arguments;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(pipe[1], STDOUT_FILENO);
            ::close(pipe[0]);
            ::close(pipe[1]);
            ::execv(pointers[0], pointers.data());
            ::_exit(127);
        }
        ::close(pipe[1]);
        lines_ = ::fdopen(pipe[0], "r");
    }
    ~Recorder() {
        if (process_ > 0) kill();
        std::fclose(lines_);
    }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Reads up to this line; throws if it never comes.
    void await(const std::string& wanted) {
        std::array<char, 256> line{};
        while (std::fgets(line.data(), line.size(), lines_) != nullptr) {
            if (line.data() == wanted + "\n") return;
        }
        throw std::runtime_error("the recorder never said " + wanted);
    }

    /// Waits until it has an unfinished copy of the movie open, under any name; false if it ends first.
    bool awaitCopy(const std::filesystem::path& movie) const {
        const std::filesystem::path descriptors = "/proc/" + std::to_string(process_) + "/fd";
        for (;;) {
            siginfo_t ended{};
            if (::waitid(P_PID, id_t(process_), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
                ended.si_pid != 0)
                return false;
            std::error_code gone;
            for (const auto& entry : std::filesystem::directory_iterator(descriptors, gone)) {
                const auto file = std::filesystem::read_symlink(entry.path(), gone);
                if (!gone && file.parent_path() == movie.parent_path() && file != movie) return true;
            }
        }
    }

    void kill() {
        ::kill(process_, SIGKILL);
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = 0;
    }

private:
    pid_t process_ = 0;
    FILE* lines_ = nullptr;
};

std::string text(int number) {
    return std::to_string(number);
}

constexpr int manyFrames = 100000;

class MovieKillTest : public ::testing::Test {
protected:
    void recordAndKill(int frames, int grain = 8, bool sound = false) {
        std::vector<std::string> words{MOVIE_RECORDER, path_.string(), "320",
                                       "180",          text(grain),    text(manyFrames)};
        if (sound) words.emplace_back("sound");
        Recorder recorder(words);
        recorder.await(text(frames));
        // The header is written as soon as the encoder is open.
        while (std::filesystem::file_size(path_) == 0)
            std::this_thread::yield();
        recorder.kill();
    }
    /// @param kind an extra argument for the recorder
    void killWhileItCopies(const std::string& kind) {
        for (int tries = 0; tries < 20; ++tries) {
            std::filesystem::remove(path_);
            Recorder recorder({MOVIE_RECORDER, path_.string(), "640", "360", "90", "150", kind});
            recorder.await("finishing");
            if (!recorder.awaitCopy(path_)) continue;
            recorder.kill();
            return;
        }
        FAIL() << "each copy was too quick to be interrupted";
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.path() / "movie.mp4";
};

TEST_F(MovieKillTest, MovieOfAKilledProgramOpensAtAnyMomentShortByTwoSecondsAtMost) {
    for (const int frames : {1, 2, 7, 31, 64, 150, 301}) {
        recordAndKill(frames);
        const double recorded = frames / 30.0;
        const auto facts = factsOf(path_);
        EXPECT_EQ(facts.at("streams.stream.0.codec_name"), "h264");
        const auto packets = packetsOf(path_);
        const double kept = packets.empty() ? 0 : packets.back().time + 1 / 30.0;
        EXPECT_GE(kept, recorded - 2) << frames;
        if (!packets.empty()) {
            EXPECT_EQ(decode(path_).pictures.size(), packets.size()) << frames;
        }
        std::filesystem::remove(path_);
    }
}

TEST_F(MovieKillTest, MovieWithASoundTrackThatNothingCameForOpensTooWhenTheProgramWasKilled) {
    recordAndKill(90, 8, true);
    EXPECT_EQ(factsOf(path_).at("format.nb_streams"), "2");
    EXPECT_GE(decode(path_).pictures.size(), 30U);
}

TEST_F(MovieKillTest, ProgramKilledWhileItFinishesLeavesAWholeMovie) {
    {
        Recorder recorder({MOVIE_RECORDER, path_.string(), "320", "180", "60", "200"});
        recorder.await("finishing");
        recorder.kill();
    }
    EXPECT_GE(decode(path_).pictures.size(), 140U);
}

TEST_F(MovieKillTest, ProgramKilledWhileItCopiesLeavesTheMovieAlone) {
    killWhileItCopies("unnamed");
    EXPECT_THAT(files(), ElementsAre("movie.mp4"));
    EXPECT_EQ(decode(path_).pictures.size(), 150U);
}

TEST_F(MovieKillTest, LeftoverOfAFileSystemWithoutUnnamedFilesGoesWithTheNextRecording) {
    killWhileItCopies("hidden");
    EXPECT_THAT(files(), UnorderedElementsAre("movie.mp4", StartsWith(".tavelo-movie-")));
    outputOf(std::string(MOVIE_RECORDER) + " " + (folder_.path() / "next.mp4").string() + " 320 180 8 10");
    EXPECT_THAT(files(), UnorderedElementsAre("movie.mp4", "next.mp4"));
    EXPECT_EQ(decode(path_).pictures.size(), 150U);
}

/// Records on a four-megabyte disk in a private mount namespace, and copies the movie out.
class FullDiskTest : public MovieKillTest {
protected:
    void SetUp() override {
        std::filesystem::create_directory(disk_);
        if (std::system(("unshare -rm " + mount_ + " 2>/dev/null").c_str()) != 0)
            GTEST_SKIP() << "no disk of its own to fill: unshare and mount are not allowed";
    }

    /// The recorder's last line, and the names of the files on the disk.
    std::string record(int frames) {
        const std::string movie = (disk_ / "movie.mp4").string();
        const std::string recorder =
            std::string(MOVIE_RECORDER) + " " + movie + " 640 360 90 " + text(frames) + " | tail -n 1";
        return outputOf("unshare -rm sh -c '" + mount_ + " && { " + recorder + "; ls -A " + disk_.string() +
                        "; cp " + movie + " " + path_.string() + "; }'");
    }

    std::filesystem::path disk_ = folder_.path() / "disk";
    std::string mount_ = "mount -t tmpfs -o size=4m tmpfs " + disk_.string();
};

TEST_F(FullDiskTest, ReportsAFullDiskAndLeavesAPlayableMovie) {
    const std::string said = record(manyFrames);
    EXPECT_THAT(said, StartsWith("the movie cannot be written: No space left on device; kept "));
    EXPECT_THAT(said, EndsWith("\nmovie.mp4\n"));
    const auto packets = packetsOf(path_);
    EXPECT_GE(packets.size(), 45U);
    // The reported duration matches what a player shows.
    EXPECT_NEAR(std::stod(said.substr(said.rfind("kept ") + 5)), packets.back().time + 1 / 30.0, 0.001);
    EXPECT_EQ(decode(path_).pictures.size(), packets.size());
}

TEST_F(FullDiskTest, DiskTooFullForACopyKeepsTheWholeMovieInFragments) {
    EXPECT_EQ(record(45), "completed\nmovie.mp4\n");
    EXPECT_THAT(boxesOf(path_), ::testing::Contains("moof"));
    EXPECT_EQ(decode(path_).pictures.size(), 45U);
}

} // namespace
} // namespace tavelo::testing
