// SPDX-License-Identifier: MIT
#include "app/panel_menu.h"
#include "app/program_language.h"
#include "integration/panel_fixture.h"
#include "widgets/image_view.h"

namespace tavelo {
namespace {

class PanelShell : public PanelTest {
protected:
    std::uint64_t drawnFrames() { return panel().displayView()->mtkView()->drawnFrames(); }

    /// True if another frame arrives.
    [[nodiscard]] bool framesGoOn() {
        return waitFor([this, before = drawnFrames()] { return drawnFrames() > before; });
    }

    std::size_t requests(int number) { return camera(number)->requestLog().size(); }
};

TEST_F(PanelShell, ClosingHidesTheWindowAndReopeningShowsItWithTheSessionUntouched) {
    start(1);
    ASSERT_TRUE(framesGoOn());
    click(view().profile1Button());
    QThreadPool::globalInstance()->waitForDone();
    const auto device = panel().displayView()->captureDevice();
    click(view().closeButton());
    EXPECT_FALSE(window_.isVisible());
    EXPECT_TRUE(framesGoOn()) << "the camera's session keeps running";

    const std::size_t before = requests(1);
    windowController_.makeKeyAndOrderFront();
    EXPECT_TRUE(window_.isVisible());
    EXPECT_TRUE(framesGoOn());
    EXPECT_EQ(panel().displayView()->captureDevice(), device);
    EXPECT_EQ(panel().profileIndex(), 0);
    EXPECT_EQ(requests(1), before) << "nothing is sent to the camera";
}

TEST_F(PanelShell, MinimisingMinimisesAndReopeningRestores) {
    start(1);
    click(view().minButton());
    EXPECT_TRUE(window_.isMinimized());
    windowController_.makeKeyAndOrderFront();
    EXPECT_FALSE(window_.isMinimized());
    EXPECT_TRUE(window_.isVisible());
}

TEST_F(PanelShell, ReconnectRestartsOnlyTheShownCamera) {
    start(2);
    click(view().camera2Button());
    ASSERT_TRUE(framesGoOn());
    click(view().profile1Button());
    QThreadPool::globalInstance()->waitForDone();
    const std::size_t first = requests(1);
    const std::size_t second = requests(2);
    panel().reconnectCamera();
    EXPECT_EQ(panel().displayView()->captureDevice(), panel().devicesArray()[1]);
    EXPECT_GT(requests(2), second) << "its values are read again";
    EXPECT_EQ(requests(1), first);
    EXPECT_EQ(panel().profileIndex(), -1);
    EXPECT_TRUE(view().camera2Button()->selected());
    EXPECT_TRUE(framesGoOn());
}

TEST_F(PanelShell, ReconnectWithoutACameraChangesNothing) {
    start(0);
    panel().reconnectCamera();
    EXPECT_TRUE(panel().devicesArray().empty());
    EXPECT_FALSE(view().brightnessSlider()->isEnabled());
    EXPECT_FALSE(view().camera1Button()->isEnabled());
}

TEST_F(PanelShell, LanguageChangesTheWholePanelAtOnce) {
    bundle_.preferLanguage("en");
    start(1);
    ProgramLanguage language(bundle_, store_);
    const PanelMenu menu(window_, bundle_, language);
    QObject::connect(&menu, &PanelMenu::languageChanged, &panel(), &ViewController::languageDidChange);
    const int switchBefore = view().mirrorSwitch()->x();
    const QString valueBefore = view().zoomValueText()->text();

    QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
    auto* opened = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(opened, nullptr);
    QAction* german = nullptr;
    for (const QAction* entry : opened->actions())
        for (QAction* choice : entry->menu() != nullptr ? entry->menu()->actions() : QList<QAction*>())
            if (choice->text() == QStringLiteral("Deutsch")) german = choice;
    ASSERT_NE(german, nullptr);
    german->trigger();
    opened->close();
    EXPECT_EQ(view().brightnessTitleText()->text(), QStringLiteral("Helligkeit"));
    EXPECT_EQ(view().brightnessSlider()->accessibleName(), QStringLiteral("Helligkeit"));
    EXPECT_EQ(view().profile4Button()->text(), QStringLiteral("PROFIL 4"));
    EXPECT_EQ(view().closeButton()->accessibleName(), QStringLiteral("Schließen"));
    EXPECT_GT(view().mirrorSwitch()->x(), switchBefore) << "a longer title moves the row to the right";
    EXPECT_EQ(view().zoomValueText()->text(), valueBefore);
}

TEST_F(PanelShell, MenuOpensOverEveryPartOfTheWindow) {
    start(1);
    ProgramLanguage language(bundle_, store_);
    const PanelMenu menu(window_, bundle_, language);
    const std::initializer_list<const QWidget*> parts{view().displayView(), view().brightnessSlider(),
                                                      view().appTitleText(), view().profile1Button(),
                                                      view().logoImageView()};
    for (const QWidget* part : parts) {
        const QPoint place = part->mapTo(&window_, part->rect().center());
        QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, place);
        QWidget* opened = QApplication::activePopupWidget();
        ASSERT_NE(opened, nullptr) << part->metaObject()->className();
        EXPECT_EQ(opened->objectName(), QStringLiteral("contextMenu"));
        opened->close();
    }
    EXPECT_EQ(panel().profileIndex(), -1) << "a right press changes no setting";
}

TEST_F(PanelShell, ClickingALabelOperatesItsSwitchOrButton) {
    start(1);
    const auto clickOn = [this](const QWidget* part) {
        QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {},
                          part->mapTo(&window_, part->rect().center()));
    };
    clickOn(view().hz60Text());
    EXPECT_TRUE(view().hz60Button()->check());
    EXPECT_EQ(manager_.powerLine()->val(), 2);
    clickOn(view().hz50Text());
    EXPECT_TRUE(view().hz50Button()->check());
    EXPECT_EQ(manager_.powerLine()->val(), 1);
    clickOn(view().mirrorTitleText());
    EXPECT_TRUE(view().mirrorSwitch()->on());
    EXPECT_TRUE(panel().displayView()->mtkView()->shouldFlipHorizontal());

    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return !view().mirrorSwitch()->isEnabled(); }));
    clickOn(view().mirrorTitleText());
    clickOn(view().hz60Text());
    EXPECT_TRUE(view().mirrorSwitch()->on()) << "the label is disabled with its switch";
    EXPECT_TRUE(view().hz50Button()->check());
}

} // namespace
} // namespace tavelo
