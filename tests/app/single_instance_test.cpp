// SPDX-License-Identifier: MIT
#include "app/single_instance.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <QSignalSpy>
#include <QTest>
#include <chrono>
#include <future>

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Role = SingleInstance::Role;

/// A separate bus connection, as another process would have.
class Process {
public:
    explicit Process(const QString& name)
        : name_(name),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)) {}
    ~Process() { QDBusConnection::disconnectFromBus(name_); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    const QDBusConnection& bus() const { return bus_; }

private:
    QString name_;
    QDBusConnection bus_;
};

/// A second start, on its own thread because the first instance answers from this thread's event loop.
struct SecondStart {
    Role role = Role::alone;
    QString failure;
};

SecondStart activate() {
    const Process process(QStringLiteral("second"));
    SingleInstance instance(process.bus());
    SecondStart start{instance.role(), {}};
    if (start.role == Role::second) start.failure = instance.activateFirst();
    return start;
}

SecondStart startAgain() {
    auto second = std::async(std::launch::async, activate);
    EXPECT_TRUE(QTest::qWaitFor([&] { return second.wait_for(0s) == std::future_status::ready; }, 20'000));
    return second.get();
}

TEST(SingleInstance, FirstStartIsThePanel) {
    const Process process(QStringLiteral("first"));
    const SingleInstance instance(process.bus());
    EXPECT_EQ(instance.role(), Role::first);
}

TEST(SingleInstance, SecondStartMakesTheFirstShowItsWindow) {
    const Process process(QStringLiteral("first"));
    const SingleInstance instance(process.bus());
    QSignalSpy reopened(&instance, &SingleInstance::reopened);
    for (int start = 1; start <= 2; ++start) {
        const SecondStart second = startAgain();
        EXPECT_EQ(second.role, Role::second);
        EXPECT_EQ(second.failure, QString());
        EXPECT_EQ(reopened.size(), start);
    }
}

TEST(SingleInstance, AFirstThatHangsIsNamedAfterTenSeconds) {
    const Process process(QStringLiteral("first"));
    const SingleInstance instance(process.bus());
    const auto started = std::chrono::steady_clock::now();
    auto second = std::async(std::launch::async, activate);
    EXPECT_EQ(second.get().failure, // without a turn of this thread's event loop
              QStringLiteral("process %1 has been silent for 10 seconds").arg(::getpid()));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 9s) << "timers of Qt are coarse";
}

TEST(SingleInstance, StartAfterTheFirstEndedIsAFirstStart) {
    {
        const Process process(QStringLiteral("first"));
        const SingleInstance instance(process.bus());
        ASSERT_EQ(instance.role(), Role::first);
    }
    EXPECT_EQ(startAgain().role, Role::first);
}

TEST(SingleInstance, APanelTakesThePlaceOfAServiceWithoutAWindow) {
    using Purpose = SingleInstance::Purpose;
    const Process process(QStringLiteral("first"));
    const SingleInstance service(process.bus(), Purpose::serviceWithoutWindow);
    QSignalSpy replaced(&service, &SingleInstance::replaced);
    ASSERT_EQ(service.role(), Role::first);
    const Process other(QStringLiteral("other"));
    EXPECT_EQ(SingleInstance(other.bus(), Purpose::serviceWithoutWindow).role(), Role::second);
    const SingleInstance panel(other.bus());
    EXPECT_EQ(panel.role(), Role::first);
    EXPECT_TRUE(QTest::qWaitFor([&] { return replaced.size() == 1; }, 20'000));
}

TEST(SingleInstance, WithoutItsNameItIsNotTheFirstAnyMore) {
    const Process process(QStringLiteral("first"));
    SingleInstance instance(process.bus());
    QSignalSpy replaced(&instance, &SingleInstance::replaced);
    instance.letGoOfName();
    EXPECT_EQ(startAgain().role, Role::first);
    EXPECT_TRUE(replaced.isEmpty()) << "it wanted that";
}

TEST(SingleInstance, PassesTheActivationTokenToTheFirst) {
    const Process process(QStringLiteral("first"));
    const SingleInstance instance(process.bus());
    ApplicationAdaptor* adaptor = instance.findChild<ApplicationAdaptor*>();
    ASSERT_NE(adaptor, nullptr);
    adaptor->Activate({{QStringLiteral("activation-token"), QStringLiteral("click-17")}});
    EXPECT_EQ(qEnvironmentVariable("XDG_ACTIVATION_TOKEN"), QStringLiteral("click-17"));
    qunsetenv("XDG_ACTIVATION_TOKEN");
    adaptor->Activate({});
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
}

TEST(SingleInstance, WithoutABusEachStartIsAFirstStart) {
    const SingleInstance instance{QDBusConnection(QStringLiteral("never connected"))};
    EXPECT_EQ(instance.role(), Role::alone);
}

} // namespace
} // namespace tavelo
