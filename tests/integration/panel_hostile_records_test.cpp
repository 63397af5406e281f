// SPDX-License-Identifier: MIT
// Settings records that were edited by hand or damaged by another program.
#include <QApplication>
#include <QTimer>
#include <limits>
#include <string>
#include <vector>

#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

struct HostileRecord {
    const char* name;
    PreferencesValue record;
};

PreferencesValue profile(const PreferencesValue& contrast) {
    return {PreferencesDictionary{{"kNSUserDefaultsKeyContrast", contrast}, {"of the user's own", {true}}}};
}

PreferencesValue recordWith(const PreferencesValue& profile, const PreferencesValue& selected) {
    return {PreferencesArray{profile, profile, profile, profile, selected}};
}

PreferencesValue number(std::int64_t value) {
    return {value};
}

PreferencesValue selectedIndex(const PreferencesValue& index) {
    return {PreferencesDictionary{{std::string(camera_settings::selectedProfileKey), index}}};
}

std::vector<HostileRecord> hostileRecords() {
    using Limits = std::numeric_limits<std::int64_t>;
    const PreferencesValue text{std::string("text")};
    const PreferencesValue none = selectedIndex(number(-1));
    PreferencesValue deep{PreferencesArray()};
    for (int depth = 0; depth < 1000; ++depth)
        deep = {PreferencesArray{deep}};
    return {
        {"Text", text},
        {"Number", number(7)},
        {"Dictionary", {PreferencesDictionary{{"0", profile(number(1))}}}},
        {"Empty", {PreferencesArray()}},
        {"OfThree", {PreferencesArray{profile(number(1)), profile(number(2)), profile(number(3))}}},
        {"OfSix", {PreferencesArray(6, profile(number(40)))}},
        {"OfTexts", recordWith(text, text)},
        {"OfNumbers", recordWith(number(0), number(7))},
        {"OfArrays", recordWith({PreferencesArray{number(1)}}, {PreferencesArray()})},
        {"WithEmptyProfiles", recordWith({PreferencesDictionary()}, none)},
        {"WithATextForAControl", recordWith(profile(text), none)},
        {"WithAFractionForAControl", recordWith(profile({40.5}), none)},
        {"WithAHugeFractionForAControl", recordWith(profile({1e300}), none)},
        {"WithAnArrayForAControl", recordWith(profile({PreferencesArray{number(40)}}), none)},
        {"WithTheLargestNumber", recordWith(profile(number(Limits::max())), none)},
        {"WithTheSmallestNumber", recordWith(profile(number(Limits::min())), none)},
        {"WithIndexSeven", recordWith(profile(number(40)), selectedIndex(number(7)))},
        {"WithATextForTheIndex", recordWith(profile(number(40)), selectedIndex(text))},
        {"WithAnotherKeyBesideTheIndex", recordWith(profile(number(40)), profile(number(40)))},
        {"NestedDeeply", recordWith(deep, deep)},
    };
}

class PanelHostileRecords : public PanelTest, public ::testing::WithParamInterface<HostileRecord> {
protected:
    PreferencesValue stored() { return *store_.objectForKey(key_); }

    /// Starts the panel with a camera that has the record.
    void startWithRecord() {
        plug(1);
        ASSERT_TRUE(waitFor([this] { return !devices().empty(); }));
        key_ = camera_settings::keyForCamera(devices().front()->uniqueID());
        store_.setObject(GetParam().record, key_);
        start(0);
    }

    std::vector<std::shared_ptr<CaptureDevice>> devices() {
        return backend_.capture->devicesWithMediaType(MediaType::video);
    }

    /// Clicks save and dismisses the alert, if any.
    void save() {
        QTimer watch;
        QObject::connect(&watch, &QTimer::timeout, &watch, [] {
            if (QWidget* alert = QApplication::activeModalWidget()) alert->close();
        });
        watch.start(0);
        click(view().saveProfileButton());
        bool ended = false;
        store_.synchronize([this, &ended](bool) { mainQueue_.post([&ended] { ended = true; }); });
        ASSERT_TRUE(waitFor([&ended] { return ended && QApplication::activeModalWidget() == nullptr; }));
    }

    void selectAll() {
        for (KTProfileButton* button : view().profileButtons()) {
            click(button);
            ASSERT_TRUE(waitFor([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
            QCoreApplication::processEvents();
        }
    }

    std::string key_;
};

TEST_P(PanelHostileRecords, AreShownWithNoProfileSelectedAndLeftAlone) {
    startWithRecord();
    EXPECT_EQ(panel().profileIndex(), -1);
    EXPECT_EQ(stored(), GetParam().record);
    EXPECT_TRUE(view().contrastSlider()->isEnabled());
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
}

TEST_P(PanelHostileRecords, LoseNothingWhenProfilesAreSelected) {
    startWithRecord();
    selectAll();
    EXPECT_EQ(panel().profileIndex(), 3);
    const auto* before = std::get_if<PreferencesArray>(&GetParam().record.value);
    if (before == nullptr) {
        EXPECT_EQ(stored(), GetParam().record);
        return;
    }
    const PreferencesValue now = stored();
    const auto& after = std::get<PreferencesArray>(now.value);
    ASSERT_GE(after.size(), before->size());
    for (std::size_t i = 0; i < before->size(); ++i) {
        if (i != camera_settings::selectedProfilePosition) {
            EXPECT_EQ(after[i], (*before)[i]) << i;
        }
    }
}

TEST_P(PanelHostileRecords, LoseNothingWhenAProfileIsSaved) {
    startWithRecord();
    click(view().profile2Button());
    ASSERT_TRUE(waitFor([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
    const PreferencesValue selected = stored();
    save();
    const PreferencesValue now = stored();
    const auto* before = std::get_if<PreferencesArray>(&selected.value);
    if (before == nullptr) {
        EXPECT_EQ(now, selected);
        return;
    }
    const auto& after = std::get<PreferencesArray>(now.value);
    ASSERT_EQ(after.size(), before->size());
    for (std::size_t i = 0; i < before->size(); ++i) {
        const auto* dictionary = std::get_if<PreferencesDictionary>(&(*before)[i].value);
        if (i != 1 || dictionary == nullptr) {
            EXPECT_EQ(after[i], (*before)[i]) << i;
            continue;
        }
        const auto& saved = std::get<PreferencesDictionary>(after[i].value);
        EXPECT_EQ(saved.count("of the user's own"), dictionary->count("of the user's own"));
        EXPECT_EQ(saved.at("kNSUserDefaultsKeyContrast").value.index(), number(0).value.index())
            << "the saved value is a number again";
    }
}

std::string nameOf(const ::testing::TestParamInfo<HostileRecord>& record) {
    return record.param.name;
}

INSTANTIATE_TEST_SUITE_P(Records, PanelHostileRecords, ::testing::ValuesIn(hostileRecords()), nameOf);

} // namespace
} // namespace tavelo
