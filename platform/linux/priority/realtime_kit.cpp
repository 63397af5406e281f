// SPDX-License-Identifier: MIT
#include "platform/linux/priority/realtime_kit.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDBusError>
#include <QDBusMessage>
#include <optional>
#include <utility>

#include "platform/serial_queue.h"

namespace tavelo {
namespace {

constexpr int patience = 2000; // ms; the bus may have to start the service first

// Threads and programs that the thread starts, such as those of an encoder, do not inherit the priority.
// RealtimeKit takes care of that itself.
void raiseAlone(pid_t thread) {
    const sched_param ordinary{};
    if (::sched_getscheduler(thread) == SCHED_OTHER)
        ::sched_setscheduler(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &ordinary);
    ::setpriority(PRIO_PROCESS, id_t(thread), pictureThreadNiceness);
}

class RealtimeKitPriority final : public ThreadPriority {
public:
    explicit RealtimeKitPriority(std::function<QDBusConnection()> connect) : connect_(std::move(connect)) {}

    void raise() noexcept override {
        queue_.async([this, thread = ::gettid()] { ask(thread); });
    }

private:
    // Called on the queue's thread.

    void ask(pid_t thread) {
        if (!isGrantedByService(thread)) raiseAlone(thread);
    }

    bool isGrantedByService(pid_t thread) {
        if (hangs_) return false;
        if (!bus_) bus_ = connect_();
        if (!bus_->isConnected()) return false;
        QDBusMessage request = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.RealtimeKit1"), QStringLiteral("/org/freedesktop/RealtimeKit1"),
            QStringLiteral("org.freedesktop.RealtimeKit1"), QStringLiteral("MakeThreadHighPriority"));
        request << qulonglong(thread) << pictureThreadNiceness;
        const QDBusMessage answer = bus_->call(request, QDBus::Block, patience);
        // Neither other requests nor the end of the program must wait behind it.
        hangs_ = QDBusError(answer).type() == QDBusError::NoReply;
        return answer.type() == QDBusMessage::ReplyMessage;
    }

    const std::function<QDBusConnection()> connect_;
    std::optional<QDBusConnection> bus_;
    bool hangs_ = false;

    SerialQueue queue_{"kt.priority"}; // last: it uses everything above
};

} // namespace

std::shared_ptr<ThreadPriority> makeRealtimeKitPriority(std::function<QDBusConnection()> connect) {
    if (!connect) connect = [] { return QDBusConnection::systemBus(); };
    return std::make_shared<RealtimeKitPriority>(std::move(connect));
}

} // namespace tavelo
