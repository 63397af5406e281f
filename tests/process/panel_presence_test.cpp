// SPDX-License-Identifier: MIT
#include "process/panel_presence.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>

namespace tavelo {
namespace {

TEST(PanelPresence, IsWhoeverOwnsThePanelsName) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    ASSERT_TRUE(bus.isConnected());
    EXPECT_FALSE(panelRuns());
    ASSERT_TRUE(bus.interface()->registerService(panelBusName()).isValid());
    EXPECT_TRUE(panelRuns());
    ASSERT_TRUE(bus.interface()->unregisterService(panelBusName()).value());
    EXPECT_FALSE(panelRuns());
}

TEST(PanelPresence, WithoutABusThereIsNone) {
    EXPECT_FALSE(panelRuns(QDBusConnection(QStringLiteral("no connection of this name"))));
}

} // namespace
} // namespace tavelo
