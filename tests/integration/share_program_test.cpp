// SPDX-License-Identifier: MIT
// The real panel shares the picture of a virtual camera, and GStreamer's program looks at it.
#include <gmock/gmock.h>
#include <stdlib.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/pipewire/private_pipewire.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::size_t width = 1280;
constexpr std::size_t height = 720;

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

template <typename Condition>
bool waitFor(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

class ShareProgramTest : public ::testing::Test {
protected:
    ShareProgramTest() { ::setenv("QT_QPA_PLATFORM", "offscreen", 1); }

    SideProgram panel(const std::vector<std::string>& options) {
        std::vector<std::string> command{PANEL, "--virtual-cameras", "1", "--renderer", "cpu"};
        command.insert(command.end(), options.begin(), options.end());
        return SideProgram(command, pipewire_.folder() / "panel.log");
    }
    std::string printed() const { return contents(pipewire_.folder() / "panel.log"); }
    bool cameraIsThere() const {
        return pipewire_.output("pw-dump 2>&1").find("\"Tavelo: Tavelo Virtual Camera 1\"") !=
               std::string::npos;
    }

    PrivatePipewire pipewire_;
};

TEST_F(ShareProgramTest, AnotherProgramSeesThePictureOfTheCamera) {
    pipewire_.start();
    SideProgram program = panel({"--share"});
    ASSERT_TRUE(waitFor([this] { return cameraIsThere(); })) << printed();
    const auto file = pipewire_.folder() / "seen";
    SideProgram viewer = pipewire_.startProgram(
        {"gst-launch-1.0", "-q", "pipewiresrc", "target-object=tavelo-shared-picture", "num-buffers=5", "!",
         "video/x-raw,format=NV12,width=1280,height=720", "!", "filesink", "location=" + file.string()});
    ASSERT_TRUE(waitFor([&] { return !viewer.runs(); }));
    const std::string seen = contents(file);
    ASSERT_EQ(seen.size(), 5 * width * height * 3 / 2);
    const std::set<char> lumas(seen.end() - width * height * 3 / 2, seen.end() - width * height / 2);
    EXPECT_GT(lumas.size(), 8U) << "it is blank";
    // The camera draws a red mark into its upper left corner.
    const std::size_t chroma = seen.size() - width * height / 2;
    const auto redness = [&](std::size_t pair) { return std::uint8_t(seen[chroma + pair * 2 + 1]); };
    EXPECT_GT(redness(4), 160);
    EXPECT_LT(redness(width / 2 - 5), 150);
    program.kill();
    EXPECT_TRUE(waitFor([this] { return !cameraIsThere(); }));
}

TEST_F(ShareProgramTest, NothingIsSharedUnasked) {
    pipewire_.start();
    const SideProgram program = panel({"--screenshot", (pipewire_.folder() / "panel.png").string()});
    ASSERT_TRUE(waitFor([this] { return std::filesystem::exists(pipewire_.folder() / "panel.png"); }));
    EXPECT_FALSE(cameraIsThere());
    EXPECT_THAT(printed(), Not(HasSubstr("PipeWire")));
}

TEST_F(ShareProgramTest, WithoutADaemonThePanelSaysSoInOneLineAndRuns) {
    SideProgram program = panel({"--share"});
    ASSERT_TRUE(waitFor([this] { return printed().find("not shared") != std::string::npos; }));
    EXPECT_THAT(printed(), HasSubstr("the picture is not shared: PipeWire does not run\n"));
    EXPECT_TRUE(program.runs());
}

} // namespace
} // namespace tavelo::testing
