// SPDX-License-Identifier: MIT
#include "app/recording_title.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

namespace tavelo {
namespace {

TEST(RecordingTitle, DurationsAreReadable) {
    EXPECT_EQ(durationText(0), QStringLiteral("0:00"));
    EXPECT_EQ(durationText(59), QStringLiteral("0:59"));
    EXPECT_EQ(durationText(60), QStringLiteral("1:00"));
    EXPECT_EQ(durationText(3599), QStringLiteral("59:59"));
    EXPECT_EQ(durationText(3600 + 2 * 60 + 3), QStringLiteral("1:02:03"));
}

TEST(RecordingTitle, ShowsARedDotAndTheTimeWhileRecording) {
    QPixmap plain(64, 64);
    plain.fill(Qt::blue);
    QApplication::setWindowIcon(QIcon(plain));
    QWidget window;
    window.setWindowTitle(QStringLiteral("Panel"));
    RecordingClock clock;
    const RecordingTitle title(window, clock);
    const auto corner = [&window] { return window.windowIcon().pixmap(64, 64).toImage().pixelColor(50, 50); };

    clock.start();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("\U0001F534 0:00 Panel"));
    EXPECT_GT(corner().red(), 200);
    EXPECT_LT(corner().blue(), 80);
    QSignalSpy ticks(&clock, &RecordingClock::changed);
    ASSERT_TRUE(QTest::qWaitFor([&ticks] { return ticks.size() == 1; }, 20'000));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("\U0001F534 0:01 Panel"));
    clock.start();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("\U0001F534 0:01 Panel")) << "it runs already";

    clock.stop();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Panel"));
    EXPECT_EQ(corner(), QColor(Qt::blue));
    QApplication::setWindowIcon({});
}

TEST(RecordingTitle, SaysThatThePictureIsSharedAlsoWhileRecording) {
    QPixmap plain(64, 64);
    plain.fill(Qt::transparent);
    QPainter(&plain).fillRect(16, 0, 48, 64, Qt::yellow);
    QApplication::setWindowIcon(QIcon(plain));
    QWidget window;
    window.setWindowTitle(QStringLiteral("Panel"));
    RecordingClock clock;
    RecordingTitle title(window, clock);
    const auto corner = [&window] { return window.windowIcon().pixmap(64, 64).toImage().pixelColor(50, 50); };

    title.setShared(QStringLiteral("Seen"));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Seen – Panel"));
    EXPECT_GT(corner().blue(), 200);
    EXPECT_LT(corner().red(), 80);
    clock.start();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("\U0001F534 0:00 Seen – Panel"));
    EXPECT_GT(corner().red(), 200);
    clock.stop();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Seen – Panel"));
    EXPECT_GT(corner().blue(), 200);
    EXPECT_LT(corner().red(), 80);
    EXPECT_EQ(window.windowIcon().pixmap(64, 64).toImage().pixelColor(4, 4).alpha(), 0);
    const qint64 blue = window.windowIcon().cacheKey();
    title.setShared(QString());
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Panel"));
    EXPECT_EQ(corner(), QColor(Qt::yellow));
    title.setShared(QStringLiteral("Seen"));
    EXPECT_EQ(window.windowIcon().cacheKey(), blue) << "each icon is drawn once";
    QApplication::setWindowIcon({});
}

} // namespace
} // namespace tavelo
