// SPDX-License-Identifier: MIT
#include "platform/common/microphone_choice.h"

#include <gmock/gmock.h>

namespace tavelo::testing {
namespace {

using Kind = SoundChoice::Kind;

const std::vector<Microphone> microphones{
    {"alsa.built-in", "Built-in Audio", ""},
    {"alsa.headset", "alsa.camera", "1-3"},
    {"alsa.camera", "Camera", "1-4.2"},
    {"alsa.hub", "Dock", "1-4"},
};

std::string chosen(const SoundChoice& choice, std::string_view place = "1-4.2") {
    Error error;
    const auto microphone = chooseMicrophone(microphones, choice, place, error);
    return microphone ? microphone->name : "none: " + error.text;
}

TEST(MicrophoneChoice, TextsNameChoices) {
    EXPECT_EQ(soundChoiceOf("off"), (SoundChoice{Kind::off}));
    EXPECT_EQ(soundChoiceOf("auto"), (SoundChoice{Kind::automatic}));
    EXPECT_EQ(soundChoiceOf("Auto"), (SoundChoice{Kind::named, "Auto"}));
    EXPECT_EQ(soundChoiceOf("My microphone"), (SoundChoice{Kind::named, "My microphone"}));
    EXPECT_EQ(soundChoiceOf(""), std::nullopt);
}

TEST(MicrophoneChoice, AutomaticIsTheMicrophoneOfTheSameDevice) {
    EXPECT_EQ(chosen({Kind::automatic}), "alsa.camera");
    EXPECT_EQ(chosen({Kind::automatic}, "1-4"), "alsa.hub");
    EXPECT_EQ(chosen({Kind::automatic}, "1-4.3"), "none: the camera has no microphone of its own");
}

TEST(MicrophoneChoice, ACameraWithoutAPlaceHasNoMicrophone) {
    EXPECT_EQ(chosen({Kind::automatic}, ""), "none: the camera has no microphone of its own");
}

TEST(MicrophoneChoice, ANameIsTheSystemsOrTheDescription) {
    EXPECT_EQ(chosen({Kind::named, "alsa.built-in"}), "alsa.built-in");
    EXPECT_EQ(chosen({Kind::named, "Dock"}), "alsa.hub");
    EXPECT_EQ(chosen({Kind::named, "alsa.camera"}), "alsa.camera") << "a name comes before a description";
}

TEST(MicrophoneChoice, AnUnknownNameIsAnErrorThatSaysWhatThereIs) {
    EXPECT_EQ(
        chosen({Kind::named, "Camer"}),
        "none: there is no microphone Camer (there is: alsa.built-in, alsa.headset, alsa.camera, alsa.hub)");
    Error error;
    EXPECT_FALSE(chooseMicrophone({}, {Kind::named, "a"}, "", error));
    EXPECT_EQ(error.text, "there is no microphone a (there is: none)");
    EXPECT_EQ(error.code, ErrorCode::gone);
}

} // namespace
} // namespace tavelo::testing
