// SPDX-License-Identifier: MIT
#include "app/kt_application.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QLabel>

#include "app/resources/resource_bundle.h"

namespace tavelo {
namespace {

TEST(KTApplication, TheCreditsAreTheLocalisedHeadingALineBreakAndTheSoftware) {
    const ResourceBundle english({"en-GB"});
    const ResourceBundle german({"de-DE"});
    const QString heading =
        QString::fromStdString(*german.string("de", "Third_party_open_source_software_used"));
    EXPECT_EQ(KTApplication::credits(german), QStringLiteral("%1\nVVUVCKit").arg(heading));
    EXPECT_NE(KTApplication::credits(english), KTApplication::credits(german));
}

TEST(KTApplication, TheAboutPanelShowsTheCreditsWhateverOptionsItIsGiven) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    KTApplication application(argc, argv);
    const ResourceBundle bundle({"en"});
    application.orderFrontStandardAboutPanelWithOptions(
        {{QStringLiteral("credits"), QStringLiteral("other")}}, bundle);
    application.orderFrontStandardAboutPanelWithOptions({}, bundle);
    QList<QLabel*> credits;
    for (QWidget* window : QApplication::topLevelWidgets())
        credits += window->findChildren<QLabel*>(QStringLiteral("credits"));
    ASSERT_EQ(credits.size(), 1) << "a panel that is open comes to the front";
    EXPECT_EQ(credits.front()->text(), KTApplication::credits(bundle));
    EXPECT_TRUE(credits.front()->window()->isVisible());
    delete credits.front()->window();
}

} // namespace
} // namespace tavelo
