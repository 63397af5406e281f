// SPDX-License-Identifier: MIT
#include "cli/profile_file.h"

#include <gtest/gtest.h>

#include "commands/control_names.h"
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"

namespace tavelo {
namespace {

std::string reasonOf(const QByteArray& text) {
    std::string reason;
    EXPECT_FALSE(readProfileFile(text, reason)) << text.toStdString();
    return reason;
}

QByteArray fileWith(const QByteArray& profile) {
    return R"({"format":"tavelo profiles","version":1,"cameras":{"0x1":{"profiles":[)" + profile + "]}}}";
}

TEST(ProfileFile, WhatIsNoSuchFileIsRefusedWithTheReason) {
    EXPECT_EQ(reasonOf(""), "is not JSON: illegal value");
    EXPECT_EQ(reasonOf("[]"), "is not JSON: there is no object");
    EXPECT_EQ(reasonOf("{"), "is not JSON: unterminated object");
    EXPECT_EQ(reasonOf("{}"), "does not hold profiles of taveloctl");
    EXPECT_EQ(reasonOf(R"({"format":"tavelo profiles","version":2})"),
              "is of another version; this program reads version 1");
    EXPECT_EQ(reasonOf(R"({"format":"tavelo profiles","version":1})"), "names no camera");
    EXPECT_EQ(reasonOf(R"({"format":"tavelo profiles","version":1,"cameras":[1]})"), "names no camera");
    EXPECT_EQ(reasonOf(QByteArray((1 << 20) + 1, ' ')), "is too large for profiles");
}

TEST(ProfileFile, EveryPrefixOfAFileIsRefused) {
    const QByteArray whole = fileWith(R"({"contrast":5})");
    std::string reason;
    ASSERT_TRUE(readProfileFile(whole, reason)) << reason;
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(reasonOf(whole.first(length)).empty()) << length;
}

TEST(ProfileFile, WrongProfilesAreRefusedWithTheirPlace) {
    const std::string where = "camera 0x1, profile 1: ";
    EXPECT_EQ(reasonOf(fileWith("")), "camera 0x1 does not have 1 to 4 profiles");
    EXPECT_EQ(reasonOf(fileWith("{},{},{},{},{}")), "camera 0x1 does not have 1 to 4 profiles");
    EXPECT_EQ(reasonOf(fileWith("7")), where + "is not an object");
    EXPECT_EQ(reasonOf(fileWith(R"({"gain":7})")), where + "profiles have no \"gain\"") << "not stored";
    EXPECT_EQ(reasonOf(fileWith(R"({"lightness":7})")), where + "profiles have no \"lightness\"");
    EXPECT_EQ(reasonOf(fileWith(R"({"contrast":1.5})")), where + "contrast is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"contrast":1e300})")), where + "contrast is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"contrast":4294967296})")),
              where + "contrast is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"contrast":null})")), where + "contrast is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"contrast":"on"})")), where + "contrast is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"power-line-frequency":"70hz"})")),
              where + "power-line-frequency is no value of that control");
    EXPECT_EQ(reasonOf(fileWith(R"({"mirror":1})")), where + "mirror is neither true nor false");
    EXPECT_EQ(reasonOf(fileWith(R"({},{"mirror":"yes"})")),
              "camera 0x1, profile 2: mirror is neither true nor false");
}

TEST(ProfileFile, TooManyCamerasAreRefused) {
    QByteArray cameras;
    for (int i = 0; i < 257; ++i)
        cameras += (i > 0 ? ",\"" : "\"") + QByteArray::number(i) + R"(":{"profiles":[{}]})";
    EXPECT_EQ(reasonOf(R"({"format":"tavelo profiles","version":1,"cameras":{)" + cameras + "}}"),
              "names too many cameras");
}

TEST(ProfileFile, ValuesComeBackAsTheyWere) {
    PreferencesDictionary profile{
        {"kNSUserDefaultsKeyBrightness", {std::int64_t(-5)}},
        {"kNSUserDefaultsKeyPanTilt", {static_cast<std::int64_t>(0xFFFF'FFFF'0000'0E10ULL)}},
        {"kNSUserDefaultsKeyPowerLine", {std::int64_t(2)}},
        {"kNSUserDefaultsKeyMirror", {true}}};
    const PreferencesArray record = camera_settings::newRecord(profile, -1);
    std::string reason;
    const auto read = readProfileFile(profileFile({{"0x1", record}}), reason);
    ASSERT_TRUE(read) << reason;
    ASSERT_EQ(read->at("0x1").size(), 4U);
    EXPECT_EQ(read->at("0x1").front(), profile);
}

TEST(ProfileFile, AnImportKeepsWhatTheFileDoesNotName) {
    const PreferencesDictionary stored{{"kNSUserDefaultsKeyContrast", {std::int64_t(5)}},
                                       {"somebodyElsesKey", {std::int64_t(9)}}};
    const PreferencesArray before = camera_settings::newRecord(stored, 2);
    const PreferencesArray after =
        withProfiles(before, {{{"kNSUserDefaultsKeyContrast", {std::int64_t(6)}}}});
    ASSERT_EQ(after.size(), 5U);
    EXPECT_EQ(camera_settings::integer(*profileAt(after, 0), "kNSUserDefaultsKeyContrast"), 6);
    EXPECT_EQ(camera_settings::integer(*profileAt(after, 0), "somebodyElsesKey"), 9);
    EXPECT_EQ(*profileAt(after, 1), stored);
    EXPECT_EQ(after[4], before[4]) << "the selection";
}

TEST(ProfileFile, AnImportForANewCameraFillsTheOtherProfilesWithTheFirst) {
    const PreferencesDictionary first{{"kNSUserDefaultsKeyContrast", {std::int64_t(6)}}};
    const PreferencesArray record = withProfiles(std::nullopt, {first});
    ASSERT_EQ(record.size(), 5U);
    EXPECT_EQ(*profileAt(record, 3), first);
}

} // namespace
} // namespace tavelo
