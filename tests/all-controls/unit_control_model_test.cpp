// SPDX-License-Identifier: MIT
#include "all-controls/unit_control_model.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include "app/resources/resource_bundle.h"
#include "commands/described_controls.h"
#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<ExtensionControl> controlsWithWords() {
    std::vector<ExtensionControl> controls = describedControls();
    controls[0].titles = {{"en", "Lamp"}, {"de", "Lampe"}};
    controls[0].choices[1].titles = {{"en", "On"}, {"de", "An"}};
    controls[1].measure = "Hz";
    controls[1].minimum = 1;
    controls[1].maximum = 20;
    controls[1].defaultValue = 4;
    return controls;
}

class UnitModelTest : public ::testing::Test {
protected:
    ~UnitModelTest() override { QThreadPool::globalInstance()->waitForDone(); }

    void ask() {
        QSignalSpy answers(&model, &ControlModel::changed);
        model.ask();
        ASSERT_TRUE(answers.wait(20'000)); // ms; sanitizers are slow
    }

    std::vector<ControlDescription> controls() const {
        const auto groups = model.groups();
        return groups.empty() ? std::vector<ControlDescription>() : groups.front().controls;
    }
    std::vector<QString> titles() const {
        std::vector<QString> found;
        for (const ControlDescription& control : controls())
            found.push_back(control.title);
        return found;
    }

    testing::BoundVirtualCamera bound;
    KTUVCManager& manager = bound.manager;
    ResourceBundle bundle{{"de-DE"}};
    const ControlCatalog catalog{controlsWithWords()};
    std::vector<std::int64_t> written;
    bool takes = true;
    UnitControlModel model{
        {manager, bundle, catalog, [this](const PlannedWrite& planned, bool) -> std::optional<std::int64_t> {
             written.push_back(planned.value);
             return takes ? tavelo::write(manager, planned) : std::nullopt;
         }}};
};

TEST_F(UnitModelTest, HasNothingUntilTheCameraHasAnswered) {
    EXPECT_THAT(model.groups(), IsEmpty());
    EXPECT_FALSE(model.write(QStringLiteral("hdr"), 1, false));
    EXPECT_THAT(written, IsEmpty());
    ask();
    ASSERT_EQ(model.groups().size(), 1U);
    EXPECT_EQ(model.groups().front().title, u"Extras");
}

TEST_F(UnitModelTest, HasThemAlsoOfACameraWithoutOthers) {
    bound.camera->order({.kind = FaultKind::stall});
    bound.bind();
    ASSERT_FALSE(manager.isControllable());
    ask();
    EXPECT_EQ(controls().size(), 4U);
    EXPECT_TRUE(model.write(QStringLiteral("hdr"), 1, false));
    EXPECT_THAT(written, ElementsAre(1));
}

TEST_F(UnitModelTest, HasTheTitlesOfTheUsersLanguageOrTheEnglishOnes) {
    ask();
    EXPECT_THAT(titles(), ElementsAre(u"Lampe", u"A title", u"A title", u"A title"));
    const auto lamp = controls()[0];
    ASSERT_EQ(lamp.choices.size(), 3U);
    EXPECT_EQ(lamp.choices[0].text, u"off");
    EXPECT_EQ(lamp.choices[1].text, u"An");
}

TEST_F(UnitModelTest, HasTheShapeThatTheDescriptionSays) {
    ask();
    const auto all = controls();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[0].kind, ControlShape::choice);
    EXPECT_EQ(all[1].kind, ControlShape::range);
    EXPECT_EQ(all[1].minimum, 1);
    EXPECT_EQ(all[1].maximum, 20);
    EXPECT_EQ(all[1].suffix, u" Hz");
    EXPECT_EQ(all[1].defaultValue, 4);
    EXPECT_EQ(all[2].kind, ControlShape::flag);
}

TEST_F(UnitModelTest, AMeasureStandsApartFromTheNumberUnlessItIsADegree) {
    for (const auto& [measure, suffix] : {std::pair{"", ""}, {"°", "°"}, {"ms", " ms"}}) {
        std::vector<ExtensionControl> measured = controlsWithWords();
        measured[1].measure = measure;
        const ControlCatalog other(measured);
        UnitControlModel second{{manager, bundle, other, {}}};
        QSignalSpy answers(&second, &ControlModel::changed);
        second.ask();
        ASSERT_TRUE(answers.wait(20'000));
        EXPECT_EQ(second.groups().front().controls.at(1).suffix.toStdString(), suffix);
    }
}

TEST_F(UnitModelTest, AWrittenValueIsTheOneThatTheCameraTook) {
    ask();
    EXPECT_TRUE(model.write(QStringLiteral("lamp-mode"), 2, false));
    EXPECT_EQ(controls()[0].value, 2);
    takes = false;
    EXPECT_FALSE(model.write(QStringLiteral("lamp-mode"), 1, false));
    EXPECT_EQ(controls()[0].value, 2);
    EXPECT_THAT(written, ElementsAre(2, 1));
    EXPECT_FALSE(model.write(QStringLiteral("nothing"), 1, false));
}

TEST_F(UnitModelTest, AValueWithoutAWordIsShownAsANumber) {
    ask();
    ASSERT_TRUE(model.write(QStringLiteral("lamp-mode"), 2, false));
    std::vector<ExtensionControl> fewer = controlsWithWords();
    fewer[0].choices.pop_back();
    const ControlCatalog other(fewer);
    UnitControlModel second{{manager, bundle, other, {}}};
    QSignalSpy answers(&second, &ControlModel::changed);
    second.ask();
    ASSERT_TRUE(answers.wait(20'000)); // ms
    const auto lamp = second.groups().front().controls.front();
    ASSERT_EQ(lamp.choices.size(), 3U);
    EXPECT_EQ(lamp.choices[2].text, u"2");
}

TEST_F(UnitModelTest, AnAnswerFromBeforeAWriteIsAskedForAgain) {
    ask();
    model.ask();
    ASSERT_TRUE(QThreadPool::globalInstance()->waitForDone(20'000)); // ms; the answer waits in the main queue
    ASSERT_TRUE(model.write(QStringLiteral("warmth"), 7, false));
    QSignalSpy answers(&model, &ControlModel::changed);
    ASSERT_TRUE(answers.wait(20'000)); // ms
    EXPECT_EQ(controls()[3].value, 7);
    EXPECT_EQ(answers.size(), 1);
}

TEST_F(UnitModelTest, AskedWhileAnAnswerIsAwaitedItAsksOnceMore) {
    model.ask();
    ASSERT_TRUE(QThreadPool::globalInstance()->waitForDone(20'000)); // ms; the answer waits in the main queue
    const NamedControl* warmth = catalog.find("warmth", manager.device().get());
    ASSERT_TRUE(tavelo::write(manager, {warmth, 9})); // not by the model
    QSignalSpy answers(&model, &ControlModel::changed);
    model.ask();
    ASSERT_TRUE(answers.wait(20'000)); // ms
    EXPECT_EQ(controls()[3].value, 9);
}

TEST_F(UnitModelTest, AnotherBindingHasNothingUntilItIsAsked) {
    ask();
    bound.bind();
    EXPECT_THAT(model.groups(), IsEmpty());
    EXPECT_FALSE(model.write(QStringLiteral("hdr"), 1, false));
    ask();
    EXPECT_EQ(controls().size(), 4U);
}

TEST_F(UnitModelTest, ACameraWithoutTheUnitsHasNoGroup) {
    std::vector<ExtensionControl> strangers = controlsWithWords();
    for (ExtensionControl& control : strangers)
        control.unit[0] = static_cast<std::uint8_t>(control.unit[0] + 1);
    const ControlCatalog other(strangers);
    UnitControlModel second{{manager, bundle, other, {}}};
    QSignalSpy answers(&second, &ControlModel::changed);
    second.ask();
    ASSERT_TRUE(answers.wait(20'000)); // ms
    EXPECT_THAT(second.groups(), IsEmpty());
}

} // namespace
} // namespace tavelo
