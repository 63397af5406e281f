// SPDX-License-Identifier: MIT
// Cameras, controls and the command line itself.
#include "cli/taveloctl_fixture.h"

namespace tavelo {
namespace {

class OneCamera : public TaveloctlTest {
protected:
    OneCamera() { plug(1); }

    std::int64_t inCamera(ControlAddress address) { return camera(1)->controlValue(address).value(); }
};

TEST_F(TaveloctlTest, HelpNamesEveryVerb) {
    expectGolden("help.txt", output({"--help"}));
}

TEST_F(TaveloctlTest, EachVerbHasItsOwnHelp) {
    for (const char* verb : {"list", "controls", "get", "set", "reset", "send", "profiles", "apply", "save",
                             "copy", "export", "import", "snapshot", "record"})
        EXPECT_NE(output({verb, "--help"}).find("Usage: taveloctl " + std::string(verb)), std::string::npos)
            << verb;
}

TEST_F(TaveloctlTest, VersionIsOneLine) {
    EXPECT_EQ(output({"--version"}), "taveloctl 1.2.3 (abc)\n");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"--version", "--json"}, {"--json", "--version"}})
        EXPECT_EQ(output(words),
                  "{\"program\":\"taveloctl\",\"release\":\"" TAVELO_VERSION "\",\"version\":1}\n");
}

TEST_F(TaveloctlTest, AWrongCommandLineIsAUsageErrorInOneLine) {
    const std::string help = " (taveloctl --help lists the verbs, taveloctl VERB --help their options)";
    EXPECT_EQ(failure({}), "2: A verb is required" + help);
    EXPECT_EQ(failure({"paint"}), "2: The following argument was not expected: paint" + help);
    EXPECT_EQ(failure({"list", "--colour"}), "2: The following argument was not expected: --colour" + help);
    EXPECT_EQ(failure({"get"}), "2: control is required" + help);
    EXPECT_EQ(failure({"--virtual-cameras", "0", "list"}).substr(0, 20), "2: --virtual-cameras");
    EXPECT_EQ(failure({"--transport", "pigeon", "list"}).substr(0, 14), "2: --transport");
}

TEST_F(TaveloctlTest, WithoutCamerasTheListSaysSoAndIsNoFailure) {
    EXPECT_EQ(output({"list"}), "No camera is plugged in.\n");
    EXPECT_EQ(output({"list", "--json"}), "{\"cameras\":[],\"version\":1}\n");
}

TEST_F(TaveloctlTest, WithoutCamerasEveryOtherVerbHasStatus3) {
    for (const std::vector<std::string>& verb :
         std::vector<std::vector<std::string>>{{"controls"},
                                               {"get", "zoom"},
                                               {"set", "zoom=1"},
                                               {"reset"},
                                               {"send"},
                                               {"profiles"},
                                               {"apply", "1"},
                                               {"save", "1"},
                                               {"copy", "1", "2"},
                                               {"export"},
                                               {"snapshot", "picture.png"},
                                               {"record", "movie.mp4"}})
        EXPECT_EQ(failure(verb), "3: no camera is plugged in") << verb.front();
}

TEST_F(OneCamera, IsListed) {
    expectGolden("list.txt", output({"list"}));
    expectGolden("list.json", output({"list", "--json"}));
}

TEST_F(OneCamera, ControlsAreListed) {
    expectGolden("controls.txt", output({"controls"}));
    expectGolden("controls.json", output({"--json", "controls"}));
}

TEST_F(OneCamera, GetPrintsOneValueALine) {
    EXPECT_EQ(output({"get", "zoom"}), "100\n");
    EXPECT_EQ(output({"get", "focus_auto", "power-line-frequency", "pan"}), "on\n50hz\n0\n");
    EXPECT_EQ(output({"get", "--json", "zoom", "focus-auto", "power-line-frequency"}),
              "{\"camera\":\"0x7e10000012090001\",\"values\":{\"focus-auto\":true,\"power-line-frequency\":"
              "\"50hz\",\"zoom\":100},\"version\":1}\n");
}

TEST_F(OneCamera, GetOfAnUnknownNameIsAUsageError) {
    EXPECT_EQ(failure({"get", "zoom", "zooom"}),
              "2: no control is called \"zooom\" (taveloctl controls lists the names)");
}

TEST_F(OneCamera, WhatIsWrongIsOneLineWhateverTheArgumentsAre) {
    EXPECT_EQ(failure({"get", "zo\nom\x1B"}),
              "2: no control is called \"zo om \" (taveloctl controls lists the names)");
}

TEST_F(OneCamera, SetWritesEachValueAndIsSilent) {
    EXPECT_EQ(output({"set", "brightness=12", "zoom=50%"}), "");
    EXPECT_EQ(inCamera(control::brightness), 12);
    EXPECT_EQ(inCamera(control::zoom), 250);
    EXPECT_EQ(output({"get", "brightness"}), "12\n");
}

TEST_F(OneCamera, SetWithJsonPrintsWhatTheCameraTook) {
    EXPECT_EQ(output({"--json", "set", "brightness=12", "focus-auto=off"}),
              "{\"camera\":\"0x7e10000012090001\",\"values\":{\"brightness\":12,\"focus-auto\":false},"
              "\"version\":1}\n");
}

TEST_F(OneCamera, SetSaysWhyAValueIsRefused) {
    EXPECT_EQ(failure({"set", "brightness=65"}), "1: brightness: 65 is not possible: it goes from -64 to 64");
    EXPECT_EQ(failure({"set", "focus=5"}),
              "1: focus: focus-auto sets it; turn that off with focus-auto=off, or use --force");
    EXPECT_EQ(failure({"set", "brightness"}), "2: \"brightness\" is not NAME=VALUE");
    EXPECT_EQ(output({"set", "--force", "focus=5"}), "");
    EXPECT_EQ(inCamera(control::focus), 5);
}

TEST_F(OneCamera, ACameraThatRefusesIsNamedAsTheReason) {
    camera(1)->order({.kind = FaultKind::stall, .direction = FaultDirection::writes});
    EXPECT_EQ(failure({"set", "contrast=5"}), "1: contrast: the camera refused 5");
}

TEST_F(OneCamera, ResetWritesTheDefaults) {
    output({"set", "contrast=5", "--force", "focus=50"});
    EXPECT_EQ(output({"reset"}), "");
    EXPECT_EQ(inCamera(control::contrast), 32);
    EXPECT_EQ(inCamera(control::autoFocus), 1);
}

TEST_F(OneCamera, SendWritesTheValuesThatItHolds) {
    output({"set", "contrast=5"});
    camera(1)->clearRequestLog();
    EXPECT_EQ(output({"send"}), "");
    std::size_t writes = 0;
    for (const RequestRecord& request : camera(1)->requestLog())
        writes += request.setup.bRequest == codeOf(UvcRequest::setCur) ? 1 : 0;
    EXPECT_EQ(writes, 19U) << "all but roll, and the two that automatics rule";
    EXPECT_EQ(inCamera(control::contrast), 5);
}

TEST_F(TaveloctlTest, AControllessCameraSaysSo) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.extensionUnitID = 0;
    plug(model);
    camera(1)->order({.kind = FaultKind::stall});
    EXPECT_EQ(failure({"get", "zoom"}),
              "1: Tavelo Virtual Camera 1: it has no controls, or does not answer "
              "(taveloctl probe says which)");
}

TEST_F(TaveloctlTest, ACameraWithoutAPictureIsNamedBeforeTheControlPanelIsStarted) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.offers.clear();
    plug(model);
    EXPECT_EQ(failure({"snapshot", "picture.png"}),
              "1: Tavelo Virtual Camera 1: The camera offers no picture");
    EXPECT_EQ(failure({"record", "movie.mp4"}), "1: Tavelo Virtual Camera 1: The camera offers no picture");
}

TEST_F(TaveloctlTest, TheCameraIsChosenByNumberIdentifierOrName) {
    plug(1);
    plug(2);
    output({"-c", "2", "set", "contrast=5"});
    EXPECT_EQ(camera(2)->controlValue(control::contrast), 5);
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 32);
    EXPECT_EQ(output({"get", "contrast", "--camera", "0x7e20000012090001"}), "5\n");
    EXPECT_EQ(output({"--camera=camera 2", "get", "contrast"}), "5\n");
    EXPECT_EQ(failure({"get", "contrast"}),
              "2: there are 2 cameras: choose one with --camera (taveloctl list shows them)");
    EXPECT_EQ(failure({"-c", "3", "get", "contrast"}), "3: no camera 3: there are 2");
}

} // namespace
} // namespace tavelo
