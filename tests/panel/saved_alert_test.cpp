// SPDX-License-Identifier: MIT
#include "panel/saved_alert.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "app/resources/resource_bundle.h"

namespace tavelo {
namespace {

class SavedAlert : public testing::Test {
protected:
    SavedAlert() {
        parent_.resize(400, 300);
        parent_.show();
    }

    /// Shows the alert, passes it to `look`, and closes it with a key.
    template <typename Look>
    void show(Qt::Key key, Look look, const char* language = "en") {
        const ResourceBundle bundle({language});
        QTimer whenShown;
        QObject::connect(&whenShown, &QTimer::timeout, &parent_, [&] {
            auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (alert == nullptr) return;
            whenShown.stop();
            look(*alert);
            QTest::keyClick(alert, key);
            if (alert->isVisible()) {
                ADD_FAILURE() << "the key does not close it";
                alert->close();
            }
        });
        whenShown.start(0);
        showSavedAlert(&parent_, bundle);
    }

    static QPushButton* button(const QMessageBox& alert) { return alert.findChild<QPushButton*>(); }

    QWidget parent_;
};

TEST_F(SavedAlert, ShowsItsTextInAWindowOfReasonableSize) {
    show(Qt::Key_Return, [](QMessageBox& alert) {
        EXPECT_EQ(alert.text(), QStringLiteral("Saved successfully"));
        EXPECT_GE(alert.width(), 300);
        EXPECT_GE(alert.height(), 140);
        EXPECT_EQ(alert.grab().toImage().pixelColor(6, 6), QColor(38, 38, 38));
        EXPECT_FALSE(alert.iconPixmap().isNull());
    });
}

TEST_F(SavedAlert, ItsOnlyButtonHasTheFocusAndAnswersToEnterAndEscape) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
        show(key, [](QMessageBox& alert) {
            EXPECT_EQ(alert.buttons().size(), 1);
            EXPECT_TRUE(button(alert)->isDefault());
            EXPECT_EQ(alert.focusWidget(), button(alert));
        });
    }
}

TEST_F(SavedAlert, UsesThePanelsLanguage) {
    show(
        Qt::Key_Escape,
        [](QMessageBox& alert) {
            EXPECT_EQ(button(alert)->text(), QStringLiteral("确定"));
            EXPECT_EQ(alert.text(), QStringLiteral("保存成功"));
        },
        "zh-Hans-CN");
}

} // namespace
} // namespace tavelo
