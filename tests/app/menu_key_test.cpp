// SPDX-License-Identifier: MIT
#include "app/menu_key.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

namespace tavelo {
namespace {

class MenuKeyTest : public ::testing::Test {
protected:
    MenuKeyTest() {
        setMenuKey(action_, Qt::Key_F11, window_);
        window_.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
    }

    void sendKey(bool isPressed, bool isRepeated) {
        QTest::simulateEvent(&window_, isPressed, Qt::Key_F11, Qt::NoModifier, QString(), isRepeated);
    }

    QWidget window_;
    QAction action_;
};

TEST_F(MenuKeyTest, WorksWithoutTheMenuAndIsShownInIt) {
    const QSignalSpy triggered(&action_, &QAction::triggered);
    QTest::keyClick(&window_, Qt::Key_F11);
    EXPECT_EQ(triggered.size(), 1);
    EXPECT_TRUE(action_.isShortcutVisibleInContextMenu());
}

TEST_F(MenuKeyTest, AHeldKeyCountsOnce) {
    const QSignalSpy triggered(&action_, &QAction::triggered);
    sendKey(true, false);
    for (int repeat = 0; repeat < 3; ++repeat) {
        sendKey(false, true);
        sendKey(true, true);
    }
    sendKey(false, false);
    EXPECT_EQ(triggered.size(), 1);
    QTest::keyClick(&window_, Qt::Key_F11);
    EXPECT_EQ(triggered.size(), 2);
}

} // namespace
} // namespace tavelo
