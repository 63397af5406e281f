// SPDX-License-Identifier: MIT
#include "platform/linux/preferences/json_preferences_value.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tavelo {
namespace {

using Limits = std::numeric_limits<std::int64_t>;

// Converts to the text of a file and back.
std::optional<PreferencesValue> reread(const PreferencesValue& value) {
    const QByteArray file = QJsonDocument(QJsonObject{{QStringLiteral("key"), toJson(value)}}).toJson();
    return fromJson(QJsonDocument::fromJson(file).object().value(QStringLiteral("key")));
}

std::optional<PreferencesValue> fromText(const char* json) {
    const QByteArray file = QByteArray("[") + json + "]";
    return fromJson(QJsonDocument::fromJson(file).array().at(0));
}

TEST(JsonPreferencesValue, IntegersKeepAllTheirBits) {
    // The last but one is 2^53 + 1, which a double cannot represent; the last is pan and tilt in one number.
    for (const std::int64_t number :
         {std::int64_t{0}, std::int64_t{-1}, Limits::min(), Limits::max(), Limits::max() - 1,
          std::int64_t{9007199254740993}, std::int64_t{-36000} * 4294967296 + 18000}) {
        EXPECT_EQ(reread({number}), PreferencesValue{number}) << number;
    }
}

TEST(JsonPreferencesValue, BooleansStayBooleansAndNumbersStayNumbers) {
    EXPECT_EQ(reread({true}), PreferencesValue{true});
    EXPECT_EQ(reread({false}), PreferencesValue{false});
    EXPECT_NE(reread({false}), PreferencesValue{std::int64_t{0}});
    EXPECT_EQ(reread({std::int64_t{0}}), PreferencesValue{std::int64_t{0}});
}

TEST(JsonPreferencesValue, FractionsAndTextsSurvive) {
    EXPECT_EQ(reread({0.1}), PreferencesValue{0.1});
    EXPECT_EQ(reread({-1e300}), PreferencesValue{-1e300});
    const std::string text = "日本語 \"quoted\" \n\t/\\ \x01";
    EXPECT_EQ(reread({text}), PreferencesValue{text});
    EXPECT_EQ(reread({std::string()}), PreferencesValue{std::string()});
}

TEST(JsonPreferencesValue, ARoundDoubleReadsBackAsAnInteger) {
    EXPECT_EQ(reread({2.0}), PreferencesValue{std::int64_t{2}});
}

TEST(JsonPreferencesValue, ANumberThatIsNotFiniteIsNotThere) {
    EXPECT_EQ(reread({std::nan("")}), std::nullopt);
    EXPECT_EQ(reread({std::numeric_limits<double>::infinity()}), std::nullopt);
}

TEST(JsonPreferencesValue, NestsAsDeepAsACamerasRecord) {
    const PreferencesDictionary profile{{"brightness", {std::int64_t{-12}}}, {"mirror", {true}}};
    const PreferencesArray record{
        {profile}, {profile}, {PreferencesDictionary{{"selected", {std::int64_t{-1}}}}}};
    EXPECT_EQ(reread({record}), PreferencesValue{record});
    EXPECT_EQ(reread({PreferencesArray()}), PreferencesValue{PreferencesArray()});
    EXPECT_EQ(reread({PreferencesDictionary()}), PreferencesValue{PreferencesDictionary()});
}

TEST(JsonPreferencesValue, NullIsAbsentButKeepsThePlacesOfAnArray) {
    EXPECT_EQ(fromText("null"), std::nullopt);
    EXPECT_EQ(fromText("[null, 7]"),
              (PreferencesValue{PreferencesArray{{std::string()}, {std::int64_t{7}}}}));
    EXPECT_EQ(fromText(R"({"a": null, "b": 7})"),
              (PreferencesValue{PreferencesDictionary{{"b", {std::int64_t{7}}}}}));
}

TEST(JsonPreferencesValue, AnIntegerThatTakesMoreThanSixtyFourBitsIsADouble) {
    EXPECT_EQ(fromText("18446744073709551616"), PreferencesValue{18446744073709551616.0});
}

} // namespace
} // namespace tavelo
