// SPDX-License-Identifier: MIT
#include "platform/linux/movie/file_beside.h"

#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <fstream>

#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using Kind = FileBeside::Kind;

class FileBesideTest : public ::testing::TestWithParam<Kind> {
protected:
    std::filesystem::path at(const std::string& name) const { return folder_.path() / name; }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }
    static void write(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path) << text;
    }
    static std::string textOf(const std::filesystem::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder folder_;
    std::filesystem::path target_ = at("movie.mp4");
};

INSTANTIATE_TEST_SUITE_P(Kinds, FileBesideTest, ::testing::Values(Kind::unnamed, Kind::hidden));

TEST_P(FileBesideTest, IsGoneWithItsOwner) {
    { const FileBeside file(target_, GetParam()); }
    EXPECT_THAT(files(), IsEmpty());
}

TEST_P(FileBesideTest, IsLockedSoThatNobodyTakesItForALeftover) {
    const FileBeside file(target_, GetParam());
    const std::string self = "/proc/self/fd/" + std::to_string(file.descriptor());
    const FileDescriptor again(::open(self.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(again.isOpen());
    EXPECT_EQ(::flock(again.get(), LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
}

TEST_F(FileBesideTest, RemovesNobodysFileOnceItTookTheTargetsPlace) {
    write(target_, "old");
    const FileDescriptor old(::open(target_.c_str(), O_RDWR | O_CLOEXEC));
    std::string hiddenName;
    {
        FileBeside file(target_, Kind::hidden);
        for (const auto& name : files())
            if (name != "movie.mp4") hiddenName = name;
        ASSERT_EQ(file.takePlace(old.get()), 0);
        write(at(hiddenName), "somebody's");
    }
    EXPECT_THAT(files(), UnorderedElementsAre("movie.mp4", hiddenName));
}

TEST_P(FileBesideTest, TakesTheTargetsPlaceAndItsRights) {
    write(target_, "old");
    const FileDescriptor old(::open(target_.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::fchmod(old.get(), 0640), 0);
    FileBeside file(target_, GetParam());
    ASSERT_EQ(file.failure(), 0);
    ASSERT_EQ(::write(file.descriptor(), "new", 3), 3);
    EXPECT_EQ(file.takePlace(old.get()), 0);
    EXPECT_THAT(files(), ElementsAre("movie.mp4"));
    EXPECT_EQ(textOf(target_), "new");
    struct stat facts {};
    ASSERT_EQ(::stat(target_.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0640U);
}

TEST_P(FileBesideTest, TargetThatCannotBeReplacedStaysAndNothingIsLeft) {
    std::filesystem::create_directory(target_);
    const FileDescriptor old(::open(target_.c_str(), O_RDONLY | O_CLOEXEC));
    {
        FileBeside file(target_, GetParam());
        EXPECT_EQ(file.takePlace(old.get()), EISDIR);
    }
    EXPECT_THAT(files(), ElementsAre("movie.mp4"));
}

TEST_P(FileBesideTest, ReportsAMissingFolder) {
    EXPECT_EQ(FileBeside(at("missing") / "movie.mp4", GetParam()).failure(), ENOENT);
}

TEST_F(FileBesideTest, UnnamedFileIsNotVisible) {
    const FileBeside file(target_, Kind::unnamed);
    EXPECT_THAT(files(), IsEmpty());
}

// Leftovers

TEST_F(FileBesideTest, LeftoverThatNobodyHoldsIsRemoved) {
    write(at(".tavelo-movie-123"), "half a movie");
    EXPECT_TRUE(FileBeside::removeLeftovers(target_));
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_FALSE(FileBeside::removeLeftovers(target_));
}

TEST_F(FileBesideTest, FileThatALiveProcessWritesStays) {
    const FileBeside file(target_, Kind::hidden);
    EXPECT_FALSE(FileBeside::removeLeftovers(target_));
    EXPECT_THAT(files(), ElementsAre(StartsWith(".tavelo-movie-")));
}

TEST_F(FileBesideTest, WhatIsNotOursStays) {
    write(at(".movie.mp4.Ab12Cd"), "somebody's");
    write(at("tavelo-movie-1"), "somebody's");
    std::filesystem::create_directory(at(".tavelo-movie-2"));
    std::filesystem::create_symlink(at("tavelo-movie-1"), at(".tavelo-movie-3"));
    std::filesystem::create_hard_link(at("tavelo-movie-1"), at(".tavelo-movie-4"));
    EXPECT_FALSE(FileBeside::removeLeftovers(target_));
    EXPECT_THAT(files(), UnorderedElementsAre(".movie.mp4.Ab12Cd", "tavelo-movie-1", ".tavelo-movie-2",
                                              ".tavelo-movie-3", ".tavelo-movie-4"));
}

} // namespace
} // namespace tavelo::testing
