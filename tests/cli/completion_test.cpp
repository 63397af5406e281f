// SPDX-License-Identifier: MIT
#include "cli/completion.h"

#include <algorithm>

#include "cli/taveloctl_fixture.h"
#include "support/fake_sounds.h"

namespace tavelo {
namespace {

class CompletionTest : public TaveloctlTest {
protected:
    CompletionTest() {
        plug(1);
        plug(2);
    }

    /// The candidates' words for a command line; the last word is being typed.
    std::vector<std::string> words(std::vector<std::string> line) {
        line.insert(line.begin(), completionVerb);
        std::istringstream lines(output(line));
        std::vector<std::string> found;
        for (std::string each; std::getline(lines, each);)
            found.push_back(each.substr(0, each.find('\t')));
        return found;
    }
    bool offers(const std::vector<std::string>& line, const std::string& word) {
        const auto found = words(line);
        return std::ranges::find(found, word) != found.end();
    }
    using Words = std::vector<std::string>;
};

TEST_F(CompletionTest, VerbsComeFirst) {
    EXPECT_EQ(words({"pro"}), (Words{"profiles", "probe"}));
    EXPECT_EQ(words({"re"}), (Words{"reset", "record"}));
    EXPECT_GE(words({""}).size(), 14U);
    EXPECT_FALSE(offers({""}, completionVerb));
}

TEST_F(CompletionTest, AVerbAfterOptionsWithValues) {
    EXPECT_EQ(words({"-c", "2", "--json", "prof"}), Words{"profiles"});
}

TEST_F(CompletionTest, CamerasFollowTheirOption) {
    EXPECT_EQ(words({"--camera", ""}), (Words{"0x7e10000012090001", "0x7e20000012090001"}));
    EXPECT_EQ(words({"get", "-c", "0x7e2"}), Words{"0x7e20000012090001"});
    EXPECT_EQ(words({"copy", "1", "2", "--to-camera", "0x7e1"}), Words{"0x7e10000012090001"});
}

TEST_F(CompletionTest, MakesNoMoreVirtualCamerasThanTheVerbsDo) {
    for (const auto& [typed, made] : std::vector<std::pair<std::string, int>>{
             {"1", 1}, {"8", 8}, {"9", 0}, {"0", 0}, {"-1", 0}, {"2x", 0}, {"2000000000", 0}, {"", 0}}) {
        words({"--virtual-cameras", typed, "-c", "1", "get", "zoom"});
        EXPECT_EQ(virtualCameras(), made) << typed;
    }
}

TEST_F(CompletionTest, ControlsFollowGet) {
    EXPECT_EQ(words({"-c", "1", "get", "focus"}), (Words{"focus-auto", "focus"}));
    EXPECT_EQ(words({"-c", "1", "get", "zoom", "hue-"}), Words{"hue-auto"});
    EXPECT_EQ(words({"get", "focus"}), Words()) << "two cameras, none chosen";
}

TEST_F(CompletionTest, ControlsOfSetEndInAnEqualsSign) {
    EXPECT_EQ(words({"-c", "1", "set", "bri"}), Words{"brightness="});
}

TEST_F(CompletionTest, MenuWordsFollowTheEqualsSign) {
    EXPECT_EQ(words({"-c", "1", "set", "power-line-frequency=5"}), Words{"power-line-frequency=50hz"});
    EXPECT_EQ(words({"-c", "1", "set", "focus-auto="}),
              (Words{"focus-auto=off", "focus-auto=on", "focus-auto=default"}));
    EXPECT_EQ(words({"-c", "1", "set", "zoom="}), Words{"zoom=default"});
    EXPECT_EQ(words({"-c", "1", "set", "nothing="}), Words());
}

TEST_F(CompletionTest, ProfilesFollowTheirVerbs) {
    EXPECT_EQ(words({"apply", ""}), (Words{"1", "2", "3", "4"}));
    EXPECT_EQ(words({"save", "3"}), Words{"3"});
    EXPECT_EQ(words({"copy", "1", ""}), (Words{"1", "2", "3", "4"}));
    EXPECT_EQ(words({"watch", ""}), (Words{"1", "2", "3", "4"}));
    EXPECT_EQ(words({"watch", "1", ""}), Words());
    EXPECT_EQ(words({"apply", "1", ""}), Words());
    EXPECT_EQ(words({"copy", "1", "2", ""}), Words());
}

TEST_F(CompletionTest, OptionsStartWithAHyphen) {
    EXPECT_TRUE(offers({"set", "--f"}, "--force"));
    EXPECT_FALSE(offers({"get", "--f"}, "--force"));
    EXPECT_TRUE(offers({"get", "--"}, "--camera"));
    EXPECT_EQ(words({"--tra"}), Words{"--transport"});
}

TEST_F(CompletionTest, ValuesOfOptionsAreOffered) {
    EXPECT_EQ(words({"--transport", ""}), (Words{"kernel", "usb"}));
    EXPECT_EQ(words({"save", "1", "--mirror", ""}), (Words{"on", "off"}));
    EXPECT_EQ(words({"snapshot", "--picture", ""}), (Words{"auto", "pipewire", "v4l2"}));
    EXPECT_EQ(words({"record", "a.mp4", "--sound", ""}), (Words{"off", "auto"}));
}

TEST_F(CompletionTest, MicrophonesAreOfferedByName) {
    const auto sounds = std::make_shared<testing::FakeSounds>();
    sounds->list = {{"alsa.camera", "Camera", ""}, {"alsa.built-in", "Built-in Audio", ""}};
    sounds_ = sounds;
    EXPECT_EQ(words({"record", "a.mp4", "--sound", "alsa"}), (Words{"alsa.camera", "alsa.built-in"}));
    sounds->listError = {ErrorCode::failed, "there is no service"};
    EXPECT_EQ(words({"record", "a.mp4", "--sound", ""}), (Words{"off", "auto"}));
}

TEST_F(CompletionTest, EachCandidateHasItsMeaning) {
    EXPECT_EQ(output({completionVerb, "-c", "1", "get", "zoo"}), "zoom\t100\n");
    EXPECT_EQ(output({completionVerb, "-c", "0x7e2"}), "0x7e20000012090001\tTavelo Virtual Camera 2\n");
}

TEST_F(CompletionTest, NothingToCompleteIsNoFailure) {
    EXPECT_EQ(words({}), words({""}));
    EXPECT_EQ(words({"list", ""}), Words());
}

} // namespace
} // namespace tavelo
