// SPDX-License-Identifier: MIT
// The end of a movie with one failing system call: each call in turn.
#include <algorithm>
#include <cerrno>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "failing_calls.h"
#include "movie_fixture.h"
#include "platform/linux/movie/descriptor_output.h"

namespace tavelo::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using Call = FailingCalls::Call;

constexpr int pictures = 12;

class MovieFaults : public MovieTest {
protected:
    struct Outcome {
        AssetWriterStatus status = AssetWriterStatus::unknown;
        Error error;
        std::vector<Call> calls;
        std::vector<std::string> said;
    };

    void record() {
        start(videoSettings(160, 90));
        appendPictures(pictures, 160, 90);
    }

    /// Records a movie anew and ends it, with calls that fail from then on.
    template <typename Prepare>
    Outcome end(Prepare prepare) {
        writer_.reset();
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            fs::remove(entry.path());
        const std::size_t saidBefore = diagnostics_.lines().size();
        record();
        FailingCalls failing(folder_.path().string());
        prepare(failing);
        Outcome outcome{finish(), writer_->error(), {}, {}};
        writer_.reset();
        outcome.calls = failing.calls();
        const auto lines = diagnostics_.lines();
        for (std::size_t i = saidBefore; i < lines.size(); ++i)
            if (lines[i].find("H.264 by") == std::string::npos) outcome.said.push_back(lines[i]);
        return outcome;
    }

    std::vector<std::string> otherFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_.path()))
            if (entry.path() != path_) names.push_back(entry.path().filename().string());
        return names;
    }
};

// The last piece is written with the end; what was recorded before stays.
bool isOfTheLastPiece(const Call& call) {
    return call.file == "/movie.mp4" && (call.name == "write" || call.name == "ftruncate");
}

TEST_F(MovieFaults, WithoutAFaultItIsAnOrdinaryMovieAlone) {
    const Outcome outcome = end([](FailingCalls&) {});
    EXPECT_EQ(outcome.status, AssetWriterStatus::completed);
    EXPECT_EQ(packetsOf(path_).size(), static_cast<std::size_t>(pictures));
    EXPECT_TRUE(otherFiles().empty());
    EXPECT_TRUE(outcome.said.empty());
    for (const char* name : {"write", "pwrite", "fsync", "fchmod", "linkat", "rename"})
        EXPECT_TRUE(std::ranges::any_of(outcome.calls, [name](const Call& call) {
            return call.name == name;
        })) << name;
}

TEST_F(MovieFaults, EachCallThatFailsAtTheEndLeavesAMovieThatPlays) {
    const std::size_t count = end([](FailingCalls&) {}).calls.size();
    ASSERT_GT(count, 15U);
    std::size_t inFragments = 0;
    std::size_t cut = 0;
    for (const int error : {EIO, ENOSPC}) {
        for (std::size_t number = 0; number < count; ++number) {
            const Outcome outcome = end([&](FailingCalls& failing) { failing.failOnce(number, error); });
            ASSERT_GT(outcome.calls.size(), number);
            const Call& call = outcome.calls[number];
            SCOPED_TRACE(std::to_string(number) + ": " + call.name + " " + call.file + ", errno " +
                         std::to_string(error));
            if (outcome.status == AssetWriterStatus::completed) {
                std::size_t plays = 0;
                EXPECT_NO_THROW(plays = decodedPictureCount(path_));
                EXPECT_EQ(plays, static_cast<std::size_t>(pictures));
                inFragments += outcome.said.empty() ? 0U : 1U;
                for (const std::string& line : outcome.said)
                    EXPECT_THAT(line, AnyOf(HasSubstr("the movie stays in fragments"),
                                            HasSubstr("level could not be marked")));
            } else {
                ++cut;
                EXPECT_TRUE(isOfTheLastPiece(call) || call.name == "fsync");
                EXPECT_THAT(outcome.error.text, HasSubstr(std::generic_category().message(error)));
                if (outcome.error.kept) {
                    EXPECT_GT(decodedPictureCount(path_), 0U);
                }
            }
            // Where a leftover cannot be removed, the next recording does it.
            if (call.name != "unlink") {
                EXPECT_THAT(otherFiles(), ::testing::IsEmpty());
            }
        }
    }
    std::cout << 2 * count << " failing calls tried: " << inFragments << " movies stayed in fragments, "
              << cut << " were cut short\n";
    EXPECT_GT(inFragments, 10U);
}

TEST_F(MovieFaults, ADiskThatIsFullFromTheEndOnKeepsWhatIsThere) {
    for (const char* call : {"write", "pwrite", "fsync", "fdatasync", "linkat", "rename", "fchmod"}) {
        const Outcome outcome = end([call](FailingCalls& failing) { failing.failAlways(call, ENOSPC); });
        SCOPED_TRACE(call);
        EXPECT_THAT(otherFiles(), ::testing::IsEmpty());
        if (outcome.status == AssetWriterStatus::completed) {
            EXPECT_EQ(decodedPictureCount(path_), static_cast<std::size_t>(pictures));
        } else {
            EXPECT_THAT(outcome.error.text, HasSubstr("No space left on device"));
        }
    }
}

TEST_F(MovieFaults, WritesThatTakeLessThanTheyWereGivenGoOn) {
    const Outcome outcome = end([](FailingCalls& failing) { failing.shortenWrites(); });
    EXPECT_EQ(outcome.status, AssetWriterStatus::completed);
    EXPECT_TRUE(outcome.said.empty());
    EXPECT_EQ(decodedPictureCount(path_), static_cast<std::size_t>(pictures));
}

TEST(DescriptorOutput, KeepsThatItCouldNotTellItsSize) {
    DescriptorOutput output(-1);
    EXPECT_LT(avio_size(output.io()), 0);
    EXPECT_EQ(output.failure(), EBADF);
    EXPECT_EQ(output.flush(), EBADF);
}

TEST(DescriptorOutput, SeeksWithoutAskingTheFileSystem) {
    DescriptorOutput output(-1);
    EXPECT_EQ(avio_seek(output.io(), 1000, SEEK_SET), 1000);
    EXPECT_EQ(output.failure(), 0);
}

} // namespace
} // namespace tavelo::testing
