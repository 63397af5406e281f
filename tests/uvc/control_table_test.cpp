// SPDX-License-Identifier: MIT
#include "uvc/control_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/bundle.h"
#include "platform/preferences_store.h"
#include "text/localizer.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {
namespace {

/// Returns a different marker for every key, so that lookups can be recognised.
class MarkingBundle : public Bundle {
public:
    std::vector<std::string> localizations() const override { return {"xx"}; }
    std::vector<std::string> preferredLanguages() const override { return {"xx"}; }
    std::optional<std::string> string(std::string_view, std::string_view) const override {
        return std::nullopt;
    }
    std::string localizedString(std::string_view key, std::string_view) const override {
        return "<" + std::string(key) + ">";
    }
};

class EmptyPreferences : public PreferencesStore {
public:
    std::optional<PreferencesValue> objectForKey(std::string_view) const override { return std::nullopt; }
    void setObject(const PreferencesValue&, std::string_view) override {}
    void setObjectIfMissing(const PreferencesValue&, std::string_view) override {}
    std::vector<std::string> keys() const override { return {}; }
    void synchronize(SynchronizeHandler) override {}
};

class ControlTableTest : public ::testing::Test {
protected:
    MarkingBundle bundle;
    EmptyPreferences preferences;
    Localizer text{bundle, preferences};
    KTUVCManager manager{KTUVCEnvironment{}};
    KTUVCManager localized{KTUVCEnvironment{nullptr, &text}};
};

/// One control as the USB Video Class defines it.
struct Expected {
    const KTUVCControlRecords::Record& record;
    int unit;
    int selector;
    int size;
    std::string range; ///< which of GET_MIN, GET_MAX and GET_DEF are sent
    bool isSigned;
    int type;
    std::string text;
    std::string key;
};

std::vector<Expected> expectedControls(const KTUVCManager& m) {
    return {
        {m.scanningMode(), 1, 1, 1, "", false, 1, "Scanning Mode", "scanning_mode"},
        {m.autoExposureMode(), 1, 2, 1, "d", false, 1, "Auto Exposure", "auto_exposure"},
        {m.autoExposurePriority(), 1, 3, 1, "", false, 2, "Exposure Priority", "exposure_priority"},
        {m.exposureTime(), 1, 4, 4, "mMd", false, 0, "Exposure Time", "exposure_time"},
        {m.iris(), 1, 9, 2, "mMd", false, 0, "Iris", "iris"},
        {m.autoFocus(), 1, 8, 1, "d", false, 2, "Auto Focus", "auto_focus"},
        {m.focus(), 1, 6, 2, "mMd", false, 0, "Focus", "focus"},
        {m.zoom(), 1, 11, 2, "mMd", false, 0, "Zoom", "zoom"},
        {m.panTilt(), 1, 13, 8, "mMd", true, 0, "Pan Tilt", "pan_tilt"},
        {m.roll(), 1, 15, 2, "mMd", true, 0, "Roll", "roll"},
        {m.backlight(), 2, 1, 2, "mMd", false, 0, "Backlight Compensation", "backlight_compensation"},
        {m.bright(), 2, 2, 2, "mMd", true, 0, "Bright", "bright"},
        {m.contrast(), 2, 3, 2, "mMd", false, 0, "Contrast", "contrast"},
        {m.gain(), 2, 4, 2, "mMd", false, 0, "Gain", "gain"},
        {m.powerLine(), 2, 5, 2, "mMd", false, 1, "Power Line Frequency", "power_line_frequencey"},
        {m.autoHue(), 2, 16, 2, "d", false, 2, "Auto Hue", "auto_hue"},
        {m.hue(), 2, 6, 2, "mMd", true, 0, "Hue", "hue"},
        {m.saturation(), 2, 7, 2, "mMd", false, 0, "Saturation", "saturation"},
        {m.sharpness(), 2, 8, 2, "mMd", false, 0, "Sharpness", "sharpness"},
        {m.gamma(), 2, 9, 2, "mMd", false, 0, "Gamma", "gamma"},
        {m.autoWhiteBalance(), 2, 11, 1, "d", false, 2, "Auto White Balance", "auto_white_balance"},
        {m.whiteBalance(), 2, 10, 4, "mMd", false, 0, "White Balance", "white_balance"},
    };
}

TEST_F(ControlTableTest, RecordAtEachPlaceHasThatTagAndIsTheNamedField) {
    const std::vector<Expected> expected = expectedControls(manager);
    ASSERT_EQ(expected.size(), manager.parametersArray().size());
    ASSERT_EQ(expected.size(), 22U);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(manager.parametersArray()[i]->tag(), static_cast<std::int64_t>(i));
        EXPECT_EQ(manager.parametersArray()[i], expected[i].record) << expected[i].text;
    }
}

TEST_F(ControlTableTest, EachRecordDescribesItsControl) {
    for (const Expected& expected : expectedControls(manager)) {
        const KTUVCParameters& record = *expected.record;
        const KTUVCControlInfo& info = *record.controlInfo();
        EXPECT_EQ(info.unit(), expected.unit) << expected.text;
        EXPECT_EQ(info.selector(), expected.selector) << expected.text;
        EXPECT_EQ(info.intendedSize(), expected.size) << expected.text;
        const std::string range =
            std::string(info.hasMin() ? "m" : "") + (info.hasMax() ? "M" : "") + (info.hasDef() ? "d" : "");
        EXPECT_EQ(range, expected.range) << expected.text;
        EXPECT_EQ(info.isSigned(), expected.isSigned) << expected.text;
        EXPECT_FALSE(info.isRelative()) << expected.text;
        EXPECT_EQ(static_cast<int>(record.type()), expected.type) << expected.text;
        EXPECT_EQ(record.string(), expected.text);
        EXPECT_FALSE(record.supported()) << expected.text;
        EXPECT_EQ(record.val(), 0) << expected.text;
    }
}

TEST_F(ControlTableTest, NamesAreLookedUpByTheirKeys) {
    for (const Expected& expected : expectedControls(localized))
        EXPECT_EQ(expected.record->string(), "<" + expected.key + ">");
}

TEST_F(ControlTableTest, ChoicesHaveTheirLabels) {
    using Choices = KTUVCParameters::Choices;
    EXPECT_EQ(*manager.scanningMode()->enumeratorDictionary(),
              (Choices{{0, "Interlaced"}, {1, "Progressive"}}));
    EXPECT_EQ(*manager.autoExposureMode()->enumeratorDictionary(),
              (Choices{{1, "Manual Exposure, Manual Iris"},
                       {2, "Auto Exposure, Auto Iris"},
                       {4, "Manual Exposure, Auto Iris"},
                       {8, "Auto exposure, Manual iris"}}));
    EXPECT_EQ(*manager.powerLine()->enumeratorDictionary(), (Choices{{1, "50 Hz"}, {2, "60 Hz"}}));
}

TEST_F(ControlTableTest, AllLabelsExceptFrequenciesAreLookedUp) {
    using Choices = KTUVCParameters::Choices;
    EXPECT_EQ(*localized.scanningMode()->enumeratorDictionary(),
              (Choices{{0, "<interlaced>"}, {1, "<progressive>"}}));
    EXPECT_EQ(*localized.autoExposureMode()->enumeratorDictionary(),
              (Choices{{1, "<manual_exposure_manual_iris>"},
                       {2, "<auto_exposure_auto_iris>"},
                       {4, "<manual_exposure_auto_iris>"},
                       {8, "<auto_exposure_manual_iris>"}}));
    EXPECT_EQ(*localized.powerLine()->enumeratorDictionary(), (Choices{{1, "50 Hz"}, {2, "60 Hz"}}));
}

TEST_F(ControlTableTest, OnlyMenuControlsHaveChoices) {
    for (const auto& record : manager.parametersArray())
        EXPECT_EQ(record->enumeratorDictionary() != nullptr, record->type() == KTUVCParameterType::choice)
            << record->string();
}

TEST_F(ControlTableTest, NoTwoControlsShareUnitAndSelector) {
    std::set<std::pair<int, int>> seen;
    for (const ControlRow& row : controlTable())
        EXPECT_TRUE(seen.insert({row.unit, row.selector}).second) << row.text;
}

TEST_F(ControlTableTest, ReplacedRecordIsReplacedUnderBothNames) {
    auto other = std::make_shared<KTUVCParameters>(2, 2, 2, true, true, true, true, false,
                                                   KTUVCParameterType::range, "Other");
    manager.setBright(other);
    EXPECT_EQ(manager.bright(), other);
    EXPECT_EQ(manager.parametersArray()[11], other);
}

} // namespace
} // namespace tavelo
