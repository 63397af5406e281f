// SPDX-License-Identifier: MIT
#include "app/still_running_notice.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "app/resources/resource_bundle.h"
#include "service_on_bus.h"

namespace tavelo {
namespace {

constexpr auto token = "XDG_ACTIVATION_TOKEN";

class StillRunningNoticeTest : public ::testing::Test {
protected:
    StillRunningNoticeTest() { qunsetenv(token); }
    ~StillRunningNoticeTest() override { qunsetenv(token); }

    void say() {
        notice.say(QStringLiteral("A & B"), true);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !desktop.calls().isEmpty(); }, 20'000));
        // The answer is there once something comes that the desktop sent after it.
        QSignalSpy shown(&notice, &StillRunningNotice::showChosen);
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                invoke(7, "default");
                return !shown.isEmpty();
            },
            20'000));
    }
    void invoke(uint number, const char* action) {
        desktop.emitSignal(QStringLiteral("ActionInvoked"), {number, QString::fromLatin1(action)});
    }
    void give(uint number, const char* text) {
        desktop.emitSignal(QStringLiteral("ActivationToken"), {number, QString::fromLatin1(text)});
    }

    const QString service = QStringLiteral("org.freedesktop.Notifications");
    testing::ServiceOnBus desktop{service, QStringLiteral("/org/freedesktop/Notifications"), service, {7U}};
    const ResourceBundle bundle{{"en-GB"}};
    StillRunningNotice notice{bundle};
};

TEST_F(StillRunningNoticeTest, ItsTextIsNoMarkup) {
    say();
    const QVariantList said = desktop.calls()[0].arguments();
    EXPECT_EQ(desktop.calls()[0].signature(), QStringLiteral("susssasa{sv}i"));
    EXPECT_TRUE(said[4].toString().startsWith(QStringLiteral("A &amp; B\n")));
}

TEST_F(StillRunningNoticeTest, TheTokenOfItsChoiceIsTheWindows) {
    say();
    QSignalSpy released(&notice, &StillRunningNotice::releaseChosen);
    give(8, "another's");
    invoke(8, "release");
    give(7, "ours");
    give(8, "another's");
    invoke(7, "release");
    ASSERT_TRUE(released.wait(20'000));
    EXPECT_EQ(released.size(), 1);
    EXPECT_EQ(qgetenv(token), "ours");
}

} // namespace
} // namespace tavelo
