// SPDX-License-Identifier: MIT
#include "commands/control_names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tavelo {
namespace {

std::string controlOf(std::string_view name) {
    const NamedControl* control = controlNamed(name);
    return control != nullptr ? std::string(control->name) : "none";
}

TEST(ControlNames, EveryControlOfTheTableHasOne) {
    std::set<KTUVCControl> named;
    for (const NamedControl& each : namedControls())
        named.insert(each.control.value());
    EXPECT_EQ(named.size(), controlCount);
}

TEST(ControlNames, NoNameOrAliasMeansTwoControls) {
    std::set<std::string_view> seen;
    for (const NamedControl& each : namedControls()) {
        EXPECT_TRUE(seen.insert(each.name).second) << each.name;
        EXPECT_EQ(controlNamed(each.name), &each);
        for (const std::string_view alias : each.aliases) {
            if (alias.empty()) continue;
            EXPECT_TRUE(seen.insert(alias).second) << alias;
            EXPECT_EQ(controlNamed(alias), &each) << alias;
        }
    }
}

TEST(ControlNames, OtherProgramsNamesAreKnown) {
    EXPECT_EQ(controlOf("exposure_time_absolute"), "exposure-time");
    EXPECT_EQ(controlOf("white_balance_automatic"), "white-balance-temperature-auto");
    EXPECT_EQ(controlOf("focus_automatic_continuous"), "focus-auto");
    EXPECT_EQ(controlOf("pan_absolute"), "pan");
    EXPECT_EQ(controlOf("exposure_dynamic_framerate"), "auto-exposure-priority");
}

TEST(ControlNames, CaseHyphensAndUnderscoresDoNotMatter) {
    EXPECT_EQ(controlOf("Power_Line-FREQUENCY"), "power-line-frequency");
}

TEST(ControlNames, OtherWordsNameNone) {
    EXPECT_EQ(controlOf(""), "none");
    EXPECT_EQ(controlOf("brightnes"), "none");
    EXPECT_EQ(controlOf("brightness "), "none");
}

TEST(ControlNames, PanIsTheLowHalfAndTiltTheHighOne) {
    const auto value = static_cast<std::int64_t>(0xFFFF'FFFE'0000'0003ULL);
    EXPECT_EQ(shareOf(*controlNamed("pan"), value), 3);
    EXPECT_EQ(shareOf(*controlNamed("tilt"), value), -2);
    EXPECT_EQ(shareOf(*controlNamed("zoom"), value), value);
}

TEST(ControlNames, AValueWithoutAWordIsANumber) {
    EXPECT_EQ(valueText(*controlNamed("power-line-frequency"), 2), "60hz");
    EXPECT_EQ(valueText(*controlNamed("power-line-frequency"), 9), "9");
    EXPECT_EQ(valueText(*controlNamed("brightness"), -5), "-5");
    EXPECT_EQ(valueText(*controlNamed("hue-auto"), 1), "on");
    EXPECT_EQ(valueText(*controlNamed("auto-exposure-mode"), 8), "aperture-priority");
}

} // namespace
} // namespace tavelo
