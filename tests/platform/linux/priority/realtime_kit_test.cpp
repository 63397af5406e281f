// SPDX-License-Identifier: MIT
#include "platform/linux/priority/realtime_kit.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusContext>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QTest>
#include <atomic>
#include <cerrno>
#include <future>
#include <optional>
#include <thread>

namespace tavelo {
namespace {

const auto serviceName = QStringLiteral("org.freedesktop.RealtimeKit1");
const auto servicePath = QStringLiteral("/org/freedesktop/RealtimeKit1");

// The parts of the RealtimeKit service that we use.
class FakeRealtimeKit final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.RealtimeKit1")

public:
    enum class Mood { grants, refuses, keepsQuiet };

    explicit FakeRealtimeKit(Mood mood) : mood_(mood) {
        bus_.registerObject(servicePath, this, QDBusConnection::ExportScriptableSlots);
        bus_.registerService(serviceName);
    }
    ~FakeRealtimeKit() override {
        bus_.unregisterService(serviceName);
        bus_.unregisterObject(servicePath);
    }

    struct Call {
        qulonglong thread;
        int priority;
    };
    std::optional<Call> last;
    int calls = 0;

public Q_SLOTS:
    Q_SCRIPTABLE void MakeThreadHighPriority(qulonglong thread, int priority) {
        last = {thread, priority};
        ++calls;
        if (mood_ == Mood::refuses) sendErrorReply(QDBusError::AccessDenied, QStringLiteral("not today"));
        if (mood_ == Mood::keepsQuiet) setDelayedReply(true);
    }

private:
    const Mood mood_;
    QDBusConnection bus_ = QDBusConnection::sessionBus();
};

std::shared_ptr<ThreadPriority> prioritiesOfTheTestsBus() {
    return makeRealtimeKitPriority([] {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("priorities"));
    });
}

int nicenessOf(pid_t thread) {
    return ::getpriority(PRIO_PROCESS, id_t(thread));
}

// A thread that asks for a higher priority for itself and runs until the end of the test.
class AskingThread {
public:
    explicit AskingThread(ThreadPriority& priorities)
        : thread_([this, &priorities] {
              QElapsedTimer clock;
              clock.start();
              priorities.raise();
              took_ = clock.elapsed();
              number_ = ::gettid();
              ended_.get_future().wait();
          }) {
        while (number_ == 0)
            std::this_thread::yield();
    }
    ~AskingThread() {
        ended_.set_value();
        thread_.join();
    }
    AskingThread(const AskingThread&) = delete;
    AskingThread& operator=(const AskingThread&) = delete;

    pid_t number() const { return number_; }
    qint64 tookMilliseconds() const { return took_; }

private:
    std::promise<void> ended_;
    std::atomic<qint64> took_ = 0;
    std::atomic<pid_t> number_ = 0;
    std::thread thread_; // last: it uses the members above
};

// True if this process may raise priorities without the service.
bool mayRaise() {
    rlimit limit{};
    return ::geteuid() == 0 || (::getrlimit(RLIMIT_NICE, &limit) == 0 && limit.rlim_cur >= 30);
}

TEST(RealtimeKitPriority, AsksTheServiceForTheCallingThread) {
    FakeRealtimeKit service(FakeRealtimeKit::Mood::grants);
    const auto priorities = prioritiesOfTheTestsBus();
    const AskingThread thread(*priorities);
    ASSERT_TRUE(QTest::qWaitFor([&] { return service.last.has_value(); }, 20'000));
    EXPECT_EQ(service.last->thread, qulonglong(thread.number()));
    EXPECT_EQ(service.last->priority, pictureThreadNiceness);
    EXPECT_EQ(nicenessOf(thread.number()), nicenessOf(::getpid()))
        << "the kernel is not asked if the service granted it";
}

TEST(RealtimeKitPriority, AsksTheKernelIfTheServiceRefuses) {
    FakeRealtimeKit service(FakeRealtimeKit::Mood::refuses);
    const auto priorities = prioritiesOfTheTestsBus();
    const int before = nicenessOf(::getpid());
    const AskingThread thread(*priorities);
    ASSERT_TRUE(QTest::qWaitFor([&] { return service.last.has_value(); }, 20'000));
    if (!mayRaise()) GTEST_SKIP() << "this user may not raise priorities";
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return nicenessOf(thread.number()) == pictureThreadNiceness; }, 20'000));
    EXPECT_EQ(nicenessOf(::getpid()), before) << "of one thread only";
}

TEST(RealtimeKitPriority, AsksTheKernelWithoutAService) {
    const auto priorities = prioritiesOfTheTestsBus();
    const AskingThread thread(*priorities);
    if (!mayRaise()) GTEST_SKIP() << "this user may not raise priorities";
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return nicenessOf(thread.number()) == pictureThreadNiceness; }, 20'000));
}

TEST(RealtimeKitPriority, ThreadsThatARaisedThreadStartsAreNotRaised) {
    const auto priorities = prioritiesOfTheTestsBus();
    if (!mayRaise()) GTEST_SKIP() << "this user may not raise priorities";
    int own = 0;
    std::atomic<int> started = pictureThreadNiceness;
    std::thread([&] {
        priorities->raise();
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return (own = nicenessOf(::gettid())) == pictureThreadNiceness; }, 20'000));
        std::thread([&] { started = nicenessOf(::gettid()); }).join();
    }).join();
    EXPECT_EQ(own, pictureThreadNiceness);
    EXPECT_EQ(started, 0);
}

TEST(RealtimeKitPriority, ASilentServiceDoesNotBlock) {
    FakeRealtimeKit service(FakeRealtimeKit::Mood::keepsQuiet);
    QElapsedTimer clock;
    {
        const auto priorities = prioritiesOfTheTestsBus();
        const AskingThread first(*priorities);
        const AskingThread second(*priorities);
        const AskingThread third(*priorities);
        EXPECT_LT(first.tookMilliseconds() + second.tookMilliseconds() + third.tookMilliseconds(), 1000);
        ASSERT_TRUE(QTest::qWaitFor([&] { return service.calls > 0; }, 20'000));
        clock.start();
    }
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_EQ(service.calls, 1) << "it is not asked again";
}

} // namespace
} // namespace tavelo

#include "realtime_kit_test.moc"
