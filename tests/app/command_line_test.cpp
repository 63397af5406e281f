// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tavelo {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

std::variant<CommandLine, CommandLineExit> parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "tavelo-control-panel");
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), "1.2.3");
}

TEST(CommandLine, WithoutArgumentsUsesTheRealCamerasAndPrintsNothing) {
    const auto parsed = parse({});
    ASSERT_TRUE(std::holds_alternative<CommandLine>(parsed));
    const auto& line = std::get<CommandLine>(parsed);
    EXPECT_EQ(line.cameras.virtualCameras, 0);
    EXPECT_EQ(line.cameras.transport, CameraTransport::kernel);
    EXPECT_EQ(line.renderer, RendererChoice::automatic);
    EXPECT_FALSE(line.verbose);
    EXPECT_FALSE(line.screenshot);
    EXPECT_FALSE(line.share);
    EXPECT_FALSE(line.cameras.format.size || line.cameras.format.framesPerSecond ||
                 line.cameras.format.fourcc);
}

TEST(CommandLine, ReadsEveryOption) {
    const auto parsed = parse({"--virtual-cameras", "2", "--renderer", "cpu", "--size", "640x480", "--fps",
                               "29.97", "--format", "YUYV", "--verbose", "--screenshot", "panel.png"});
    ASSERT_TRUE(std::holds_alternative<CommandLine>(parsed));
    const auto& line = std::get<CommandLine>(parsed);
    EXPECT_EQ(line.cameras.virtualCameras, 2);
    EXPECT_EQ(line.renderer, RendererChoice::cpu);
    ASSERT_TRUE(line.cameras.format.size);
    EXPECT_EQ(line.cameras.format.size->width, 640U);
    EXPECT_EQ(line.cameras.format.size->height, 480U);
    EXPECT_EQ(line.cameras.format.framesPerSecond, 29.97);
    EXPECT_EQ(line.cameras.format.fourcc, "YUYV");
    EXPECT_TRUE(line.verbose);
    EXPECT_EQ(line.screenshot, "panel.png");
}

TEST(CommandLine, ReadsSnapshotAndRecordOptions) {
    const auto still = std::get<CommandLine>(parse({"--snapshot", "a.png", "--camera", "2", "--mirror"}));
    ASSERT_TRUE(still.headlessCapture);
    EXPECT_EQ(still.headlessCapture->kind, HeadlessCaptureOptions::Kind::snapshot);
    EXPECT_EQ(still.headlessCapture->file, "a.png");
    EXPECT_EQ(still.headlessCapture->camera, "2");
    EXPECT_TRUE(still.headlessCapture->mirror);

    const auto movie = std::get<CommandLine>(parse({"--record", "a.mp4", "--duration", "2.5"}));
    ASSERT_TRUE(movie.headlessCapture);
    EXPECT_EQ(movie.headlessCapture->kind, HeadlessCaptureOptions::Kind::record);
    EXPECT_EQ(movie.headlessCapture->file, "a.mp4");
    EXPECT_EQ(movie.headlessCapture->duration, std::chrono::duration<double>(2.5));
    EXPECT_EQ(movie.headlessCapture->camera, "");
    EXPECT_FALSE(movie.headlessCapture->mirror);

    EXPECT_EQ(movie.headlessCapture->sound, SoundChoice());

    const auto withSound = std::get<CommandLine>(parse({"--record", "a.mp4", "--sound", "auto"}));
    EXPECT_EQ(withSound.headlessCapture->sound, (SoundChoice{SoundChoice::Kind::automatic}));
    const auto named = std::get<CommandLine>(parse({"--record", "a.mp4", "--sound", "My microphone"}));
    EXPECT_EQ(named.headlessCapture->sound, (SoundChoice{SoundChoice::Kind::named, "My microphone"}));

    EXPECT_FALSE(std::get<CommandLine>(parse({"--record", "a.mp4"})).headlessCapture->duration);
    EXPECT_FALSE(std::get<CommandLine>(parse({"--screenshot", "a.png"})).headlessCapture);
}

TEST(CommandLine, SharesThePictureOfAWindowOnly) {
    EXPECT_TRUE(std::get<CommandLine>(parse({"--share"})).share);
    EXPECT_TRUE(std::get<CommandLine>(parse({"--share", "--service"})).share) << "once there is a window";
    for (const char* other : {"--snapshot=a.png", "--record=a.mp4", "--screenshot=a.png", "--manual"}) {
        const auto parsed = parse({"--share", other});
        ASSERT_TRUE(std::holds_alternative<CommandLineExit>(parsed)) << other;
        EXPECT_EQ(std::get<CommandLineExit>(parsed).status, 2);
    }
}

TEST(CommandLine, ShowsTheManualInPlaceOfEverythingElse) {
    EXPECT_FALSE(std::get<CommandLine>(parse({})).manual);
    EXPECT_TRUE(std::get<CommandLine>(parse({"--manual"})).manual);
    for (const char* other : {"--snapshot=a.png", "--record=a.mp4", "--screenshot=a.png", "--service"}) {
        const auto parsed = parse({"--manual", other});
        ASSERT_TRUE(std::holds_alternative<CommandLineExit>(parsed)) << other;
        EXPECT_EQ(std::get<CommandLineExit>(parsed).status, 2);
    }
}

TEST(CommandLine, ReadsTheTransport) {
    const auto usb = parse({"--transport", "usb"});
    ASSERT_TRUE(std::holds_alternative<CommandLine>(usb));
    EXPECT_EQ(std::get<CommandLine>(usb).cameras.transport, CameraTransport::usb);
    const auto kernel = parse({"--transport=kernel"});
    ASSERT_TRUE(std::holds_alternative<CommandLine>(kernel));
    EXPECT_EQ(std::get<CommandLine>(kernel).cameras.transport, CameraTransport::kernel);
}

TEST(CommandLine, HelpExplainsEveryTransport) {
    std::string help = std::get<CommandLineExit>(parse({"--help"})).output;
    std::erase_if(help, [](char c) { return c == ' ' || c == '\n'; }); // lines may break anywhere
    EXPECT_THAT(help, HasSubstr("cameras:kernel(throughitsdriver)orusb(directly,"));
}

TEST(CommandLine, ReadsWherePicturesComeFrom) {
    EXPECT_EQ(std::get<CommandLine>(parse({})).cameras.pictures, PictureSource::automatic);
    EXPECT_EQ(std::get<CommandLine>(parse({"--picture=auto"})).cameras.pictures, PictureSource::automatic);
    EXPECT_EQ(std::get<CommandLine>(parse({"--picture", "pipewire"})).cameras.pictures,
              PictureSource::pipewire);
    const auto driver = std::get<CommandLine>(parse({"--picture", "v4l2", "--transport", "kernel"}));
    EXPECT_EQ(driver.cameras.pictures, PictureSource::v4l2);
}

TEST(CommandLine, HelpExplainsEverySourceOfPictures) {
    std::string help = std::get<CommandLineExit>(parse({"--help"})).output;
    std::erase_if(help, [](char c) { return c == ' ' || c == '\n'; }); // lines may break anywhere
    EXPECT_THAT(help,
                HasSubstr("comefrom:auto(pipewireifitoffersthecamera,otherwisev4l2)orpipewire(several"));
}

TEST(CommandLine, NamesTheOptionsGivenByTheUser) {
    EXPECT_EQ(std::get<CommandLine>(parse({})).given, std::vector<std::string>());
    EXPECT_EQ(ignoredOptionsLine(std::get<CommandLine>(parse({}))), "");
    const auto line = std::get<CommandLine>(parse({"--size=640x480", "--verbose", "--renderer", "gl"}));
    EXPECT_THAT(line.given, UnorderedElementsAre("--size", "--verbose", "--renderer"));
    EXPECT_THAT(ignoredOptionsLine(line), HasSubstr("--size"));
}

TEST(CommandLine, KnowsEachPixelFormatInEitherCase) {
    for (const char* format : {"YUYV", "UYVY", "NV12", "I420", "GREY", "MJPG", "mjpg"}) {
        const auto parsed = parse({"--format", format});
        ASSERT_TRUE(std::holds_alternative<CommandLine>(parsed)) << format;
        EXPECT_EQ(std::get<CommandLine>(parsed).cameras.format.fourcc, format);
    }
}

TEST(CommandLine, VersionIsOneLine) {
    const auto exit = std::get<CommandLineExit>(parse({"--version"}));
    EXPECT_EQ(exit.output, "tavelo-control-panel 1.2.3\n");
    EXPECT_EQ(exit.error, "");
    EXPECT_EQ(exit.status, 0);
}

TEST(CommandLine, HelpGoesToStandardOutputAndExitsWithStatus0) {
    const auto parsed = parse({"--help"});
    ASSERT_TRUE(std::holds_alternative<CommandLineExit>(parsed));
    const auto& exit = std::get<CommandLineExit>(parsed);
    EXPECT_EQ(exit.status, 0);
    EXPECT_THAT(exit.output, HasSubstr("--virtual-cameras"));
    EXPECT_EQ(exit.error, "");
}

class WrongArguments : public testing::TestWithParam<std::vector<const char*>> {};

TEST_P(WrongArguments, PrintOneLineOnStandardErrorAndExitWithStatus2) {
    const auto parsed = parse(GetParam());
    ASSERT_TRUE(std::holds_alternative<CommandLineExit>(parsed));
    const auto& exit = std::get<CommandLineExit>(parsed);
    EXPECT_EQ(exit.status, 2);
    EXPECT_EQ(exit.output, "");
    const std::string first = GetParam().front();
    EXPECT_THAT(exit.error, HasSubstr(first.substr(0, first.find('='))));
    EXPECT_THAT(exit.error, HasSubstr("--help"));
    EXPECT_EQ(std::ranges::count(exit.error, '\n'), 1);
    EXPECT_THAT(exit.error, EndsWith("\n"));
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongArguments,
    testing::Values(
        std::vector<const char*>{"--no-such-option"}, std::vector<const char*>{"--virtual-cameras", "0"},
        std::vector<const char*>{"--virtual-cameras", "many"},
        std::vector<const char*>{"--virtual-cameras", "99"}, std::vector<const char*>{"--virtual-cameras"},
        std::vector<const char*>{"--renderer", "vulkan"},
        std::vector<const char*>{"--transport", "bluetooth"},
        std::vector<const char*>{"--transport", "usb", "--virtual-cameras", "1"},
        std::vector<const char*>{"--transport", "usb", "--like", "/nowhere/pack.json"},
        std::vector<const char*>{"--picture", "camera"}, std::vector<const char*>{"--picture", ""},
        std::vector<const char*>{"--picture", "0"},
        std::vector<const char*>{"--picture", "v4l2", "--virtual-cameras", "1"},
        std::vector<const char*>{"--picture", "v4l2", "--like", "/nowhere/pack.json"},
        std::vector<const char*>{"--picture", "auto", "--transport", "usb"},
        std::vector<const char*>{"--like", "/nowhere/pack.json"}, std::vector<const char*>{"--like", ""},
        std::vector<const char*>{"--size", "640"}, std::vector<const char*>{"--size", "0x480"},
        std::vector<const char*>{"--size", "640x480x3"}, std::vector<const char*>{"--size", "-640x480"},
        std::vector<const char*>{"--fps", "0"}, std::vector<const char*>{"--fps", "fast"},
        std::vector<const char*>{"--fps", "nan"}, std::vector<const char*>{"--fps", "inf"},
        std::vector<const char*>{"--fps", "30x"}, std::vector<const char*>{"--fps", ""},
        std::vector<const char*>{"--format", "JPEG!"}, std::vector<const char*>{"--format", "ABCD"},
        std::vector<const char*>{"--format", "H264"}, std::vector<const char*>{"--format", ""},
        std::vector<const char*>{"--size", "640x480\n"}, std::vector<const char*>{"--size", ""},
        std::vector<const char*>{"--renderer", "1"}, std::vector<const char*>{"--renderer", ""},
        std::vector<const char*>{"--transport", "0"}, std::vector<const char*>{"--transport", ""},
        std::vector<const char*>{"--virtual-cameras", "nan"},
        std::vector<const char*>{"--virtual-cameras", "1.5"},
        std::vector<const char*>{"--size", "1x1", "--size", "2x2"},
        std::vector<const char*>{"--verbose=perhaps"}, std::vector<const char*>{"--screenshot", ""},
        std::vector<const char*>{"--snapshot", ""}, std::vector<const char*>{"--record", ""},
        std::vector<const char*>{"--camera", "0", "--snapshot", "a.png"},
        std::vector<const char*>{"--camera", "", "--snapshot", "a.png"},
        std::vector<const char*>{"--duration", "nan", "--record", "a.mp4"},
        std::vector<const char*>{"--duration", "inf", "--record", "a.mp4"},
        std::vector<const char*>{"--duration", "1e7", "--record", "a.mp4"},
        std::vector<const char*>{"--duration", "0", "--record", "a.mp4"},
        std::vector<const char*>{"--duration", "ten", "--record", "a.mp4"},
        std::vector<const char*>{"--camera", "1"}, std::vector<const char*>{"--mirror"},
        std::vector<const char*>{"--sound", "auto"},
        std::vector<const char*>{"--sound", "", "--record", "a.mp4"},
        std::vector<const char*>{"--sound", "auto", "--snapshot", "a.png"},
        std::vector<const char*>{"--duration", "3"},
        std::vector<const char*>{"--duration", "3", "--snapshot", "a.png"},
        std::vector<const char*>{"--duration", "-1", "--record", "a.mp4"},
        std::vector<const char*>{"--snapshot", "a.png", "--record", "a.mp4"},
        std::vector<const char*>{"--snapshot", "a.png", "--screenshot", "b.png"},
        std::vector<const char*>{"--record"}, std::vector<const char*>{"stray"}));

} // namespace
} // namespace tavelo
