// SPDX-License-Identifier: MIT
#include "profiles/camera_settings.h"

#include <gtest/gtest.h>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using namespace camera_settings;

class CameraSettingsTest : public ManagerTest {
protected:
    void SetUp() override {
        ManagerTest::SetUp(); // ranges of 0 to 100, defaults of 50
        script(KTUVCControl::bright, answers(1, -64, 64, 50, 2));
        bind();
        profile = defaults(*manager);
    }

    void set(std::string_view key, std::int64_t value) { profile[std::string(key)] = {value}; }
    std::optional<std::int64_t> toWrite(KTUVCControl control) const {
        for (const ValueToWrite& each : valuesToWrite(profile, *manager))
            if (each.control->control == control) return each.value;
        return {};
    }

    PreferencesDictionary profile;
};

TEST_F(CameraSettingsTest, EachOfSixControlsDecidesWhetherAProfileIsTheDefaults) {
    const std::vector<std::string_view> deciding{
        "kNSUserDefaultsKeyBrightness",   "kNSUserDefaultsKeyContrast",  "kNSUserDefaultsKeySaturation",
        "kNSUserDefaultsKeyWhiteBalance", "kNSUserDefaultsKeySharpness", "kNSUserDefaultsKeyPowerLine"};
    EXPECT_TRUE(areDefaults(profile, *manager));
    for (const std::string_view key : deciding) {
        set(key, 51);
        EXPECT_FALSE(areDefaults(profile, *manager)) << key;
        set(key, 50);
    }
    for (const std::string_view key : {"kNSUserDefaultsKeyZoom", "kNSUserDefaultsKeyPanTilt"})
        set(key, 51);
    EXPECT_TRUE(areDefaults(profile, *manager));
}

TEST_F(CameraSettingsTest, EveryValueOfASupportedControlIsWritten) {
    set("kNSUserDefaultsKeyContrast", 3000); // the camera decides
    std::vector<KTUVCControl> written;
    for (const ValueToWrite& each : valuesToWrite(profile, *manager))
        written.push_back(each.control->control);
    using enum KTUVCControl;
    EXPECT_EQ(written,
              (std::vector{bright, contrast, saturation, whiteBalance, sharpness, zoom, panTilt, powerLine}));
    EXPECT_EQ(toWrite(KTUVCControl::contrast), 3000);
}

TEST_F(CameraSettingsTest, AValueOfAControlThatTheCameraDoesNotHaveIsNeitherWrittenNorStored) {
    manager->contrast()->setSupported(false);
    manager->contrast()->setVal(-1);
    set("kNSUserDefaultsKeyContrast", 7);
    EXPECT_FALSE(toWrite(KTUVCControl::contrast));
    EXPECT_TRUE(toWrite(KTUVCControl::bright));
    EXPECT_TRUE(areDefaults(profile, *manager)) << "values that are not written do not count";
    storeCurrent(profile, *manager, false);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeyContrast"), 7);
    EXPECT_EQ(integer(profile, "kNSUserDefaultsKeyBrightness"), 1);
}

TEST_F(CameraSettingsTest, AStoredProfileHasAllNineEntries) {
    manager->contrast()->setSupported(false);
    PreferencesDictionary fresh;
    storeCurrent(fresh, *manager, true);
    EXPECT_EQ(fresh.size(), 9U);
}

TEST_F(CameraSettingsTest, MinusOneIsAnOrdinaryValueIfItIsInTheRange) {
    set("kNSUserDefaultsKeyBrightness", -1);
    set("kNSUserDefaultsKeyPanTilt", -1);
    EXPECT_EQ(toWrite(KTUVCControl::bright), -1);
    EXPECT_EQ(toWrite(KTUVCControl::panTilt), -1);
}

TEST_F(CameraSettingsTest, AnImpossibleMinusOneMakesEveryMinusOneOfTheProfileInvalid) {
    for (const std::string_view key :
         {"kNSUserDefaultsKeyBrightness", "kNSUserDefaultsKeyPanTilt", "kNSUserDefaultsKeySharpness"})
        set(key, -1);
    EXPECT_FALSE(toWrite(KTUVCControl::bright));
    EXPECT_FALSE(toWrite(KTUVCControl::panTilt));
    EXPECT_FALSE(toWrite(KTUVCControl::sharpness));
    EXPECT_EQ(toWrite(KTUVCControl::contrast), 50);
}

} // namespace
} // namespace tavelo
