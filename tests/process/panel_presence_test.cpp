// SPDX-License-Identifier: MIT
#include "process/panel_presence.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>

namespace tavelo {
namespace {

TEST(PanelPresence, IsWhoeverOwnsThePanelsName) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    ASSERT_TRUE(bus.isConnected());
    EXPECT_FALSE(panelIsOpen());
    ASSERT_TRUE(bus.interface()->registerService(panelBusName()).isValid());
    EXPECT_TRUE(panelIsOpen());
    ASSERT_TRUE(bus.interface()->unregisterService(panelBusName()).value());
    EXPECT_FALSE(panelIsOpen());
}

TEST(PanelPresence, WithoutABusThereIsNone) {
    EXPECT_FALSE(panelIsOpen(QDBusConnection(QStringLiteral("no connection of this name"))));
}

} // namespace
} // namespace tavelo
