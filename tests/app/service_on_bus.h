// SPDX-License-Identifier: MIT
// A desktop's service on the session bus, which notes what it is asked.
#pragma once

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QVariantList>
#include <utility>

namespace tavelo::testing {

/// On a connection of its own.  Main thread.
class ServiceOnBus final : public QDBusVirtualObject {
public:
    /// @param answer to every call
    ServiceOnBus(QString name, QString path, QString interface, QVariantList answer)
        : name_(std::move(name)),
          path_(std::move(path)),
          interface_(std::move(interface)),
          answer_(std::move(answer)),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name_)) {
        EXPECT_TRUE(bus_.registerVirtualObject(path_, this));
        EXPECT_TRUE(bus_.registerService(name_));
    }
    ~ServiceOnBus() override { QDBusConnection::disconnectFromBus(name_); }
    ServiceOnBus(const ServiceOnBus&) = delete;
    ServiceOnBus& operator=(const ServiceOnBus&) = delete;

    void emitSignal(const QString& signal, const QVariantList& values) {
        QDBusMessage message = QDBusMessage::createSignal(path_, interface_, signal);
        message.setArguments(values);
        EXPECT_TRUE(bus_.send(message));
    }

    const QList<QDBusMessage>& calls() const { return calls_; }

private:
    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.interface() != interface_) return false;
        calls_.append(message);
        return bus.send(message.createReply(answer_));
    }

    const QString name_;
    const QString path_;
    const QString interface_;
    const QVariantList answer_;
    QDBusConnection bus_;
    QList<QDBusMessage> calls_;
};

} // namespace tavelo::testing
