// SPDX-License-Identifier: MIT
#include "app/kt_application.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

#include "app/resources/resource_bundle.h"
#include "app/software_list.h"

namespace tavelo {
namespace {

TEST(KTApplication, CreditsAreTheLocalisedHeadingALineBreakAndTheSoftware) {
    const ResourceBundle english({"en-GB"});
    const ResourceBundle german({"de-DE"});
    const QString heading =
        QString::fromStdString(*german.string("de", "Third_party_open_source_software_used"));
    EXPECT_EQ(KTApplication::credits(german), QStringLiteral("%1\nVVUVCKit").arg(heading));
    EXPECT_NE(KTApplication::credits(english), KTApplication::credits(german));
}

TEST(SoftwareList, NamesQtAndTheOtherLibraries) {
    const std::vector<UsedSoftware> software = usedSoftware();
    EXPECT_GE(software.size(), 8U);
    for (const UsedSoftware& used : software) {
        EXPECT_FALSE(used.name.isEmpty());
        EXPECT_FALSE(used.licence.isEmpty()) << used.name.toStdString();
    }
}

TEST(KTApplication, IsLaidOutFromTheLeftWhateverTheDesktopsDirectionIs) {
    int argc = 2;
    char name[] = "test";
    char reverse[] = "-reverse"; // as the desktop of a language that is written from the right
    char* argv[] = {name, reverse, nullptr};
    const KTApplication application(argc, argv);
    EXPECT_EQ(QApplication::layoutDirection(), Qt::LeftToRight);
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
    ASSERT_EQ(credits.size(), 1) << "an open panel is raised, not opened again";
    EXPECT_EQ(credits.front()->text(), KTApplication::credits(bundle));
    EXPECT_TRUE(credits.front()->window()->isVisible());
    const QImage picture = credits.front()->grab().toImage();
    EXPECT_GE(picture.pixelColor(picture.width() / 2, 4).lightness(), 220)
        << "black text needs a light background";
    QFont font = credits.front()->font();
    EXPECT_EQ(font.pixelSize(), 12);
    EXPECT_EQ(credits.front()->palette().color(QPalette::WindowText), QColor(Qt::black));

    QWidget* about = credits.front()->window();
    about->findChild<QPushButton*>(QStringLiteral("openSoftwareList"))->click();
    auto* list = about->findChild<QDialog*>(QStringLiteral("softwareList"));
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->isVisible());
    const auto* table = list->findChild<QTableWidget*>();
    EXPECT_EQ(table->rowCount(), static_cast<int>(usedSoftware().size()));
    EXPECT_EQ(table->item(0, 0)->text(), usedSoftware().front().name);
    EXPECT_EQ(table->item(0, 1)->text(), usedSoftware().front().licence);
    EXPECT_EQ(list->windowTitle(), QStringLiteral("Open-source software"));
    list->reject();
    delete about;
}

} // namespace
} // namespace tavelo
