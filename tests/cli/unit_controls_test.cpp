// SPDX-License-Identifier: MIT
// Controls of extension units on the command line.
#include <gmock/gmock.h>

#include <filesystem>

#include "cli/completion.h"
#include "cli/taveloctl_fixture.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class UnitControls : public TaveloctlTest {
protected:
    UnitControls() { plug(1); }

    void describe(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(file("units"));
        write(file("units/" + name), text);
    }

    static std::string description(const std::string& name, const std::string& length) {
        return R"({"format": "tavelo extension unit", "version": 1,
                   "guid": "7a1d4c3e-52b8-4f06-9d2a-c0e5b91f6a48",
                   "controls": [{"name": ")" +
               name + R"(", "titles": {"en": "X"}, "selector": 2, "type": "number", "length": )" + length +
               "}]}";
    }

    std::vector<std::string> completed(std::vector<std::string> line) {
        line.insert(line.begin(), completionVerb);
        const Called called = call(line);
        EXPECT_EQ(called.error, "");
        EXPECT_THAT(called.warnings, IsEmpty()) << "a shell shows no messages";
        std::istringstream lines(called.output);
        std::vector<std::string> found;
        for (std::string each; std::getline(lines, each);)
            found.push_back(each);
        return found;
    }
};

TEST_F(UnitControls, AreSetAndRead) {
    EXPECT_EQ(output({"set", "lamp-mode=blink", "lamp-frequency=25%", "warmth==-4", "hdr=on"}), "");
    EXPECT_EQ(output({"get", "lamp-mode", "lamp_frequency", "warmth", "hdr", "brightness"}),
              "blink\n51\n-4\non\n0\n");
    EXPECT_EQ(output({"set", "lamp-frequency=+1", "lamp-mode=default"}), "");
    EXPECT_EQ(output({"--json", "get", "lamp-mode", "lamp-frequency", "hdr"}),
              "{\"camera\":\"0x7e10000012090001\",\"values\":{\"hdr\":true,\"lamp-frequency\":52,"
              "\"lamp-mode\":\"off\"},\"version\":1}\n");
}

TEST_F(UnitControls, SetWithJsonPrintsWhatTheCameraTook) {
    EXPECT_EQ(
        output({"--json", "set", "lamp-mode=on", "hdr=on", "warmth=2"}),
        "{\"camera\":\"0x7e10000012090001\",\"values\":{\"hdr\":true,\"lamp-mode\":\"on\",\"warmth\":2},"
        "\"version\":1}\n");
}

TEST_F(UnitControls, AreRefusedInWords) {
    EXPECT_EQ(failure({"set", "lamp-mode=dim"}),
              "2: lamp-mode: \"dim\" is not off, on, blink, its number or default");
    EXPECT_EQ(failure({"set", "brightness=5", "lamp-frequency=201"}),
              "1: lamp-frequency: 201 is not possible: it goes from 1 to 200");
    EXPECT_EQ(output({"get", "brightness"}), "0\n") << "none is set";
    EXPECT_EQ(failure({"get", "led-mode"}),
              "1: the camera has no led-mode (taveloctl controls lists what it has)");
    EXPECT_EQ(failure({"get", "lamp"}),
              "2: no control is called \"lamp\" (taveloctl controls lists the names)");
}

TEST_F(UnitControls, ANameOfSeveralUnitsIsTheChosenCameras) {
    EXPECT_EQ(output({"set", "field-of-view=narrow"}), "");
    EXPECT_EQ(output({"get", "field-of-view"}), "narrow\n");
    plug(2);
    EXPECT_EQ(failure({"get", "field-of-view"}),
              "2: there are 2 cameras: choose one with --camera (taveloctl list shows them)");
    EXPECT_EQ(output({"-c", "2", "get", "field-of-view"}), "wide\n");
}

TEST_F(UnitControls, ANameOfSeveralUnitsHasTheWordsOfTheChosenCameras) {
    describe("logitech-brio.json", R"({"format": "tavelo extension unit", "version": 1,
        "guid": "00000000-0000-0000-0000-000000000001",
        "controls": [{"name": "field-of-view", "titles": {"en": "X"}, "selector": 1, "length": 1, "type": "choice",
                      "choices": [{"value": 0, "word": "round", "titles": {"en": "R"}}]}]})");
    EXPECT_EQ(output({"set", "field-of-view=narrow"}), "");
    EXPECT_EQ(output({"get", "field-of-view"}), "narrow\n");
    EXPECT_THAT(failure({"set", "field-of-view=round"}), HasSubstr("2: field-of-view: \"round\" is not "));
}

TEST_F(UnitControls, AWrongWordIsSaidBeforeACameraIsLookedFor) {
    camera(1)->vanish();
    EXPECT_EQ(failure({"set", "brightness=wide"}).substr(0, 15), "2: brightness: ");
    EXPECT_EQ(failure({"set", "hdr=dim"}).substr(0, 8), "2: hdr: ");
    EXPECT_EQ(failure({"set", "lamp-mode=dim"}).substr(0, 14), "2: lamp-mode: ");
    EXPECT_EQ(failure({"set", "hdr=on"}), "3: no camera is plugged in");
}

TEST_F(UnitControls, AreReachedInACameraThatHasNoOthers) {
    camera(1)->order({.kind = FaultKind::stall});
    EXPECT_EQ(output({"set", "lamp-mode=blink"}), "");
    EXPECT_EQ(output({"get", "lamp-mode"}), "blink\n");
    EXPECT_THAT(output({"controls"}), AllOf(HasSubstr("lamp-frequency"), Not(HasSubstr("brightness"))));
    EXPECT_THAT(completed({"get", "lamp-m"}), ElementsAre("lamp-mode\tblink"));
    EXPECT_EQ(failure({"get", "zoom"}), "1: the camera has no zoom (taveloctl controls lists what it has)");
    for (const std::vector<std::string>& verb :
         std::vector<std::vector<std::string>>{{"reset"}, {"send"}, {"save", "1"}})
        EXPECT_THAT(failure(verb), HasSubstr("it has no controls")) << "of the class: " << verb.front();
}

TEST_F(UnitControls, ABadDescriptionIsALineAndTheOthersCount) {
    describe("bad.json", "{\n");
    describe("mine.json", description("view-number", "1"));
    const Called called = call({"get", "view-number", "lamp-mode"});
    EXPECT_EQ(called.status, 0) << called.error;
    EXPECT_EQ(called.output, "0\noff\n");
    EXPECT_THAT(called.warnings,
                ElementsAre(file("units/bad.json") + ": line 2: it is no JSON from here on"));
    EXPECT_THAT(call({"controls"}).warnings, SizeIs(1));
    EXPECT_THAT(call({"get", "brightness"}).warnings, IsEmpty()) << "a name of the class needs no file";
    EXPECT_THAT(completed({"get", "view"}), ElementsAre("view-number\t0"));
}

TEST_F(UnitControls, ADescriptionOfAnotherLengthIsRefused) {
    describe("mine.json", description("view-number", "2"));
    EXPECT_EQ(failure({"set", "view-number=1"}),
              "1: view-number: its value has 1 bytes in this camera, and 2 in its description "
              "(taveloctl controls lists what it has)");
    EXPECT_THAT(output({"controls"}), Not(HasSubstr("view-number")));
}

TEST_F(UnitControls, TheUsersDescriptionReplacesTheProgramsOfItsName) {
    describe("tavelo-virtual-camera.json", description("view-number", "1"));
    EXPECT_EQ(output({"get", "view-number"}), "0\n");
    EXPECT_EQ(failure({"get", "lamp-mode"}),
              "2: no control is called \"lamp-mode\" (taveloctl controls lists the names)");
}

TEST_F(UnitControls, AreCompleted) {
    EXPECT_THAT(completed({"get", "lamp"}), ElementsAre("lamp-mode\toff", "lamp-frequency\t10"));
    EXPECT_THAT(completed({"set", "hd"}), ElementsAre("hdr=\toff"));
    EXPECT_THAT(completed({"set", "lamp-mode="}),
                ElementsAre("lamp-mode=off", "lamp-mode=on", "lamp-mode=blink", "lamp-mode=default\toff"));
    EXPECT_THAT(completed({"get", "led"}), IsEmpty()) << "the camera has no such unit";
}

TEST_F(UnitControls, ResetAndSendLeaveThemAlone) {
    output({"set", "lamp-mode=blink"});
    output({"reset"});
    output({"send"});
    EXPECT_EQ(output({"get", "lamp-mode"}), "blink\n");
}

} // namespace
} // namespace tavelo
