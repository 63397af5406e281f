// SPDX-License-Identifier: MIT
// An object in the place of the desktop's portal.
#pragma once

#include <gtest/gtest.h>

#include <QDBusConnection>

namespace tavelo::testing {

/// On the session bus, with its slots, for as long as this exists.
class PortalOnBus {
public:
    explicit PortalOnBus(QObject* portal) {
        EXPECT_TRUE(bus_.registerObject(path_, portal, QDBusConnection::ExportAllSlots));
        EXPECT_TRUE(bus_.registerService(service_));
    }
    ~PortalOnBus() {
        bus_.unregisterService(service_);
        bus_.unregisterObject(path_);
    }
    PortalOnBus(const PortalOnBus&) = delete;
    PortalOnBus& operator=(const PortalOnBus&) = delete;

private:
    const QString path_ = QStringLiteral("/org/freedesktop/portal/desktop");
    const QString service_ = QStringLiteral("org.freedesktop.portal.Desktop");
    QDBusConnection bus_ = QDBusConnection::sessionBus();
};

} // namespace tavelo::testing
