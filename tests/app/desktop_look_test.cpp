// SPDX-License-Identifier: MIT
#include "app/desktop_look.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <cmath>
#include <optional>

#include "service_on_bus.h"
#include "widgets/panel_look.h"

namespace tavelo {
namespace {

using Settings = QMap<QString, QVariantMap>;

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");

const auto accessibility = QStringLiteral("org.gnome.desktop.a11y.interface");
const auto desktop = QStringLiteral("org.gnome.desktop.interface");
const auto appearance = QStringLiteral("org.freedesktop.appearance");

/// A desktop's portal, which appears when it has an answer.
class Portal final {
public:
    Portal() { qDBusRegisterMetaType<Settings>(); }

    void appear(const QVariant& answer) {
        bus_.emplace(service, path, interface, answer.isValid() ? QVariantList{answer} : QVariantList());
    }
    void change(const QString& group, const QString& key, const QVariant& value) {
        bus_->emitSignal(QStringLiteral("SettingChanged"),
                         {group, key, QVariant::fromValue(QDBusVariant(value))});
    }

    int calls() const { return int(bus_->calls().size()); }
    QStringList groups() const {
        EXPECT_EQ(bus_->calls().last().member(), QStringLiteral("ReadAll"));
        return bus_->calls().last().arguments().value(0).toStringList();
    }

private:
    std::optional<testing::ServiceOnBus> bus_;
};

class DesktopLookTest : public ::testing::Test {
protected:
    ~DesktopLookTest() override {
        look_.reset();
        QApplication::setPalette(QPalette());
        QApplication::setFont(font_);
        QDBusConnection::disconnectFromBus(QStringLiteral("panel"));
    }

    void start() {
        look_.emplace(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("panel")));
    }
    void startWith(const QVariant& answer) {
        portal_.appear(answer);
        start();
        // The portal answers the calls of one program in their order, and its signals come after.
        portal_.change(QStringLiteral("end"), QStringLiteral("end"), true);
        await([this] { return portal_.calls() > 0; });
        QCoreApplication::processEvents();
    }
    static void await(const std::function<bool()>& condition) {
        EXPECT_TRUE(QTest::qWaitFor(condition, 20'000));
    }
    static bool contrast() { return hasHighContrast(QApplication::palette()); }

    const QFont font_ = QApplication::font();
    Portal portal_;
    std::optional<DesktopLook> look_;
};

TEST_F(DesktopLookTest, ContrastThatThePortalNamesMakesThePaletteWhiteOnBlack) {
    startWith(QVariant::fromValue(Settings{{appearance, {{QStringLiteral("contrast"), 1U}}}}));
    await(contrast);
    EXPECT_EQ(QApplication::palette().color(QPalette::Highlight), QColor(Qt::white));
    EXPECT_EQ(QApplication::palette().color(QPalette::HighlightedText), QColor(Qt::black));
    EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipBase), QColor(Qt::black));
    EXPECT_THAT(portal_.groups(), ::testing::UnorderedElementsAre(appearance, accessibility, desktop));
}

TEST_F(DesktopLookTest, ContrastOfAnOlderPortalIsUnderstoodToo) {
    startWith(QVariant::fromValue(Settings{{accessibility, {{QStringLiteral("high-contrast"), true}}}}));
    await(contrast);
}

TEST_F(DesktopLookTest, FollowsChanges) {
    const QPalette before = QApplication::palette();
    startWith(QVariant::fromValue(Settings{}));
    EXPECT_FALSE(contrast());
    portal_.change(appearance, QStringLiteral("contrast"), 1U);
    await(contrast);
    portal_.change(accessibility, QStringLiteral("high-contrast"), true);
    portal_.change(appearance, QStringLiteral("contrast"), 0U);
    portal_.change(desktop, QStringLiteral("text-scaling-factor"), 1.5);
    await([this] { return QApplication::font().pointSizeF() > font_.pointSizeF(); });
    EXPECT_TRUE(contrast()); // one of the two still asks for it
    portal_.change(accessibility, QStringLiteral("high-contrast"), false);
    await([] { return !contrast(); });
    EXPECT_EQ(QApplication::palette(), before);
    EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipBase), QColor(29, 29, 29));
}

TEST_F(DesktopLookTest, TextIsAsLargeAsTheDesktopsUpToThreeTimes) {
    startWith(QVariant::fromValue(Settings{{desktop, {{QStringLiteral("text-scaling-factor"), 2.0}}}}));
    await([this] { return QApplication::font().pointSizeF() == 2 * font_.pointSizeF(); });
    portal_.change(desktop, QStringLiteral("text-scaling-factor"), 1000.0);
    await([this] { return QApplication::font().pointSizeF() == 3 * font_.pointSizeF(); });
    portal_.change(desktop, QStringLiteral("text-scaling-factor"), 0.1);
    await([this] { return QApplication::font().pointSizeF() == font_.pointSizeF(); });
}

TEST_F(DesktopLookTest, WhatIsNoNumberIsNoSizeOfText) {
    startWith(QVariant::fromValue(Settings{}));
    for (const double told : {std::nan(""), -std::nan(""), -HUGE_VAL, -1.0, 0.0}) {
        portal_.change(desktop, QStringLiteral("text-scaling-factor"), 2.0);
        await([this] { return QApplication::font().pointSizeF() == 2 * font_.pointSizeF(); });
        portal_.change(desktop, QStringLiteral("text-scaling-factor"), told);
        await([this] { return QApplication::font().pointSizeF() == font_.pointSizeF(); });
    }
    portal_.change(desktop, QStringLiteral("text-scaling-factor"), HUGE_VAL);
    await([this] { return QApplication::font().pointSizeF() == 3 * font_.pointSizeF(); });
}

TEST_F(DesktopLookTest, OtherSettingsAndWrongTypesChangeNothing) {
    const QPalette before = QApplication::palette();
    startWith(QVariant::fromValue(
        Settings{{appearance, {{QStringLiteral("contrast"), 2U}, {QStringLiteral("color-scheme"), 1U}}},
                 {accessibility, {{QStringLiteral("high-contrast"), QStringLiteral("what")}}},
                 {QStringLiteral("org.example"), {{QStringLiteral("contrast"), 1U}}},
                 {desktop, {{QStringLiteral("text-scaling-factor"), QStringLiteral("large")}}}}));
    // A change that has an effect comes after them.
    portal_.change(desktop, QStringLiteral("text-scaling-factor"), 1.5);
    await([this] { return QApplication::font().pointSizeF() > font_.pointSizeF(); });
    EXPECT_EQ(QApplication::palette(), before);
}

TEST_F(DesktopLookTest, AnswerOfAnotherFormIsLeftAlone) {
    const QPalette before = QApplication::palette();
    startWith(QStringLiteral("what"));
    EXPECT_EQ(QApplication::palette(), before);
    EXPECT_EQ(QApplication::font(), font_);
}

TEST_F(DesktopLookTest, AnswerWithoutContentIsLeftAlone) {
    startWith(QVariant());
    EXPECT_FALSE(contrast());
    EXPECT_EQ(QApplication::font(), font_);
}

TEST_F(DesktopLookTest, AFontWhoseSizeIsInPixelsKeepsIt) {
    QFont pixels = font_;
    pixels.setPixelSize(17);
    QApplication::setFont(pixels);
    startWith(QVariant::fromValue(Settings{{appearance, {{QStringLiteral("contrast"), 1U}}},
                                           {desktop, {{QStringLiteral("text-scaling-factor"), 2.0}}}}));
    await(contrast);
    EXPECT_EQ(QApplication::font().pixelSize(), 17);
}

TEST_F(DesktopLookTest, PortalThatAppearsLaterIsFollowed) {
    start();
    portal_.appear(QVariant::fromValue(Settings{}));
    portal_.change(appearance, QStringLiteral("contrast"), 1U);
    await(contrast);
    EXPECT_EQ(portal_.calls(), 0);
}

TEST_F(DesktopLookTest, WithoutABusNothingHappens) {
    const QPalette before = QApplication::palette();
    look_.emplace(QDBusConnection(QStringLiteral("no bus")));
    EXPECT_EQ(QApplication::palette(), before);
}

} // namespace
} // namespace tavelo
