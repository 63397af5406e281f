// SPDX-License-Identifier: MIT
#include "app/idle_end.h"

#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr int patience = 20'000; // ms

TEST(IdleEnd, IsReachedOnceNothingHappensForAWhile) {
    QElapsedTimer clock;
    clock.start();
    IdleEnd idle(50ms, [] { return true; });
    QSignalSpy reached(&idle, &IdleEnd::reached);
    ASSERT_TRUE(QTest::qWaitFor([&] { return reached.size() == 1; }, patience));
    EXPECT_GE(clock.elapsed(), 45); // timers may be a twentieth early
}

TEST(IdleEnd, WaitsWhileSomethingRuns) {
    int questions = 0;
    IdleEnd idle(5ms, [&] { return ++questions == 4; });
    QSignalSpy reached(&idle, &IdleEnd::reached);
    ASSERT_TRUE(QTest::qWaitFor([&] { return questions == 3; }, patience));
    EXPECT_TRUE(reached.isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return reached.size() == 1; }, patience));
    EXPECT_EQ(questions, 4);
}

TEST(IdleEnd, BeginsAgainWhenItIsUsed) {
    IdleEnd idle(100ms, [] { return true; });
    QSignalSpy reached(&idle, &IdleEnd::reached);
    QElapsedTimer clock;
    QTimer use;
    int uses = 0;
    QObject::connect(&use, &QTimer::timeout, &idle, [&] {
        if (reached.isEmpty() && ++uses <= 5) {
            idle.restart();
            clock.start();
        }
    });
    use.start(20ms);
    ASSERT_TRUE(QTest::qWaitFor([&] { return reached.size() == 1; }, patience));
    EXPECT_GE(clock.elapsed(), 90) << "since the last use";
}

} // namespace
} // namespace tavelo
