// SPDX-License-Identifier: MIT
#include "app/resources/string_table.h"

#include <gmock/gmock.h>

namespace tavelo {
namespace {

using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

TEST(StringTable, HasTextsAndThePlaceInTheMenu) {
    const StringTable table =
        stringTableOf("de", R"({"menu_position": 3, "Zoom": "Zoom", "Hue": "Farbton"})");
    EXPECT_EQ(table.localization, "de");
    EXPECT_EQ(table.position, 3);
    EXPECT_THAT(table.texts, UnorderedElementsAre(Pair("Zoom", "Zoom"), Pair("Hue", "Farbton")));
}

TEST(StringTable, LeavesOutWhatIsNoText) {
    const StringTable table = stringTableOf(
        "de", R"({"menu_position": "3", "a": 1, "b": null, "c": ["d"], "e": {"f": "g"}, "h": ""})");
    EXPECT_EQ(table.position, 0);
    EXPECT_THAT(table.texts, UnorderedElementsAre(Pair("menu_position", "3"), Pair("h", "")));
}

TEST(StringTable, IsEmptyIfTheFileIsNoObject) {
    for (const char* json : {"", "[\"a\"]", "\"a\"", "{\"a\": \"b\"", "{\"a\": \"b\"} c", "\xFF\xFE"}) {
        const StringTable table = stringTableOf("de", json);
        EXPECT_EQ(table.localization, "de");
        EXPECT_EQ(table.position, 0);
        EXPECT_THAT(table.texts, IsEmpty()) << json;
    }
}

} // namespace
} // namespace tavelo
