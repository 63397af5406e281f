// SPDX-License-Identifier: MIT
#include "profiles/settings_push.h"

#include <gtest/gtest.h>

#include "profiles/camera_settings.h"
#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

class PushAndWaitTest : public ::testing::Test {
protected:
    std::vector<KTUVCControl> push(const PreferencesDictionary& settings) {
        return pushSettingsAndWait(bound.manager, settings, false);
    }
    PreferencesDictionary profile() {
        PreferencesDictionary settings = camera_settings::defaults(bound.manager);
        settings["kNSUserDefaultsKeyContrast"] = {std::int64_t(7)};
        settings["kNSUserDefaultsKeyZoom"] = {std::int64_t(200)};
        return settings;
    }

    testing::BoundVirtualCamera bound;
};

TEST_F(PushAndWaitTest, EverythingIsInTheCameraWhenItReturns) {
    EXPECT_TRUE(push(profile()).empty());
    EXPECT_EQ(bound.camera->controlValue(control::contrast), 7);
    EXPECT_EQ(bound.camera->controlValue(control::zoom), 200);
}

TEST_F(PushAndWaitTest, ARefusedControlIsNamedAndTheOthersAreWritten) {
    bound.camera->order(
        {.kind = FaultKind::stall, .control = control::contrast, .direction = FaultDirection::writes});
    EXPECT_EQ(push(profile()), std::vector{KTUVCControl::contrast});
    EXPECT_EQ(bound.camera->controlValue(control::zoom), 200);
}

TEST_F(PushAndWaitTest, ACameraThatIsGoneTakesNothing) {
    const PreferencesDictionary settings = profile();
    bound.backend.bus->unplug(1);
    EXPECT_EQ(push(settings).size(), profileControls().size());
}

} // namespace
} // namespace tavelo
