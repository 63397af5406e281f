// SPDX-License-Identifier: MIT
// The descriptions that come with the program.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "commands/control_names.h"
#include "extensions/json/description_folders.h"
#include "platform/uvc/guid.h"
#include "platform/virtual/firmware/virtual_unit.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const fs::path project = PROJECT_FOLDER;

std::vector<ExtensionControl> shipped() {
    std::vector<std::string> warnings;
    const std::array folders{project / "resources/extension-units"};
    auto controls =
        readDescriptions(folders, isClassControl, [&](const std::string& line) { warnings.push_back(line); });
    EXPECT_THAT(warnings, IsEmpty());
    return controls;
}

std::vector<std::string> languages() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(project / "resources/strings"))
        names.push_back(entry.path().stem().string());
    EXPECT_THAT(names, SizeIs(6));
    return names;
}

const ExtensionControl& control(const std::vector<ExtensionControl>& controls, const char* guid,
                                const char* name) {
    const auto found = std::ranges::find_if(controls, [&](const ExtensionControl& each) {
        return each.unit == guidOf(guid) && each.name == name;
    });
    EXPECT_TRUE(found != controls.end()) << guid << " " << name;
    static const ExtensionControl none;
    return found != controls.end() ? *found : none;
}

TEST(ShippedDescriptions, AllAreReadAndHaveTitlesInEveryLanguage) {
    const auto controls = shipped();
    EXPECT_THAT(controls, SizeIs(10));
    for (const ExtensionControl& each : controls) {
        for (const std::string& language : languages()) {
            EXPECT_TRUE(each.titles.contains(language)) << each.name << " " << language;
            for (const ExtensionChoice& choice : each.choices)
                EXPECT_TRUE(choice.titles.contains(language)) << each.name << " " << choice.word << language;
        }
        EXPECT_THAT(each.titles, SizeIs(6)) << each.name;
    }
}

TEST(ShippedDescriptions, TheLampOfLogitechIsTheFirstByteAndItsFrequencyTheThird) {
    const auto controls = shipped();
    const auto& mode = control(controls, "63610682-5070-49ab-b8cc-b3855e8d221f", "led-mode");
    EXPECT_EQ(mode.selector, 1);
    EXPECT_EQ(mode.length, 3U);
    EXPECT_EQ(mode.field, (BitField{0, 8, false}));
    std::vector<std::string> words;
    for (const ExtensionChoice& choice : mode.choices)
        words.push_back(std::to_string(choice.value) + choice.word);
    EXPECT_THAT(words, ElementsAre("0off", "1on", "2blink", "3auto"));
    const auto& frequency = control(controls, "63610682-5070-49ab-b8cc-b3855e8d221f", "led-frequency");
    EXPECT_EQ(frequency.selector, 1);
    EXPECT_EQ(frequency.field, (BitField{16, 8, false}));
}

TEST(ShippedDescriptions, TheVideoPipeAndTheFieldOfViewAreOneByteEach) {
    const auto controls = shipped();
    const auto& colors =
        control(controls, "63610682-5070-49ab-b8cc-b3855e8d2250", "disable-color-processing");
    EXPECT_EQ(colors.selector, 5);
    EXPECT_EQ(colors.length, 1U);
    EXPECT_EQ(colors.form, ExtensionForm::toggle);
    EXPECT_EQ(control(controls, "63610682-5070-49ab-b8cc-b3855e8d2250", "raw-bits-per-pixel").selector, 8);
    const auto& view = control(controls, "49e40215-f434-47fe-b158-0e885023e51b", "field-of-view");
    EXPECT_EQ(view.selector, 5);
    EXPECT_EQ(view.length, 1U);
    ASSERT_THAT(view.choices, SizeIs(3));
    EXPECT_EQ(view.choices[2].word, "narrow");
}

TEST(ShippedDescriptions, TheVirtualCamerasUnitIsDescribedAsItIs) {
    const VirtualUnit unit;
    int described = 0;
    for (const ExtensionControl& each : shipped()) {
        if (each.unit != virtualUnitGuid) continue;
        ++described;
        EXPECT_TRUE(VirtualUnit::lists(each.selector)) << each.name;
        EXPECT_EQ(unit.read(each.selector, UvcRequest::getCur).data.size(), each.length) << each.name;
    }
    EXPECT_EQ(described, 5);
}

} // namespace
} // namespace tavelo
