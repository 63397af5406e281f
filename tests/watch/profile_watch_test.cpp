// SPDX-License-Identifier: MIT
#include "watch/profile_watch.h"

#include <gmock/gmock.h>

#include "watch/watch_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ProfileWatchTest : public WatchTest {
protected:
    void SetUp() override {
        for (std::size_t i = 0; i < 2; ++i)
            storeProfile(device(i)->uniqueID(), std::int64_t(i) + 10);
    }

    void storeProfile(const std::string& camera, std::int64_t brightness) {
        PreferencesDictionary profile;
        for (const ProfileControl& control : profileControls())
            profile[std::string(control.key)] = {std::int64_t{-1}}; // unread, so it is not written
        profile["kNSUserDefaultsKeyBrightness"] = {brightness};
        store.setObject({camera_settings::newRecord(profile, 0)}, camera_settings::keyForCamera(camera));
    }

    void start(bool keep = false) { start(parts(), keep); }
    void start(const WatchedCamerasParts& parts, bool keep = false) {
        watch = std::make_unique<ProfileWatch>(
            parts,
            ProfileWatchParts{store, clock, [] { return false; },
                              [this](const std::string& line) { lines.push_back(line); }},
            ProfileWatchOptions{0, keep});
        pass(200ms);
    }

    std::int64_t brightness(int camera) {
        return firmware(camera)->controlValue(control::brightness).value_or(-99);
    }

    std::unique_ptr<ProfileWatch> watch;
};

TEST_F(ProfileWatchTest, AppliesEachCamerasProfileAtTheStart) {
    start();
    EXPECT_EQ(brightness(1), 10);
    EXPECT_EQ(brightness(2), 11);
    EXPECT_THAT(lines, SizeIs(2));
}

TEST_F(ProfileWatchTest, AppliesItWhenACameraAppears) {
    backend.bus->unplug(2);
    start();
    backend.bus->plug(virtualCameraModel(2));
    pass(200ms);
    EXPECT_EQ(brightness(2), 11);
    backend.bus->unplug(2);
    pass(1min);
    backend.bus->plug(virtualCameraModel(2));
    pass(200ms);
    EXPECT_EQ(brightness(2), 11);
    EXPECT_THAT(lines, SizeIs(3));
}

TEST_F(ProfileWatchTest, AppliesItAfterASleep) {
    start();
    firmware(1)->setControlValue(control::brightness, 1);
    firmware(2)->setControlValue(control::brightness, 1);
    pass(1min);
    EXPECT_EQ(brightness(1), 1) << "not asked to keep it";
    clock.sleep(1h);
    pass(5s);
    pass(200ms);
    EXPECT_EQ(brightness(1), 10);
    EXPECT_EQ(brightness(2), 11);
}

TEST_F(ProfileWatchTest, KeepsItIfAsked) {
    start(true);
    firmware(2)->setControlValue(control::brightness, 1);
    const std::size_t timers = clock.waiting();
    ASSERT_TRUE(mainQueue.runUntil([&] { return clock.waiting() > timers; }));
    pass(1s);
    EXPECT_EQ(brightness(2), 11);
}

TEST_F(ProfileWatchTest, LeavesOtherCamerasAlone) {
    WatchedCamerasParts one = parts();
    one.isChosen = [id = device(1)->uniqueID()](const CaptureDevice& device) {
        return device.uniqueID() == id;
    };
    start(one);
    EXPECT_EQ(brightness(1), 0);
    EXPECT_EQ(brightness(2), 11);
}

TEST_F(ProfileWatchTest, ACameraThatGoesWhileItIsDueIsForgotten) {
    start(true);
    lines.clear();
    clock.sleep(1h);
    pass(4900ms); // the sleep was noticed 100 ms ago
    backend.bus->unplug(1);
    pass(1min);
    EXPECT_THAT(lines, SizeIs(1));
    watch.reset();
    pass(1min);
    EXPECT_EQ(clock.waiting(), 0U);
}

} // namespace
} // namespace tavelo
