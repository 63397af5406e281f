// SPDX-License-Identifier: MIT
#include "watch/profile_keeper.h"

#include <gmock/gmock.h>

#include "watch/watch_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* brightnessKey = "kNSUserDefaultsKeyBrightness";
constexpr const char* whiteBalanceKey = "kNSUserDefaultsKeyWhiteBalance";

class ProfileKeeperTest : public WatchTest {
protected:
    void SetUp() override {
        mainQueue.drain();
        ASSERT_TRUE(camera.isBound());
        profile = camera_settings::defaults(camera.manager());
        profile[brightnessKey] = {std::int64_t{20}};
    }

    /// Stores the profile as the second of four; the others hold defaults.
    void storeProfile(std::int64_t selected = 1) {
        PreferencesArray record =
            camera_settings::newRecord(camera_settings::defaults(camera.manager()), selected);
        record[1] = {profile};
        store.setObject({record}, camera_settings::keyForCamera(device()->uniqueID()));
    }

    /// Begins and applies the second profile.
    void start() {
        storeProfile();
        options.profile = 1;
        options.keep = true;
        makeKeeper();
        keeper->applySoon();
        pass(200ms);
        ASSERT_EQ(value(), 20);
        lines.clear();
    }

    void makeKeeper() { keeper = std::make_unique<ProfileKeeper>(camera, options, keeperParts); }

    /// Another program sets the brightness; returns once the keeper knows.
    void disturb(std::int64_t brightness, ControlAddress control = control::brightness) {
        const int before = changes;
        ASSERT_TRUE(firmware()->setControlValue(control, brightness));
        ASSERT_TRUE(mainQueue.runUntil([&] { return changes > before; }));
    }

    std::int64_t value(ControlAddress control = control::brightness) {
        return firmware()->controlValue(control).value_or(-99);
    }
    std::string text(const std::string& rest) { return device()->localizedName() + ": " + rest; }

    int changes = 0;
    bool panelShowsCamera = false;
    std::unique_ptr<ProfileKeeper> keeper;
    WatchedCamera camera{device(), WatchedCameraParts{backend.usb.get(), mainQueue, clock},
                         WatchedCameraEvents{[this] {
                                                 if (keeper) keeper->applySoon();
                                             },
                                             [this](KTUVCControl control, std::int64_t) {
                                                 ++changes;
                                                 if (keeper) keeper->changed(control);
                                             }}};
    ProfileWatchOptions options;
    ProfileWatchParts keeperParts{store, clock, [this] { return panelShowsCamera; },
                                  [this](const std::string& line) { lines.push_back(line); }};
    PreferencesDictionary profile;
};

TEST_F(ProfileKeeperTest, WritesTheChosenProfileOnceItWasReadAnew) {
    storeProfile(0);
    options.profile = 1;
    makeKeeper();
    keeper->applySoon();
    profile[brightnessKey] = {std::int64_t{21}};
    storeProfile(0);
    pass(199ms);
    EXPECT_EQ(value(), 0);
    pass(1ms);
    EXPECT_EQ(value(), 21);
    EXPECT_THAT(lines, ElementsAre(text("profile 2 applied")));
}

TEST_F(ProfileKeeperTest, WithoutAChoiceTheSelectedProfileCounts) {
    storeProfile(1);
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    EXPECT_EQ(value(), 20);
    storeProfile(3);
    keeper->applySoon();
    pass(200ms);
    EXPECT_EQ(value(), 0);
    EXPECT_THAT(lines, ElementsAre(text("profile 2 applied"), text("profile 4 applied")));
}

TEST_F(ProfileKeeperTest, AProfileThatIsMissingIsSaid) {
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    storeProfile(-1);
    keeper->applySoon();
    pass(200ms);
    options.profile = 1;
    store.setObject({std::string("no record")}, camera_settings::keyForCamera(device()->uniqueID()));
    keeper->applySoon();
    pass(200ms);
    EXPECT_THAT(lines, ElementsAre(text("no profile is selected yet"), text("no profile is selected yet"),
                                   text("profile 2 is not stored yet")));
    EXPECT_EQ(value(), 0);
}

TEST_F(ProfileKeeperTest, TheEntryOfTheSelectionIsNoProfile) {
    storeProfile();
    options.profile = 4;
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    EXPECT_THAT(lines, ElementsAre(text("profile 5 is not stored yet")));
}

TEST_F(ProfileKeeperTest, SaysWhatTheCameraDidNotTake) {
    firmware()->setControlValue(control::autoWhiteBalance, 1);
    storeProfile();
    options.profile = 1;
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    EXPECT_THAT(lines,
                ElementsAre(text("profile 2 applied; the camera did not take white-balance-temperature")));
    EXPECT_EQ(value(), 20);
}

TEST_F(ProfileKeeperTest, PutsBackWhatAnotherProgramChangedAfterAQuietSecond) {
    start();
    disturb(5);
    pass(999ms);
    EXPECT_EQ(value(), 5);
    disturb(6);
    pass(999ms);
    EXPECT_EQ(value(), 6);
    pass(1ms);
    EXPECT_EQ(value(), 20);
    EXPECT_THAT(lines, ElementsAre(text("profile 2 put back: brightness")));
    pass(1min);
    EXPECT_THAT(lines, SizeIs(1));
    EXPECT_EQ(clock.waiting(), 0U);
}

TEST_F(ProfileKeeperTest, ManyChangesAreAwaitedOnce) {
    start();
    for (const std::int64_t brightness : {5, 6, 7})
        disturb(brightness);
    EXPECT_EQ(clock.waiting(), 1U);
}

TEST_F(ProfileKeeperTest, WithoutKeepingNothingIsPutBack) {
    start();
    options.keep = false;
    disturb(5);
    pass(1min);
    EXPECT_EQ(value(), 5);
}

TEST_F(ProfileKeeperTest, WithoutKeepingTheCameraIsClosedUntilItIsNeededAgain) {
    storeProfile();
    options.profile = 1;
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    EXPECT_EQ(camera.manager().interface(), nullptr);
    firmware()->clearRequestLog();
    pass(1min);
    EXPECT_THAT(firmware()->requestLog(), IsEmpty());
    firmware()->setControlValue(control::brightness, 5);
    keeper->applySoon();
    pass(200ms);
    EXPECT_EQ(value(), 20);
    EXPECT_EQ(camera.manager().interface(), nullptr);
    EXPECT_THAT(lines, SizeIs(2));
}

TEST_F(ProfileKeeperTest, WhatTheProfileDoesNotSetIsFree) {
    start();
    disturb(101, control::gamma);
    EXPECT_EQ(clock.waiting(), 0U);
    pass(1min);
    EXPECT_EQ(value(control::gamma), 101);
}

TEST_F(ProfileKeeperTest, BeforeAProfileWasAppliedThereIsNothingToKeep) {
    storeProfile();
    options = {1, true};
    makeKeeper();
    disturb(5);
    pass(1min);
    EXPECT_EQ(value(), 5);
}

TEST_F(ProfileKeeperTest, AChangeThatWasTakenBackNeedsNoAnswer) {
    start();
    disturb(5);
    disturb(20);
    firmware()->clearRequestLog();
    pass(1min);
    EXPECT_THAT(firmware()->requestLog(), IsEmpty());
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ProfileKeeperTest, DoesNotFightAProgramThatInsists) {
    start();
    for (int i = 0; i < 6; ++i) {
        disturb(5);
        pass(1s);
        EXPECT_EQ(value(), 20) << i;
    }
    disturb(5);
    pass(1s);
    EXPECT_EQ(value(), 5);
    ASSERT_THAT(lines, SizeIs(7));
    EXPECT_EQ(lines.back(), text("another program keeps changing brightness; left alone for a minute"));
    disturb(6);
    pass(59999ms);
    EXPECT_EQ(value(), 6);
    pass(1ms);
    EXPECT_EQ(value(), 20) << "the minute is over";
    EXPECT_EQ(lines.back(), text("profile 2 put back: brightness"));
}

TEST_F(ProfileKeeperTest, WhileAPanelShowsACameraNothingIsPutBack) {
    start();
    panelShowsCamera = true;
    disturb(5);
    pass(56s); // asked after a second, then every five
    EXPECT_EQ(value(), 5);
    panelShowsCamera = false;
    pass(4999ms);
    EXPECT_EQ(value(), 5);
    pass(1ms);
    EXPECT_EQ(value(), 20);
    EXPECT_THAT(lines, ElementsAre(text("profile 2 put back: brightness")));
}

TEST_F(ProfileKeeperTest, WhatThePanelSavedIsWantedFromThenOn) {
    start();
    panelShowsCamera = true;
    disturb(5);
    profile[brightnessKey] = {std::int64_t{5}};
    storeProfile();
    panelShowsCamera = false;
    pass(1min);
    EXPECT_EQ(value(), 5);
    EXPECT_THAT(lines, IsEmpty());
    disturb(7);
    pass(1s);
    EXPECT_EQ(value(), 5);
}

TEST_F(ProfileKeeperTest, AProfileThatChangedIsNotWrittenByItself) {
    start();
    disturb(5);
    profile[brightnessKey] = {std::int64_t{30}};
    storeProfile();
    pass(1min);
    EXPECT_EQ(value(), 5);
    disturb(6);
    pass(1s);
    EXPECT_EQ(value(), 30);
}

TEST_F(ProfileKeeperTest, AnotherSelectionIsAnotherProfile) {
    storeProfile(1);
    options.keep = true;
    makeKeeper();
    keeper->applySoon();
    pass(200ms);
    storeProfile(2);
    disturb(5);
    pass(1s);
    EXPECT_EQ(value(), 5) << "the panel has just written it";
    disturb(6);
    pass(1s);
    EXPECT_EQ(value(), 0);
    EXPECT_EQ(lines.back(), text("profile 3 put back: brightness"));
}

TEST_F(ProfileKeeperTest, AProfileThatWasRemovedIsNotKept) {
    start();
    store.setObject({std::int64_t{0}}, camera_settings::keyForCamera(device()->uniqueID()));
    disturb(5);
    pass(1s);
    disturb(6);
    pass(1min);
    EXPECT_EQ(value(), 6);
}

TEST_F(ProfileKeeperTest, ARefusedValueIsNoDifference) {
    firmware()->setControlValue(control::autoWhiteBalance, 0);
    profile[whiteBalanceKey] = {std::int64_t{30000}}; // the camera has less
    start();
    disturb(21);
    disturb(20);
    pass(1min);
    EXPECT_THAT(lines, IsEmpty());
    disturb(21);
    pass(1s);
    EXPECT_THAT(lines,
                ElementsAre(text(
                    "profile 2 put back: brightness; the camera did not take white-balance-temperature")));
}

TEST_F(ProfileKeeperTest, WhatAnAutomaticRulesIsNoDifference) {
    start();
    disturb(1, control::autoWhiteBalance);
    disturb(2800, control::whiteBalance);
    pass(1min);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(value(control::whiteBalance), 2800);
}

TEST_F(ProfileKeeperTest, ACameraThatDoesNotAnswerIsTriedThreeTimes) {
    storeProfile();
    options.profile = 1;
    makeKeeper();
    fault(FaultKind::silence, control::brightness, UvcRequest::setCur);
    fault(FaultKind::silence, control::contrast, UvcRequest::setCur);
    keeper->applySoon();
    pass(200ms);
    EXPECT_THAT(lines, IsEmpty());
    pass(1s);
    EXPECT_THAT(
        lines,
        ElementsAre(text("the camera did not answer, so profile 2 may not be complete; trying again")));
    pass(1min);
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_EQ(lines.back(), text("the camera did not answer, so profile 2 may not be complete"));
    firmware()->clearFaults();
    pass(1min);
    EXPECT_THAT(lines, SizeIs(3));
    keeper->applySoon();
    pass(200ms);
    EXPECT_EQ(lines.back(), text("profile 2 applied"));
}

TEST_F(ProfileKeeperTest, OneSilenceCostsASecond) {
    storeProfile();
    options.profile = 1;
    makeKeeper();
    fault(FaultKind::silence, control::contrast, UvcRequest::setCur);
    keeper->applySoon();
    pass(200ms);
    firmware()->clearFaults();
    keeper->applySoon(); // while it pauses
    pass(200ms);
    pass(1s);
    EXPECT_EQ(value(), 20);
    EXPECT_THAT(lines, ElementsAre(HasSubstr("applied"))) << "both in one";
}

TEST_F(ProfileKeeperTest, DoesNothingAfterItsEnd) {
    start();
    disturb(5);
    keeper->applySoon();
    keeper.reset();
    pass(1min);
    EXPECT_EQ(value(), 5);
    EXPECT_THAT(lines, IsEmpty());
}

} // namespace
} // namespace tavelo
