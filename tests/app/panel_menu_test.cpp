// SPDX-License-Identifier: MIT
#include "app/panel_menu.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include "support/manual_main_queue.h"
#include "support/memory_preferences_store.h"

namespace tavelo {
namespace {

class PanelMenuTest : public ::testing::Test {
protected:
    PanelMenuTest() {
        window_.resize(300, 200);
        window_.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
    }

    /// Sends the right press through the window, like a real mouse; the window turns it into a context menu
    /// event.
    QMenu* openedMenu() {
        QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    static QStringList texts(const QMenu& menu) {
        QStringList texts;
        for (const QAction* action : menu.actions())
            if (!action->isSeparator()) texts << action->text();
        return texts;
    }

    static QAction* action(const QMenu& menu, const QString& text) {
        for (QAction* action : menu.actions())
            if (action->text() == text) return action;
        return nullptr;
    }

    ResourceBundle bundle_{{"en-GB"}};
    testing::ManualMainQueue mainQueue_;
    MemoryPreferencesStore preferences_{mainQueue_};
    ProgramLanguage language_{bundle_, preferences_};
    QWidget window_;
    PanelMenu panelMenu_{window_, bundle_, language_};
};

TEST_F(PanelMenuTest, RightPressOpensIt) {
    const QMenu* menu = openedMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(texts(*menu),
              QStringList({QStringLiteral("All Controls"), QStringLiteral("Reconnect Camera"),
                           QStringLiteral("Language"), QStringLiteral("About Tavelo Control Panel"),
                           QStringLiteral("Quit")}));
}

class TestSection final : public MenuSection {
public:
    QList<QAction*> entries() override { return {&entry_}; }
    void retranslate() override { ++retranslations_; }

    QAction entry_;
    int retranslations_ = 0;
};

TEST_F(PanelMenuTest, SectionsComeFirstAndSayWhatTheyHaveEachTime) {
    TestSection first;
    TestSection second;
    panelMenu_.addSection(first);
    panelMenu_.addSection(second);
    for (const auto* name : {"today", "tomorrow"}) {
        first.entry_.setText(QLatin1String(name));
        second.entry_.setText(QStringLiteral("second"));
        QMenu* menu = openedMenu();
        ASSERT_NE(menu, nullptr);
        EXPECT_EQ(texts(*menu).first(3), QStringList({QLatin1String(name), QStringLiteral("second"),
                                                      QStringLiteral("All Controls")}));
        menu->close();
    }
    action(*action(*openedMenu(), QStringLiteral("Language"))->menu(), QStringLiteral("Deutsch"))->trigger();
    EXPECT_EQ(first.retranslations_, 1);
    EXPECT_EQ(second.retranslations_, 1);
}

TEST_F(PanelMenuTest, ShiftF10OpensItToo) {
    QTest::keyClick(&window_, Qt::Key_F10, Qt::ShiftModifier);
    const QWidget* menu = QApplication::activePopupWidget();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->objectName(), QStringLiteral("contextMenu"));
}

TEST_F(PanelMenuTest, EachEntryEmitsItsSignal) {
    for (const auto& [text, signal] : {std::pair{"About Tavelo Control Panel", &PanelMenu::aboutChosen},
                                       std::pair{"All Controls", &PanelMenu::allControlsChosen},
                                       std::pair{"Reconnect Camera", &PanelMenu::reconnectChosen},
                                       std::pair{"Quit", &PanelMenu::quitChosen}}) {
        QMenu* menu = openedMenu();
        ASSERT_NE(menu, nullptr);
        QSignalSpy chosen(&panelMenu_, signal);
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(action(*menu, QString::fromUtf8(text))).center());
        EXPECT_EQ(chosen.size(), 1) << text;
    }
}

TEST_F(PanelMenuTest, KeysWorkWithoutTheMenu) {
    QSignalSpy reconnect(&panelMenu_, &PanelMenu::reconnectChosen);
    QSignalSpy quit(&panelMenu_, &PanelMenu::quitChosen);
    QTest::keyClick(&window_, Qt::Key_F5);
    EXPECT_EQ(reconnect.size(), 1);
    EXPECT_EQ(quit.size(), 0);
    QTest::keyClick(&window_, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quit.size(), 1);
    QSignalSpy allControls(&panelMenu_, &PanelMenu::allControlsChosen);
    QTest::keyClick(&window_, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(allControls.size(), 1);
}

TEST_F(PanelMenuTest, ListsTheBundlesLanguagesByTheirNativeNames) {
    const QMenu* menu = openedMenu();
    ASSERT_NE(menu, nullptr);
    const QMenu* languages = action(*menu, QStringLiteral("Language"))->menu();
    QStringList names{QStringLiteral("System Language")};
    for (const std::string& localization : bundle_.localizations())
        names << QString::fromStdString(
            bundle_.string(localization, "language_name").value_or(std::string()));
    EXPECT_EQ(texts(*languages), names);
    EXPECT_EQ(names.first(7),
              QStringList({QStringLiteral("System Language"), QStringLiteral("English"),
                           QStringLiteral("简体中文"), QStringLiteral("日本語"), QStringLiteral("Deutsch"),
                           QStringLiteral("Français"), QStringLiteral("Español")}));
    EXPECT_TRUE(action(*languages, QStringLiteral("System Language"))->isChecked());
}

TEST_F(PanelMenuTest, ChoosingALanguageChangesTheMenuToo) {
    QSignalSpy changed(&panelMenu_, &PanelMenu::languageChanged);
    QMenu* menu = openedMenu();
    ASSERT_NE(menu, nullptr);
    const QMenu* languages = action(*menu, QStringLiteral("Language"))->menu();
    action(*languages, QStringLiteral("Deutsch"))->trigger();
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(language_.chosen(), "de");
    EXPECT_TRUE(texts(*menu).contains(QStringLiteral("Beenden")));
    EXPECT_TRUE(action(*languages, QStringLiteral("Deutsch"))->isChecked());
    EXPECT_FALSE(action(*languages, QStringLiteral("Systemsprache"))->isChecked());
}

} // namespace
} // namespace tavelo
