// SPDX-License-Identifier: MIT
#include "extensions/json/description_reader.h"

#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/uvc/guid.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Json = nlohmann::json;

bool nothingIsReserved(std::string_view /*name*/) {
    return false;
}

// A description with one control of each type, for a test to spoil.
Json good() {
    return Json::parse(R"({
        "format": "tavelo extension unit", "version": 1, "guid": "63610682-5070-49ab-b8cc-b3855e8d221f",
        "controls": [
            {"name": "lamp", "titles": {"en": "Lamp", "zh-Hans": "灯"}, "selector": 1, "length": 3,
             "first_bit": 4, "bits": 6, "type": "choice", "default": "blink",
             "choices": [{"value": 0, "word": "off", "titles": {"en": "Off"}},
                         {"value": 2, "word": "blink", "titles": {"en": "Blink"}}]},
            {"name": "tone", "titles": {"en": "Tone"}, "selector": 2, "length": 2, "type": "signed number",
             "unit": "K", "minimum": -5, "maximum": 100, "step": 5, "default": 10},
            {"name": "hdr", "titles": {"en": "HDR"}, "selector": 255, "length": 1, "first_bit": 7,
             "type": "switch", "default": true}
        ]})");
}

std::optional<std::vector<ExtensionControl>> read(const Json& json, std::string& reason) {
    return readDescription(json.dump(), nothingIsReserved, reason);
}

std::string mistakeIn(const Json& json) {
    std::string reason;
    EXPECT_FALSE(read(json, reason));
    EXPECT_THAT(reason, Not(HasSubstr("\n")));
    return reason;
}

TEST(DescriptionReader, ReadsEveryKindOfControl) {
    std::string reason = "untouched";
    const auto controls = read(good(), reason);
    ASSERT_TRUE(controls) << reason;
    EXPECT_EQ(reason, "");
    ASSERT_THAT(*controls, SizeIs(3));
    const ExtensionControl& lamp = (*controls)[0];
    EXPECT_EQ(guidText(lamp.unit), "63610682-5070-49ab-b8cc-b3855e8d221f");
    EXPECT_EQ(lamp.unit[0], 0x82) << "the least significant byte of the first group is first";
    EXPECT_EQ(lamp.name, "lamp");
    EXPECT_THAT(lamp.titles, ElementsAre(Pair("en", "Lamp"), Pair("zh-Hans", "灯")));
    EXPECT_EQ(lamp.selector, 1);
    EXPECT_EQ(lamp.length, 3U);
    EXPECT_EQ(lamp.field, (BitField{4, 6, false}));
    EXPECT_EQ(lamp.form, ExtensionForm::choice);
    ASSERT_THAT(lamp.choices, SizeIs(2));
    EXPECT_EQ(lamp.choices[1].value, 2);
    EXPECT_EQ(lamp.choices[1].word, "blink");
    EXPECT_EQ(titleIn(lamp.choices[1].titles, "en"), "Blink");
    EXPECT_EQ(lamp.defaultValue, 2);
    const ExtensionControl& tone = (*controls)[1];
    EXPECT_EQ(tone.field, (BitField{0, 16, true})) << "the whole value";
    EXPECT_EQ(tone.form, ExtensionForm::number);
    EXPECT_EQ(tone.measure, "K");
    EXPECT_EQ(tone.minimum, -5);
    EXPECT_EQ(tone.maximum, 100);
    EXPECT_EQ(tone.step, 5);
    EXPECT_EQ(tone.defaultValue, 10);
    const ExtensionControl& hdr = (*controls)[2];
    EXPECT_EQ(hdr.selector, 255);
    EXPECT_EQ(hdr.field, (BitField{7, 1, false}));
    EXPECT_EQ(hdr.form, ExtensionForm::toggle);
    EXPECT_EQ(hdr.defaultValue, 1);
    EXPECT_FALSE(hdr.minimum);
}

TEST(DescriptionReader, WhatIsLeftOutIsAbsent) {
    Json json = good();
    for (const char* key : {"unit", "minimum", "maximum", "step", "default"})
        json["controls"][1].erase(key);
    json["controls"][2].erase("default");
    std::string reason;
    const auto controls = read(json, reason);
    ASSERT_TRUE(controls) << reason;
    EXPECT_EQ((*controls)[1].measure, "");
    EXPECT_FALSE((*controls)[1].minimum || (*controls)[1].maximum || (*controls)[1].step);
    EXPECT_FALSE((*controls)[1].defaultValue || (*controls)[2].defaultValue);
}

TEST(DescriptionReader, TheExampleOfTheManualIsRead) {
    std::ifstream file(PROJECT_FOLDER "/docs/extension-units.md");
    std::stringstream text;
    text << file.rdbuf();
    const std::string manual = text.str();
    const std::size_t begin = manual.find("```json\n") + 8;
    ASSERT_LT(begin, manual.size());
    std::string reason;
    const auto controls =
        readDescription(manual.substr(begin, manual.find("```", begin) - begin), nothingIsReserved, reason);
    ASSERT_TRUE(controls) << reason;
    ASSERT_THAT(*controls, SizeIs(2));
    EXPECT_EQ((*controls)[0].name, "lamp-mode");
    EXPECT_EQ((*controls)[1].field, (BitField{16, 8, false}));
}

TEST(DescriptionReader, NamesTheLineOfWhatIsNoJson) {
    const auto reasonFor = [](std::string_view text) {
        std::string reason;
        EXPECT_FALSE(readDescription(text, nothingIsReserved, reason));
        return reason;
    };
    EXPECT_EQ(reasonFor("{\n  \"format\": \"x\",\n  version\n}\n"), "line 3: it is no JSON from here on");
    EXPECT_EQ(reasonFor("{\"version\": 1e999}"), "a number is too large");
    EXPECT_EQ(reasonFor(""), "line 1: it is no JSON from here on");
    EXPECT_EQ(reasonFor("{\"a\": \"\xFF\"}"), "line 1: it is no JSON from here on");
    EXPECT_EQ(reasonFor("{\"a\": 1, \"a\": 2}"), "\"a\" stands twice in one object");
    EXPECT_EQ(reasonFor("{\"a\": {\"b\": 1}, \"b\": {\"a\": 2}}"), "the key \"a\" is unknown");
    EXPECT_EQ(reasonFor(std::string(20, '[') + std::string(20, ']')), "more levels than a description has");
    EXPECT_EQ(reasonFor("[]"), "it is no object");
    EXPECT_EQ(reasonFor(std::string(longestDescription + 1, ' ')), "it is longer than 256 KiB");
}

struct Spoiled {
    const char* pointer; ///< to the value that is replaced, or added
    const char* value;   ///< JSON; empty: the value is removed
    const char* reason;
};

class SpoiledDescription : public ::testing::TestWithParam<Spoiled> {};

TEST_P(SpoiledDescription, IsRefusedWithItsReason) {
    Json json = good();
    const Json::json_pointer pointer(GetParam().pointer);
    if (*GetParam().value != '\0')
        json[pointer] = Json::parse(GetParam().value);
    else
        json[pointer.parent_pointer()].erase(pointer.back());
    EXPECT_EQ(mistakeIn(json), GetParam().reason);
}

constexpr const char* wordRule = "only a to z, digits and single hyphens between them are possible";

INSTANTIATE_TEST_SUITE_P(
    File, SpoiledDescription,
    ::testing::Values(
        Spoiled{"/format", R"("tavelo profiles")", "format: it is not \"tavelo extension unit\""},
        Spoiled{"/format", "", "format: missing"},
        Spoiled{"/version", "2", "version: this program reads version 1"},
        Spoiled{"/version", "\"1\"", "version: it is no whole number from 0 to 2147483647"},
        Spoiled{"/guid", R"("63610682")", "guid: it is none, such as 63610682-5070-49ab-b8cc-b3855e8d221f"},
        Spoiled{"/guid", R"("63610682-5070-49ab-b8cc-b3855e8d221g")",
                "guid: it is none, such as 63610682-5070-49ab-b8cc-b3855e8d221f"},
        Spoiled{"/guid", "", "guid: missing"}, Spoiled{"/note", "5", "note: it is no text"},
        Spoiled{"/extra", "5", "the key \"extra\" is unknown"},
        Spoiled{"/controls", "{}", "controls: it is no list of 1 to 64"},
        Spoiled{"/controls", "[]", "controls: it is no list of 1 to 64"},
        Spoiled{"/controls/1", "5", "control 2: it is no object"}));

INSTANTIATE_TEST_SUITE_P(
    Control, SpoiledDescription,
    ::testing::Values(
        Spoiled{"/controls/1/minimun", "5", "control 2: the key \"minimun\" is unknown"},
        Spoiled{"/controls/1/name", "", "control 2: name: missing"},
        Spoiled{"/controls/1/name", R"("")", "control 2: name: it has not 1 to 48 bytes"},
        Spoiled{"/controls/1/name", R"("hdr")", "control 3: name: another control has it too"},
        Spoiled{"/controls/1/titles", "", "control 2: titles: missing"},
        Spoiled{"/controls/1/titles", R"({"de": "Ton"})", "control 2: titles: en: missing"},
        Spoiled{"/controls/1/titles/fr", "5", "control 2: titles: fr: it is no text"},
        Spoiled{"/controls/1/titles/fr", R"("a\u0007b")", "control 2: titles: fr: it is not printable"},
        Spoiled{"/controls/1/titles/1", R"("a")",
                "control 2: titles: a key: it is no language, such as \"en\""},
        Spoiled{"/controls/1/selector", "0", "control 2: selector: it is no whole number from 1 to 255"},
        Spoiled{"/controls/1/selector", "256", "control 2: selector: it is no whole number from 1 to 255"},
        Spoiled{"/controls/1/selector", "1.5", "control 2: selector: it is no whole number from 1 to 255"},
        Spoiled{"/controls/1/selector", "18446744073709551615",
                "control 2: selector: it is no whole number from 1 to 255"},
        Spoiled{"/controls/1/selector", "1",
                "control 2: length: another control has another one for this selector"},
        Spoiled{"/controls/1/length", "0", "control 2: length: it is no whole number from 1 to 1024"},
        Spoiled{"/controls/1/length", "1025", "control 2: length: it is no whole number from 1 to 1024"},
        Spoiled{"/controls/1/length", "5",
                "control 2: bits: missing, and the rest of the value has more than 32"},
        Spoiled{"/controls/1/first_bit", "16", "control 2: first_bit: it is no whole number from 0 to 15"},
        Spoiled{"/controls/1/bits", "0", "control 2: bits: it is no whole number from 1 to 16"},
        Spoiled{"/controls/0/bits", "21", "control 1: bits: it is no whole number from 1 to 20"},
        Spoiled{"/controls/1/type", R"("text")",
                "control 2: type: it is none of number, signed number, switch and choice"},
        Spoiled{"/controls/1/choices", "[]", "control 2: choices: only a choice has it"},
        Spoiled{"/controls/0/minimum", "0", "control 1: minimum: only a number has it"},
        Spoiled{"/controls/2/unit", R"("K")", "control 3: unit: only a number has it"}));

INSTANTIATE_TEST_SUITE_P(
    Values, SpoiledDescription,
    ::testing::Values(
        Spoiled{"/controls/1/minimum", "-32769",
                "control 2: minimum: it is no whole number from -32768 to 32767"},
        Spoiled{"/controls/1/maximum", "-6", "control 2: maximum: it is no whole number from -5 to 32767"},
        Spoiled{"/controls/1/maximum", "32768", "control 2: maximum: it is no whole number from -5 to 32767"},
        Spoiled{"/controls/1/step", "0", "control 2: step: it is no whole number from 1 to 32767"},
        Spoiled{"/controls/1/default", "101", "control 2: default: it is no whole number from -5 to 100"},
        Spoiled{"/controls/2/default", "1", "control 3: default: it is neither true nor false"},
        Spoiled{"/controls/0/default", R"("on")", "control 1: default: it is the word of no choice"},
        Spoiled{"/controls/0/choices", "", "control 1: choices: missing"},
        Spoiled{"/controls/0/choices/1/value", "64",
                "control 1: choice 2: value: it is no whole number from 0 to 63"},
        Spoiled{"/controls/0/choices/1/value", "0", "control 1: choice 2: value: another choice has it too"},
        Spoiled{"/controls/0/choices/1/word", R"("off")",
                "control 1: choice 2: word: another choice has it too"},
        Spoiled{"/controls/0/choices/1/word", R"("12")",
                "control 1: choice 2: word: it is taken for a number or the default"},
        Spoiled{"/controls/0/choices/1/word", R"("default")",
                "control 1: choice 2: word: it is taken for a number or the default"},
        Spoiled{"/controls/0/choices/1/title", R"("Blink")",
                "control 1: choice 2: the key \"title\" is unknown"}));

TEST(DescriptionReader, NamesAreWordsThatNeedNoQuoting) {
    for (const char* name :
         {"Lamp", "lamp mode", "lamp_mode", "-lamp", "lamp-", "lamp--mode", "lämp", "a=b"}) {
        Json json = good();
        json["controls"][0]["name"] = name;
        EXPECT_EQ(mistakeIn(json), std::string("control 1: name: ") + wordRule) << name;
        json = good();
        json["controls"][0]["choices"][0]["word"] = name;
        EXPECT_EQ(mistakeIn(json), std::string("control 1: choice 1: word: ") + wordRule) << name;
    }
}

TEST(DescriptionReader, ANameOfTheClassIsRefused) {
    std::string reason;
    const auto isReserved = [](std::string_view name) { return name == "tone"; };
    EXPECT_FALSE(readDescription(good().dump(), isReserved, reason));
    EXPECT_EQ(reason, "control 2: name: it is that of a control of every camera");
}

TEST(DescriptionReader, NoTruncatedTextIsReadAndNoneDoesHarm) {
    const std::string whole = good().dump();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        std::string reason;
        EXPECT_FALSE(readDescription(std::string_view(whole).substr(0, length), nothingIsReserved, reason));
        EXPECT_THAT(reason, StartsWith("line 1: ")) << length;
    }
}

TEST(DescriptionReader, AnyOtherTypeOfAnyValueIsRefused) {
    const Json flat = good().flatten();
    for (const auto& [pointer, value] : flat.items()) {
        Json json = good();
        json[Json::json_pointer(pointer)] = Json::array({value});
        EXPECT_THAT(mistakeIn(json), Not(IsEmpty())) << pointer;
    }
}

} // namespace
} // namespace tavelo
