// SPDX-License-Identifier: MIT
#include "extensions/json/description_folders.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <fstream>

#include "support/temporary_folder.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* unitA = "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0";
constexpr const char* unitB = "1f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0";

class DescriptionFolders : public ::testing::Test {
protected:
    static std::string description(const std::string& name, const char* guid = unitA) {
        return R"({"format": "tavelo extension unit", "version": 1, "guid": ")" + std::string(guid) +
               R"(", "controls": [{"name": ")" + name +
               R"(", "titles": {"en": "X"}, "selector": 1, "length": 1, "type": "number"}]})";
    }

    void write(const std::string& file, const std::string& text) {
        fs::create_directories((folder_.path() / file).parent_path());
        std::ofstream(folder_.path() / file) << text;
    }

    std::vector<std::string> names() {
        warnings.clear();
        std::vector<std::string> found;
        const auto controls = readDescriptions(
            folders, [](std::string_view name) { return name == "brightness"; },
            [this](const std::string& line) { warnings.push_back(line); });
        for (const ExtensionControl& control : controls)
            found.push_back(control.name);
        return found;
    }

    std::string path(const std::string& file) const { return (folder_.path() / file).string(); }

private:
    testing::TemporaryFolder folder_;

protected:
    std::array<fs::path, 2> folders{folder_.path() / "program", folder_.path() / "user"};
    std::vector<std::string> warnings;
};

TEST_F(DescriptionFolders, NoFolderIsNoDescription) {
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(DescriptionFolders, BothFoldersAreReadInTheOrderOfTheFileNames) {
    write("program/b.json", description("second"));
    write("user/a.json", description("first"));
    write("user/c.json", description("third"));
    EXPECT_THAT(names(), ElementsAre("first", "second", "third"));
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(DescriptionFolders, TheUsersFileReplacesTheProgramsOfThatName) {
    write("program/a.json", description("programs"));
    write("user/a.json", description("users"));
    EXPECT_THAT(names(), ElementsAre("users"));
    write("user/a.json", "{}");
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(warnings, ElementsAre(path("user/a.json") + ": format: missing"));
}

TEST_F(DescriptionFolders, OtherFilesAreNoDescriptions) {
    write("user/notes.txt", "hello");
    write("user/a.json~", "hello");
    write("user/.a.json", "hello");
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(DescriptionFolders, ABadFileIsALineAndTheOthersAreStillRead) {
    write("program/a.json", "{\n\n,");
    write("program/b.json", description("brightness"));
    write("program/c.json", description("good"));
    fs::create_directories(folders[1] / "d.json");
    fs::create_symlink("nowhere", folders[1] / "e.json");
    ASSERT_EQ(::mkfifo((folders[1] / "f.json").c_str(), 0600), 0);
    write("program/g.json", std::string(longestDescription + 1, ' '));
    EXPECT_THAT(names(), ElementsAre("good"));
    ASSERT_THAT(warnings, SizeIs(6));
    EXPECT_EQ(warnings[0], path("program/a.json") + ": line 3: it is no JSON from here on");
    EXPECT_EQ(warnings[1],
              path("program/b.json") + ": control 1: name: it is that of a control of every camera");
    for (std::size_t i = 2; i < 6; ++i)
        EXPECT_THAT(warnings[i], Not(EndsWith(": "))) << warnings[i];
}

TEST_F(DescriptionFolders, OneNameMayBelongToSeveralUnitsButNotTwiceToOne) {
    write("user/a.json", description("lamp", unitA));
    write("user/b.json", description("lamp", unitB));
    EXPECT_THAT(names(), ElementsAre("lamp", "lamp"));
    EXPECT_THAT(warnings, IsEmpty());
    write("user/c.json", description("lamp", unitB));
    EXPECT_THAT(names(), ElementsAre("lamp", "lamp"));
    EXPECT_THAT(warnings,
                ElementsAre(path("user/c.json") + ": another file describes \"lamp\" of the same unit"));
}

TEST_F(DescriptionFolders, ALineHasNoLineBreakWhateverTheFileIsCalled) {
    write("user/a\nb.json", "{}");
    names();
    EXPECT_THAT(warnings, ElementsAre(path("user/a b.json") + ": format: missing"));
}

TEST_F(DescriptionFolders, ThereAreAtMost256) {
    for (int i = 0; i < 257; ++i)
        write("user/" + std::to_string(i) + ".json", description("c" + std::to_string(i)));
    EXPECT_THAT(names(), SizeIs(256));
    EXPECT_THAT(warnings, ElementsAre(path("user") + ": more than 256 descriptions"));
}

} // namespace
} // namespace tavelo
