// SPDX-License-Identifier: MIT
#include "service/absent_service.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>

namespace tavelo {
namespace {

QDBusError errorOf(const char* service, bool mayStart) {
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(service), QStringLiteral("/"), {},
                                                       QStringLiteral("Nothing"));
    call.setAutoStartService(mayStart);
    return QDBusConnection::sessionBus().call(call);
}

TEST(AbsentService, IsOneWhoseNameNobodyHas) {
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());
    for (const bool mayStart : {true, false}) {
        const QDBusError error = errorOf("org.tavelo.Nobody", mayStart);
        EXPECT_TRUE(isOfAbsentService(error)) << error.name().toStdString();
    }
}

TEST(AbsentService, IsNotOneThatRefuses) {
    const QDBusError error = errorOf("org.freedesktop.DBus", false);
    EXPECT_TRUE(error.isValid());
    EXPECT_FALSE(isOfAbsentService(error)) << error.name().toStdString();
    EXPECT_FALSE(isOfAbsentService(QDBusError()));
}

} // namespace
} // namespace tavelo
