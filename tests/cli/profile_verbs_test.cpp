// SPDX-License-Identifier: MIT
// profiles, apply, save, copy, export, import
#include "cli/taveloctl_fixture.h"

namespace tavelo {
namespace {

class ProfileVerbs : public TaveloctlTest {
protected:
    ProfileVerbs() {
        plug(1);
        plug(2);
    }

    std::string one(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"-c", "1"});
        return output(arguments);
    }
    std::string two(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"-c", "2"});
        return output(arguments);
    }
    std::int64_t contrastOf(int number) { return camera(number)->controlValue(control::contrast).value(); }
};

TEST_F(ProfileVerbs, ASavedProfileIsAppliedAgain) {
    one({"set", "contrast=5", "pan=3600"});
    EXPECT_EQ(one({"save", "2"}), "");
    one({"reset"});
    EXPECT_EQ(contrastOf(1), 32);
    EXPECT_EQ(one({"apply", "2"}), "");
    EXPECT_EQ(contrastOf(1), 5);
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), packPanTilt(3600, 0));
    EXPECT_EQ(one({"apply", "1"}), "") << "the others hold the camera's defaults";
    EXPECT_EQ(contrastOf(1), 32);
}

TEST_F(ProfileVerbs, AreShown) {
    EXPECT_EQ(one({"profiles"}), "No profile is stored.\n");
    EXPECT_EQ(one({"profiles", "--json"}),
              "{\"camera\":\"0x7e10000012090001\",\"profiles\":[],\"version\":1}\n");
    one({"set", "contrast=5", "tilt==-3600"});
    one({"save", "2", "--mirror", "on"});
    expectGolden("profiles.txt", one({"profiles"}));
    expectGolden("profiles.json", one({"profiles", "--json"}));
}

TEST_F(ProfileVerbs, SavingKeepsTheMirrorUnlessTold) {
    one({"save", "1", "--mirror", "on"});
    one({"save", "1"});
    EXPECT_NE(one({"profiles"}).find(" on\n"), std::string::npos);
    one({"save", "1", "--mirror", "off"});
    EXPECT_EQ(one({"profiles"}).find(" on\n"), std::string::npos);
}

TEST_F(ProfileVerbs, AMissingProfileSaysHowToMakeIt) {
    EXPECT_EQ(failure({"-c", "1", "apply", "3"}),
              "1: Tavelo Virtual Camera 1: profile 3 is not stored yet "
              "(taveloctl save 3 stores it)");
}

TEST_F(ProfileVerbs, NumbersAre1To4) {
    EXPECT_EQ(failure({"-c", "1", "apply", "0"}).substr(0, 2), "2:");
    EXPECT_EQ(failure({"-c", "1", "save", "5"}).substr(0, 2), "2:");
    EXPECT_EQ(failure({"-c", "1", "save", "1", "--mirror", "maybe"}).substr(0, 2), "2:");
}

TEST_F(ProfileVerbs, AControlThatTheCameraRefusesIsNamed) {
    one({"save", "1"});
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::zoom, .direction = FaultDirection::writes});
    EXPECT_EQ(failure({"-c", "1", "apply", "1"}), "1: Tavelo Virtual Camera 1: the camera did not take zoom");
}

TEST_F(ProfileVerbs, AProfileIsCopiedWithinACameraAndToAnother) {
    one({"set", "contrast=5"});
    one({"save", "1"});
    one({"copy", "1", "4"});
    one({"copy", "1", "2", "--to-camera", "2"});
    one({"reset"});
    one({"apply", "4"});
    EXPECT_EQ(contrastOf(1), 5);
    two({"apply", "2"});
    EXPECT_EQ(contrastOf(2), 5);
    two({"apply", "1"});
    EXPECT_EQ(contrastOf(2), 32) << "its other profiles are its own defaults";
}

TEST_F(ProfileVerbs, ExportAndImportBringThemBack) {
    one({"set", "contrast=5", "tilt==-3600"});
    one({"save", "3"});
    one({"export", file("one.json")});
    expectGolden("export.json", read(file("one.json")));
    EXPECT_EQ(one({"export"}), read(file("one.json")));
    write(preferencesFile(), "{}");
    one({"reset"});
    EXPECT_EQ(output({"import", file("one.json")}), "");
    one({"apply", "3"});
    EXPECT_EQ(contrastOf(1), 5);
    EXPECT_EQ(camera(1)->controlValue(control::panTilt), packPanTilt(0, -3600));
    EXPECT_EQ(contrastOf(2), 32);
}

TEST_F(ProfileVerbs, AFileOfOneCameraCanBeGivenToAnother) {
    one({"set", "contrast=5"});
    one({"save", "1"});
    one({"export", file("one.json")});
    two({"import", file("one.json")});
    two({"apply", "1"});
    EXPECT_EQ(contrastOf(2), 5);
}

TEST_F(ProfileVerbs, AllExportsEveryCamera) {
    EXPECT_EQ(failure({"export", "--all"}), "1: no profile is stored");
    one({"save", "1"});
    two({"save", "1"});
    output({"export", "--all", file("all.json")});
    const std::string text = read(file("all.json"));
    EXPECT_NE(text.find("0x7e10000012090001"), std::string::npos);
    EXPECT_NE(text.find("0x7e20000012090001"), std::string::npos);
    EXPECT_EQ(failure({"-c", "1", "import", file("all.json")}),
              "1: " + file("all.json") + ": holds 2 cameras; --camera needs a file with one");
}

TEST_F(ProfileVerbs, ABadFileChangesNothing) {
    one({"save", "1"});
    const std::string before = read(preferencesFile());
    write(file("bad.json"), R"({"format":"tavelo profiles","version":1,"cameras":{)"
                            R"("0x7e10000012090001":{"profiles":[{"contrast":1}]},)"
                            R"("0x7e20000012090001":{"profiles":[{"contrast":"much"}]}}})");
    EXPECT_EQ(failure({"import", file("bad.json")}),
              "1: " + file("bad.json") +
                  ": camera 0x7e20000012090001, profile 1: contrast is "
                  "no value of that control");
    EXPECT_EQ(read(preferencesFile()), before);
    EXPECT_EQ(failure({"import", file("missing.json")}),
              "1: " + file("missing.json") + ": there is no such file");
}

TEST_F(ProfileVerbs, AFileThatCannotBeWrittenIsNamed) {
    one({"save", "1"});
    EXPECT_EQ(
        failure({"-c", "1", "export", file("missing") + "/one.json"}).substr(0, file("missing").size() + 27),
        "1: " + file("missing") + "/one.json: not written: ");
}

} // namespace
} // namespace tavelo
