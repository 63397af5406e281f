// SPDX-License-Identifier: MIT
#include "profiles/stored_profiles.h"

#include <gtest/gtest.h>

#include "profiles/camera_settings.h"
#include "support/manual_main_queue.h"
#include "support/memory_preferences_store.h"

namespace tavelo {
namespace {

using camera_settings::keyForCamera;

PreferencesDictionary brightness(std::int64_t value) {
    return {{"kNSUserDefaultsKeyBrightness", {value}}};
}

class StoredProfilesTest : public ::testing::Test {
protected:
    testing::ManualMainQueue mainQueue;
    MemoryPreferencesStore store{mainQueue};
    const std::string key = keyForCamera("0x1");
};

TEST_F(StoredProfilesTest, AMissingOrOddRecordIsNone) {
    EXPECT_FALSE(storedRecord(store, key));
    store.setObject({std::string("text")}, key);
    EXPECT_FALSE(storedRecord(store, key));
}

TEST_F(StoredProfilesTest, TheFirstProfileOfACameraMakesARecordOfFourAndTheSelection) {
    storeProfile(store, key, 2, brightness(7), brightness(1));
    const auto record = storedRecord(store, key);
    ASSERT_TRUE(record);
    ASSERT_EQ(record->size(), 5U);
    EXPECT_EQ(*profileAt(*record, 2), brightness(7));
    for (const std::int64_t other : {0, 1, 3})
        EXPECT_EQ(*profileAt(*record, other), brightness(1)) << other;
    EXPECT_EQ(camera_settings::integer(*profileAt(*record, 4), camera_settings::selectedProfileKey), -1);
}

TEST_F(StoredProfilesTest, ALaterProfileLeavesTheOthers) {
    storeProfile(store, key, 0, brightness(7), brightness(1));
    storeProfile(store, key, 3, brightness(8), brightness(2));
    const auto record = storedRecord(store, key);
    EXPECT_EQ(*profileAt(*record, 0), brightness(7));
    EXPECT_EQ(*profileAt(*record, 1), brightness(1));
    EXPECT_EQ(*profileAt(*record, 3), brightness(8));
}

TEST_F(StoredProfilesTest, AShortRecordGrowsToTheProfile) {
    store.setObject({PreferencesArray{{brightness(1)}}}, key);
    storeProfile(store, key, 2, brightness(7), brightness(3));
    const auto record = storedRecord(store, key);
    ASSERT_EQ(record->size(), 3U);
    EXPECT_EQ(*profileAt(*record, 0), brightness(1));
    EXPECT_EQ(*profileAt(*record, 1), brightness(3));
    EXPECT_EQ(*profileAt(*record, 2), brightness(7));
}

TEST_F(StoredProfilesTest, PositionsOutsideTheRecordAndOddEntriesAreNone) {
    const PreferencesArray record{{brightness(1)}, {std::string("text")}};
    EXPECT_NE(profileAt(record, 0), nullptr);
    EXPECT_EQ(profileAt(record, 1), nullptr);
    EXPECT_EQ(profileAt(record, 2), nullptr);
    EXPECT_EQ(profileAt(record, -1), nullptr);
}

TEST_F(StoredProfilesTest, CamerasWithARecordAreListedInOrder) {
    storeProfile(store, keyForCamera("0x2"), 0, brightness(1), {});
    storeProfile(store, keyForCamera("0x1"), 0, brightness(1), {});
    store.setObject({true}, keyForCamera("0x3"));
    store.setObject({true}, "language");
    EXPECT_EQ(camerasWithProfiles(store), (std::vector<std::string>{"0x1", "0x2"}));
}

} // namespace
} // namespace tavelo
