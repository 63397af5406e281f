// SPDX-License-Identifier: MIT
// The window of all controls beside the panel.
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QPushButton>
#include <QSignalSpy>

#include "app/all_controls.h"
#include "app/panel_menu.h"
#include "commands/described_controls.h"
#include "integration/main_thread_watch.h"
#include "integration/panel_fixture.h"
#include "platform/virtual/control_interface.h"
#include "support/untold_interface.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class PanelAllControls : public PanelTest {
protected:
    ~PanelAllControls() override {
        QThreadPool::globalInstance()->waitForDone();
        allControls_.reset();
    }

    void startAndOpen(int cameras) {
        start(cameras);
        prepare();
        allControls_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
    }
    void prepare() { allControls_ = std::make_unique<AllControls>(panel(), bundle_, catalog_, window_); }

    AllControlsWindow& window() { return *allControls_->window(); }

    ControlLine* line(const char* key) {
        for (ControlLine* line : window().lines())
            if (line->control().key == QLatin1String(key)) return line;
        return nullptr;
    }
    template <typename Widget>
    Widget* part(const char* key) {
        return line(key)->findChild<Widget*>();
    }
    KTSlider* slider(const char* key) { return part<KTSlider>(key); }
    QPushButton* button(const char* name) { return window().findChild<QPushButton*>(QLatin1String(name)); }

    const ControlCatalog catalog_{describedControls()};
    std::unique_ptr<AllControls> allControls_;
};

TEST_F(PanelAllControls, ASliderMovesTheCameraThePanelAndTheService) {
    startAndOpen(1);
    std::vector<KTUVCControl> told;
    QObject::connect(&panel(), &ViewController::controlChanged, &panel(),
                     [&](KTUVCControl control) { told.push_back(control); });
    slider("brightness")->choose(33);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 33);
    EXPECT_EQ(view().brightnessSlider()->intValue(), 33);
    EXPECT_EQ(part<QDoubleSpinBox>("brightness")->value(), 33);
    EXPECT_THAT(told, ElementsAre(KTUVCControl::bright));
    slider("gain")->choose(9);
    EXPECT_EQ(camera(1)->controlValue(control::gain), 9);
}

TEST_F(PanelAllControls, ControlsOfAnExtensionUnitStandBelowTheOthersAndMoveTheCamera) {
    startAndOpen(1);
    ASSERT_TRUE(waitFor([this] { return line("lamp-mode") != nullptr; }));
    EXPECT_EQ(window().lines().back()->control().key, u"warmth");
    part<QComboBox>("lamp-mode")->setCurrentIndex(2);
    Q_EMIT part<QComboBox>("lamp-mode")->activated(2);
    const auto* lamp = catalog_.find("lamp-mode", manager_.device().get());
    EXPECT_EQ(controlState(manager_, *lamp, false)->value, 2);
    slider("warmth")->choose(-3);
    const auto* warmth = catalog_.find("warmth", manager_.device().get());
    EXPECT_EQ(controlState(manager_, *warmth, false)->value, -3);
    EXPECT_EQ(part<QDoubleSpinBox>("warmth")->value(), -3);
}

TEST_F(PanelAllControls, ControlsOfAnExtensionUnitAreReadAgainWhenTheWindowGetsTheFocus) {
    startAndOpen(1);
    ASSERT_TRUE(waitFor([this] { return line("warmth") != nullptr; }));
    const auto* warmth = catalog_.find("warmth", manager_.device().get());
    ASSERT_TRUE(tavelo::write(manager_, {warmth, 5}));
    EXPECT_NE(slider("warmth")->intValue(), 5);
    Q_EMIT window().activated();
    EXPECT_TRUE(waitFor([this] { return slider("warmth")->intValue() == 5; }));
}

TEST_F(PanelAllControls, ACameraMayHaveControlsOfAnExtensionUnitOnly) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.terminalControls = 0;
    model.unitControls = 0;
    backend_.bus->plug(model);
    startAndOpen(0);
    ASSERT_TRUE(waitFor([this] { return line("warmth") != nullptr; }));
    EXPECT_EQ(line("brightness"), nullptr);
    EXPECT_FALSE(view().brightnessSlider()->isEnabled());
    slider("warmth")->choose(-3);
    const auto* warmth = catalog_.find("warmth", manager_.device().get());
    EXPECT_EQ(controlState(manager_, *warmth, false)->value, -3);
}

TEST_F(PanelAllControls, FollowsThePanelOtherProgramsAndTheService) {
    startAndOpen(1);
    view().contrastSlider()->choose(60);
    EXPECT_EQ(slider("contrast")->intValue(), 60);
    ASSERT_TRUE(waitFor([this] {
        camera(1)->setControlValue(control::gain, 9);
        return slider("gain")->intValue() == 9;
    }));
    manager_.setBrightWithComplitionHandle(20, {});
    panel().controlDidChange(KTUVCControl::bright);
    EXPECT_EQ(slider("brightness")->intValue(), 20);
    push(view().restoreProfileButton());
    EXPECT_TRUE(waitFor([this] { return slider("contrast")->intValue() == 32; }));
}

TEST_F(PanelAllControls, AManualControlIsDisabledWhileItsAutomaticIsOn) {
    startAndOpen(1);
    EXPECT_TRUE(slider("white-balance-temperature")->isEnabled());
    click(part<KTSwitch>("white-balance-temperature-auto"));
    EXPECT_EQ(camera(1)->controlValue(control::autoWhiteBalance), 1);
    EXPECT_FALSE(slider("white-balance-temperature")->isEnabled());
    EXPECT_EQ(line("white-balance-temperature")->control().setBy, u"Auto White Balance");
    ASSERT_TRUE(waitFor([this] {
        camera(1)->setControlValue(control::autoWhiteBalance, 0);
        return slider("white-balance-temperature")->isEnabled();
    }));
}

TEST_F(PanelAllControls, ARefusedValueLeavesTheNumberAndTheNextOneIsTaken) {
    startAndOpen(1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::gain, .direction = FaultDirection::writes});
    const double before = part<QDoubleSpinBox>("gain")->value();
    part<QDoubleSpinBox>("gain")->setValue(before + 1);
    EXPECT_EQ(part<QDoubleSpinBox>("gain")->value(), before);
    camera(1)->clearFaults();
    part<QDoubleSpinBox>("gain")->setValue(before + 2);
    EXPECT_EQ(camera(1)->controlValue(control::gain), before + 2);
    EXPECT_EQ(slider("gain")->intValue(), before + 2);
}

TEST_F(PanelAllControls, DefaultsResetAndSendAllSendsWhatIsHeld) {
    startAndOpen(1);
    slider("contrast")->choose(60);
    slider("gain")->choose(9);
    camera(1)->clearRequestLog();
    QSignalSpy ends(&panel(), &ViewController::controlWalkEnded);
    click(button("sendAll"));
    EXPECT_FALSE(button("defaults")->isEnabled());
    ASSERT_TRUE(waitFor([&] { return ends.size() == 1; }));
    EXPECT_GT(writes(*camera(1)).size(), 15U);
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 60);
    EXPECT_TRUE(button("defaults")->isEnabled());
    click(button("defaults"));
    ASSERT_TRUE(waitFor([&] { return ends.size() == 2; }));
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 32);
    EXPECT_EQ(slider("contrast")->intValue(), 32);
    EXPECT_EQ(view().contrastSlider()->intValue(), 32);
    EXPECT_EQ(slider("gain")->intValue(), line("gain")->control().defaultValue);
}

TEST_F(PanelAllControls, ShowsTheCameraOfThePanel) {
    startAndOpen(2);
    slider("brightness")->choose(33);
    EXPECT_TRUE(window().windowTitle().endsWith(u'1')) << window().windowTitle().toStdString();
    click(view().camera2Button());
    EXPECT_TRUE(window().windowTitle().endsWith(u'2')) << window().windowTitle().toStdString();
    EXPECT_NE(slider("brightness")->intValue(), 33);
    slider("brightness")->choose(-20);
    EXPECT_EQ(camera(2)->controlValue(control::brightness), -20);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 33);
}

TEST_F(PanelAllControls, AnUnpluggedCameraLeavesAnEmptyWindowUntilAnotherComes) {
    startAndOpen(1);
    EXPECT_FALSE(window().lines().empty());
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return window().lines().empty(); }));
    EXPECT_EQ(window().windowTitle(), u"All Controls");
    EXPECT_FALSE(button("defaults")->isEnabled());
    plug(1);
    ASSERT_TRUE(waitFor([this] { return !window().lines().empty(); }));
}

TEST_F(PanelAllControls, OpeningItOnASlowCameraDoesNotBlock) {
    start(1);
    prepare();
    camera(1)->order({.kind = FaultKind::delay, .wait = 20ms});
    const OwnRequests own(camera(1));
    allControls_->show();
    EXPECT_TRUE(waitFor([this] { return line("white-balance-temperature")->control().step == 10; }));
    EXPECT_EQ(own.count(), 0U);
}

TEST_F(PanelAllControls, RemembersItsPlaceAndNothingElse) {
    startAndOpen(1);
    const auto before = store_.keys().size();
    window().setGeometry(40, 50, 500, 300);
    window().close();
    EXPECT_EQ(store_.keys().size(), before + 1);
    allControls_.reset();
    prepare();
    allControls_->show();
    EXPECT_EQ(window().geometry(), QRect(40, 50, 500, 300));
    allControls_.reset();
    store_.setObject(
        {PreferencesArray{
            {std::int64_t{90'000}}, {std::int64_t{0}}, {std::int64_t{500}}, {std::int64_t{300}}}},
        "AllControlsPlace");
    prepare();
    allControls_->show();
    EXPECT_NE(window().width(), 500) << "there is no screen";
}

TEST_F(PanelAllControls, AStoredPlaceThatIsNoneIsIgnored) {
    store_.setObject({std::string("left")}, "AllControlsPlace");
    startAndOpen(1);
    EXPECT_TRUE(window().isVisible());
}

TEST_F(PanelAllControls, ChangesItsLanguageAtOnce) {
    startAndOpen(1);
    ProgramLanguage language(bundle_, store_);
    language.choose("de");
    allControls_->languageDidChange();
    EXPECT_EQ(button("defaults")->text(), u"Standardwerte");
    EXPECT_EQ(line("gain")->control().title, u"Verstärkung");
}

TEST_F(PanelAllControls, TheKeyboardStartsAtTheFirstControlAndReachesTheButtonsLast) {
    startAndOpen(1);
    ASSERT_TRUE(waitFor([this] { return line("white-balance-temperature")->control().step == 10; }));
    QApplication::setActiveWindow(&window());
    EXPECT_EQ(window().focusWidget(), part<QComboBox>("scanning-mode"));
    std::vector<QWidget*> reached;
    do {
        reached.push_back(window().focusWidget());
        QTest::keyClick(window().focusWidget(), Qt::Key_Tab);
    } while (window().focusWidget() != reached.front() && reached.size() < 100);
    ASSERT_LT(reached.size(), 100U);
    EXPECT_EQ(reached[reached.size() - 2], button("defaults"));
    EXPECT_EQ(reached.back(), button("sendAll"));
    for (const ControlLine* each : window().lines()) {
        const bool isReached =
            std::ranges::any_of(reached, [&](const QWidget* widget) { return each->isAncestorOf(widget); });
        EXPECT_EQ(isReached, each->control().setBy.isEmpty()) << each->control().key.toStdString();
    }
}

TEST_F(PanelAllControls, TheFocusStaysAtItsControlWhenTheWidgetsAreMadeAgain) {
    startAndOpen(1);
    ASSERT_TRUE(waitFor([this] { return line("white-balance-temperature")->control().step == 10; }));
    slider("gain")->setFocus();
    ProgramLanguage language(bundle_, store_);
    language.choose("de");
    allControls_->languageDidChange();
    EXPECT_EQ(window().focusWidget(), slider("gain"));
}

TEST_F(PanelAllControls, EnterInANumberFieldPressesNoButton) {
    startAndOpen(1);
    QSignalSpy defaults(&window(), &AllControlsWindow::defaultsChosen);
    auto* field = part<QDoubleSpinBox>("gain");
    field->setFocus();
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(defaults.size(), 0);
}

TEST_F(PanelAllControls, ACameraThatTellsNothingIsReadWhenTheWindowGetsTheFocus) {
    startAndOpen(1);
    manager_.setInterface(
        std::make_shared<testing::UntoldInterface>(std::make_shared<VirtualControlInterface>(camera(1), 0)));
    camera(1)->setControlValue(control::gain, 9);
    ASSERT_TRUE(waitFor([this] { // until the panel knows of the other interface
        QApplication::setActiveWindow(nullptr);
        QApplication::setActiveWindow(&window());
        return slider("gain")->intValue() == 9;
    }));
}

TEST_F(PanelAllControls, ADragSendsEachValueOnce) {
    startAndOpen(1);
    KTSlider* gain = slider("gain");
    const ControlLine* before = line("gain");
    press(gain, 0);
    camera(1)->clearRequestLog();
    move(gain, 0.5);
    release(gain, 0.5);
    EXPECT_EQ(writes(*camera(1)).size(), 2U) << "the move and the release";
    EXPECT_EQ(line("gain"), before) << "the widgets stay, or the drag would end";
}

/// Every key with every modifier, in the panel and in the window of all controls.
class PanelKeys : public PanelAllControls, public ::testing::WithParamInterface<int> {};

TEST_P(PanelKeys, NoneDoesHarm) {
    start(GetParam());
    prepare();
    ProgramLanguage language(bundle_, store_);
    PanelMenu menu(window_, bundle_, language);
    QObject::connect(&menu, &PanelMenu::allControlsChosen, &*allControls_, &AllControls::show);
    QTest::keyClick(&window_, Qt::Key_A, Qt::ControlModifier);
    ASSERT_NE(allControls_->window(), nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
    QTimer closesMessages; // "Saved successfully" waits for its user
    QObject::connect(&closesMessages, &QTimer::timeout, &window_, [] {
        if (QWidget* message = QApplication::activeModalWidget()) message->close();
    });
    closesMessages.start(0);
    std::vector<int> keys;
    for (int key = Qt::Key_Space; key <= Qt::Key_AsciiTilde; ++key)
        keys.push_back(key);
    for (int key = Qt::Key_Escape; key <= Qt::Key_F35; ++key)
        keys.push_back(key);
    for (const Qt::KeyboardModifier modifier :
         {Qt::NoModifier, Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier}) {
        for (const int key : keys) {
            for (QWidget* target : {static_cast<QWidget*>(&window_), static_cast<QWidget*>(&window())}) {
                QWidget* focused = target->focusWidget() != nullptr ? target->focusWidget() : target;
                const QString text = key < Qt::Key_Escape ? QString(QChar(key)) : QString();
                QTest::sendKeyEvent(QTest::Click, focused, static_cast<Qt::Key>(key), text, modifier);
                while (QWidget* popup = QApplication::activePopupWidget())
                    popup->close();
                QCoreApplication::processEvents();
            }
        }
        allControls_->show(); // Escape closes it
    }
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(window().lines().empty(), GetParam() == 0);
    if (GetParam() == 0) return;
    slider("gain")->choose(9);
    EXPECT_EQ(camera(1)->controlValue(control::gain), 9) << "everything still works";
}

INSTANTIATE_TEST_SUITE_P(Cameras, PanelKeys, ::testing::Values(0, 1, 3));

} // namespace
} // namespace tavelo
