// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/module/late_pipewire.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/linux/late_module.h"
#include "platform/linux/pipewire/module/late_picture_shares.h"
#include "platform/linux/pipewire/module/late_sounds.h"
#include "platform/linux/pipewire/module/pipewire_socket.h"
#include "support/recorded_diagnostics.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

bool isLoaded(const std::string& library) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/" + library) != std::string::npos) return true;
    return false;
}

class LatePipewireTest : public ::testing::Test {
protected:
    LatePipewireTest() {
        ::unsetenv("PIPEWIRE_REMOTE");
        ::unsetenv("PIPEWIRE_RUNTIME_DIR");
        ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    }

    void makeSocket(const std::string& name = "pipewire-0") { std::ofstream(folder_.path() / name) << ""; }

    TemporaryFolder folder_;
    RecordedDiagnostics diagnostics_;
};

// The order matters: what a later test loads stays loaded.
TEST_F(LatePipewireTest, WithoutASocketNothingIsLoadedNorSaid) {
    LatePipewire late(diagnostics_, {}, PIPEWIRE_MODULE);
    EXPECT_EQ(late.get(), nullptr);
    EXPECT_FALSE(isLoaded("libpipewire"));
    EXPECT_THAT(diagnostics_.lines(), IsEmpty());
}

TEST_F(LatePipewireTest, AMissingModuleIsSaidOnce) {
    makeSocket();
    LatePipewire late(diagnostics_, {}, folder_.path() / "missing.so");
    EXPECT_EQ(late.get(), nullptr);
    EXPECT_EQ(late.get(), nullptr);
    EXPECT_THAT(diagnostics_.lines(), ElementsAre(HasSubstr("missing.so")));
}

TEST_F(LatePipewireTest, AFileThatIsNoModuleIsSaid) {
    makeSocket();
    std::ofstream(folder_.path() / "text.so") << "no module";
    LatePipewire late(diagnostics_, {}, folder_.path() / "text.so");
    EXPECT_EQ(late.get(), nullptr);
    EXPECT_THAT(diagnostics_.lines(), ElementsAre(HasSubstr("text.so")));
}

TEST_F(LatePipewireTest, LoadsTheLibraryWhenTheSocketHasCome) {
    LatePipewire late(diagnostics_, {}, PIPEWIRE_MODULE);
    EXPECT_EQ(late.get(), nullptr);
    makeSocket();
    const auto platform = late.get();
    EXPECT_NE(platform, nullptr);
    EXPECT_EQ(late.get(), platform);
    EXPECT_TRUE(isLoaded("libpipewire"));
    EXPECT_THAT(diagnostics_.lines(), IsEmpty());
}

TEST_F(LatePipewireTest, WhoAsksForTheConnectionNeedsNoSocket) {
    LatePipewire late(
        diagnostics_, [] { return PipewireGrant(); }, PIPEWIRE_MODULE);
    EXPECT_NE(late.get(), nullptr);
}

TEST_F(LatePipewireTest, AModuleOfAnotherVersionIsNotUsed) {
    makeSocket();
    LatePipewire late(diagnostics_, {}, OTHER_PIPEWIRE_MODULE);
    EXPECT_EQ(late.get(), nullptr);
    EXPECT_THAT(diagnostics_.lines(), ElementsAre(HasSubstr("is of another version")));
}

TEST_F(LatePipewireTest, LooksForTheSocketWhereTheVariablesSay) {
    EXPECT_FALSE(pipewireMayRun());
    makeSocket("other");
    EXPECT_FALSE(pipewireMayRun());
    ::setenv("PIPEWIRE_REMOTE", "other", 1);
    EXPECT_TRUE(pipewireMayRun());
    ::setenv("PIPEWIRE_REMOTE", (folder_.path() / "other").c_str(), 1);
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_TRUE(pipewireMayRun());
    ::setenv("PIPEWIRE_REMOTE", "other", 1);
    EXPECT_FALSE(pipewireMayRun());
    ::setenv("PIPEWIRE_RUNTIME_DIR", folder_.path().c_str(), 1);
    EXPECT_TRUE(pipewireMayRun());
    ::setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
    EXPECT_TRUE(pipewireMayRun());
    ::setenv("PIPEWIRE_RUNTIME_DIR", "/nowhere", 1);
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    EXPECT_FALSE(pipewireMayRun());
}

TEST_F(LatePipewireTest, AShareThatCannotBeMadeSaysWhy) {
    const auto shares = makeLatePictureShares(
        std::make_shared<LatePipewire>(diagnostics_, AskForPipewire(), folder_.path() / "missing.so"));
    Error error;
    EXPECT_EQ(shares->makeShare("camera", error), nullptr);
    EXPECT_EQ(error.code, ErrorCode::failed);
    EXPECT_EQ(error.text, "PipeWire does not run");
    makeSocket();
    EXPECT_EQ(shares->makeShare("camera", error), nullptr);
    EXPECT_EQ(error.text, "PipeWire's library cannot be used");
}

TEST_F(LatePipewireTest, AShareIsMadeByTheLibrary) {
    makeSocket();
    const auto shares = makeLatePictureShares(
        std::make_shared<LatePipewire>(diagnostics_, AskForPipewire(), PIPEWIRE_MODULE));
    Error error;
    EXPECT_NE(shares->makeShare("camera", error), nullptr);
    EXPECT_EQ(error.code, ErrorCode::none);
}

TEST_F(LatePipewireTest, SoundsWaitForThePipewireThatBringsThem) {
    const auto sounds =
        makeLateSounds(std::make_shared<LatePipewire>(diagnostics_, AskForPipewire(), PIPEWIRE_MODULE));
    Error error;
    EXPECT_FALSE(sounds->mayHaveMicrophones());
    EXPECT_THAT(sounds->microphones(error), IsEmpty());
    EXPECT_EQ(error.text, "PipeWire, which brings the sound, is not there");
    EXPECT_EQ(sounds->open({}, error), nullptr);
    makeSocket();
    EXPECT_TRUE(sounds->mayHaveMicrophones());
}

TEST(PipewireModule, IsFoundBesideThePrograms) {
    // This test lies in tests/, beside bin/, as an installed program may.
    EXPECT_TRUE(std::filesystem::equivalent(moduleFile(pipewireModuleFile), PIPEWIRE_MODULE));
}

} // namespace
} // namespace tavelo::testing
