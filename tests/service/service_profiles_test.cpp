// SPDX-License-Identifier: MIT
// Apply and Save.
#include "profiles/camera_settings.h"
#include "profiles/stored_profiles.h"
#include "service/service_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::StartsWith;

class ServiceProfiles : public ServiceTest {
protected:
    std::string apply(const char* camera, unsigned number) {
        return errorOf("Apply", {QString::fromUtf8(camera), QVariant::fromValue(number)});
    }
    std::string save(const char* camera, unsigned number) {
        return errorOf("Save", {QString::fromUtf8(camera), QVariant::fromValue(number)});
    }
    std::string key(std::size_t number) { return camera_settings::keyForCamera(device(number)->uniqueID()); }
    PreferencesDictionary stored(std::size_t camera, std::int64_t position) {
        const auto record = storedRecord(store_, key(camera));
        const PreferencesDictionary* profile = record ? profileAt(*record, position) : nullptr;
        return profile != nullptr ? *profile : PreferencesDictionary();
    }
    std::int64_t storedBrightness(std::size_t camera, std::int64_t position) {
        return camera_settings::integer(stored(camera, position), "kNSUserDefaultsKeyBrightness");
    }
};

TEST_F(ServiceProfiles, SaveStoresTheValuesOnTheDisk) {
    camera(2)->setControlValue(control::brightness, 21);
    EXPECT_EQ(save("2", 3), "");
    EXPECT_EQ(storedBrightness(2, 2), 21);
    EXPECT_EQ(storedBrightness(2, 1), 0) << "the others are the defaults";
    EXPECT_EQ(store_.onDisk(key(2)), store_.objectForKey(key(2)));
    EXPECT_FALSE(storedRecord(store_, key(1)));
}

TEST_F(ServiceProfiles, SaveTakesTheMirrorOfTheShownCameraOnly) {
    show(1);
    host_.mirrored = true;
    EXPECT_EQ(save("1", 1), "");
    EXPECT_TRUE(camera_settings::boolean(stored(1, 0), camera_settings::mirrorKey));
    EXPECT_EQ(save("2", 1), "");
    EXPECT_FALSE(camera_settings::boolean(stored(2, 0), camera_settings::mirrorKey));
}

TEST_F(ServiceProfiles, SaveKeepsTheMirrorOfACameraThatIsNotShown) {
    show(2);
    host_.mirrored = true;
    EXPECT_EQ(save("2", 1), "");
    host_.shown.reset();
    host_.mirrored = false;
    EXPECT_EQ(save("2", 1), "");
    EXPECT_TRUE(camera_settings::boolean(stored(2, 0), camera_settings::mirrorKey));
}

TEST_F(ServiceProfiles, SaveThatFailsKeepsTheProfileBefore) {
    camera(2)->setControlValue(control::brightness, 1);
    EXPECT_EQ(save("2", 1), "");
    store_.setFails(true);
    camera(2)->setControlValue(control::brightness, 2);
    EXPECT_THAT(save("2", 1), StartsWith("Failed: nothing was saved"));
    EXPECT_EQ(storedBrightness(2, 0), 1);
}

TEST_F(ServiceProfiles, ApplyWritesAStoredProfile) {
    camera(2)->setControlValue(control::brightness, 21);
    EXPECT_EQ(save("2", 2), "");
    camera(2)->setControlValue(control::brightness, -5);
    show(1);
    EXPECT_EQ(apply("2", 2), "");
    EXPECT_EQ(camera(2)->controlValue(control::brightness), 21);
    EXPECT_TRUE(host_.applied.empty());
    EXPECT_TRUE(host_.changed.empty());
    EXPECT_TRUE(waitFor([this] {
        return signals_.lines.contains(QStringLiteral("ControlChanged %1 brightness 21").arg(identifier(2)));
    }));
}

TEST_F(ServiceProfiles, ApplyToTheShownCameraSelectsTheProfileAndTheMirror) {
    show(1);
    host_.mirrored = true;
    EXPECT_EQ(save("", 4), "");
    EXPECT_EQ(apply("", 4), "");
    EXPECT_THAT(host_.applied, ElementsAre(Pair(3, true)));
    EXPECT_THAT(host_.changed, Contains(KTUVCControl::bright));
}

TEST_F(ServiceProfiles, ApplyOfAProfileThatIsNotStoredFails) {
    EXPECT_EQ(apply("1", 2), "Failed: Tavelo Virtual Camera 1: profile 2 is not stored yet");
    EXPECT_TRUE(store_.empty());
}

TEST_F(ServiceProfiles, ApplyNamesTheControlsThatTheCameraDidNotTake) {
    EXPECT_EQ(save("2", 1), "");
    camera(2)->order({.control = control::contrast, .direction = FaultDirection::writes});
    EXPECT_EQ(apply("2", 1), "Refused: Tavelo Virtual Camera 2: the camera did not take contrast");
}

TEST_F(ServiceProfiles, ApplyToACameraThatIsSilentForAWhileWaitsForIt) {
    EXPECT_EQ(save("2", 1), "");
    camera(2)->order({.kind = FaultKind::silence, .control = control::contrast});
    EXPECT_THAT(apply("2", 1), HasSubstr("did not"));
    EXPECT_FALSE(service_->hasPendingCalls());
}

TEST_F(ServiceProfiles, ASwitchToAnotherCameraEndsApply) {
    show(1);
    EXPECT_EQ(save("", 1), "");
    camera(1)->order({.kind = FaultKind::delay, .direction = FaultDirection::writes, .wait = 100ms});
    const QDBusPendingCall pending = begin("Apply", {QString(), QVariant::fromValue(1U)});
    EXPECT_TRUE(waitFor([this] { return !host_.applied.empty(); }));
    const auto writesBefore = camera(2)->requestLog().size();
    camera(1)->clearFaults();
    show(2);
    EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
    EXPECT_EQ(errorOf(pending.reply()), "Failed: the panel shows another camera now");
    for (const RequestRecord& request : camera(2)->requestLog())
        EXPECT_NE(request.setup.bRequest, 0x01) << "a write after " << writesBefore << " requests";
}

TEST_F(ServiceProfiles, ProfilesOutsideOneToFourAreInvalid) {
    for (const unsigned number : {0U, 5U, 4294967295U}) {
        EXPECT_THAT(apply("1", number), StartsWith("Invalid: no profile "));
        EXPECT_THAT(save("1", number), StartsWith("Invalid: no profile "));
    }
    EXPECT_TRUE(store_.empty());
}

} // namespace
} // namespace tavelo
