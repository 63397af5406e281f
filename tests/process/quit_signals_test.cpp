// SPDX-License-Identifier: MIT
#include "process/quit_signals.h"

#include <gtest/gtest.h>

#include <QTest>
#include <csignal>

namespace tavelo {
namespace {

using Handler = void (*)(int);

Handler handlerOf(int signal) {
    struct sigaction now {};
    EXPECT_EQ(::sigaction(signal, nullptr, &now), 0);
    return now.sa_handler;
}

// As a shell starts a program in a terminal, or nohup does.
class QuitSignalsTest : public ::testing::TestWithParam<Handler> {
protected:
    QuitSignalsTest() {
        for (const int signal : {SIGTERM, SIGINT})
            std::signal(signal, SIG_DFL);
        std::signal(SIGHUP, GetParam());
    }
    ~QuitSignalsTest() override { std::signal(SIGHUP, SIG_DFL); }
};

TEST_P(QuitSignalsTest, AskForAnEndWhileTheyExist) {
    for (const int signal : {SIGTERM, SIGINT}) {
        QuitSignals signals;
        int asked = 0;
        QObject::connect(&signals, &QuitSignals::asked, [&] { ++asked; });
        std::raise(signal);
        std::raise(signal);
        EXPECT_EQ(asked, 0) << "not in the handler";
        EXPECT_TRUE(QTest::qWaitFor([&] { return asked > 0; }, 20'000));
        QTest::qWait(0);
        EXPECT_EQ(asked, 1);
    }
}

TEST_P(QuitSignalsTest, ALostTerminalEndsWhatItWouldHaveKilled) {
    QuitSignals signals;
    int asked = 0;
    QObject::connect(&signals, &QuitSignals::asked, [&] { ++asked; });
    std::raise(SIGHUP);
    if (GetParam() == SIG_IGN) {
        QTest::qWait(0);
        EXPECT_EQ(asked, 0);
    } else {
        EXPECT_TRUE(QTest::qWaitFor([&] { return asked == 1; }, 20'000));
    }
}

TEST_P(QuitSignalsTest, LeaveTheSignalsAsTheyWere) {
    { const QuitSignals signals; }
    EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGHUP), GetParam());
    EXPECT_EQ(handlerOf(SIGPIPE), SIG_IGN) << "a closed pipe never ends the program";
}

INSTANTIATE_TEST_SUITE_P(HangUp, QuitSignalsTest, ::testing::Values(SIG_DFL, SIG_IGN),
                         [](const auto& handler) { return handler.param == SIG_IGN ? "Ignored" : "Deadly"; });

} // namespace
} // namespace tavelo
