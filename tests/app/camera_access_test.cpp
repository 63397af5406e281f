// SPDX-License-Identifier: MIT
#include "app/camera_access.h"

#include <gmock/gmock.h>

#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QTemporaryFile>
#include <QTest>
#include <QVariantMap>

#include "app/app_delegate.h"
#include "support/portal_on_bus.h"

namespace tavelo {
namespace {

/// Stands in for the desktop's portal.
class Portal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Camera")

public:
    int requests() const { return requests_; }

public Q_SLOTS:
    QDBusObjectPath AccessCamera(const QVariantMap& /*options*/) {
        ++requests_;
        return QDBusObjectPath(QStringLiteral("/org/freedesktop/portal/desktop/request/1"));
    }

private:
    int requests_ = 0;
    testing::PortalOnBus onBus_{this};
};

class CameraAccessTest : public ::testing::Test {
protected:
    void launch(const CameraAccess& access) {
        AppDelegate delegate(controller_, access);
        EXPECT_EQ(delegate.window(), nullptr);
        delegate.applicationDidFinishLaunching();
        EXPECT_EQ(delegate.window(), &window_);
    }

    KTWindow window_{QRect(0, 0, 100, 100), WindowStyle::borderless, true, true};
    KTWindowController controller_{window_};
    QTemporaryFile sandboxMark_;
};

TEST_F(CameraAccessTest, AsksThePortalAtStartInsideASandbox) {
    const Portal portal;
    ASSERT_TRUE(sandboxMark_.open());
    launch(CameraAccess(sandboxMark_.fileName()));
    EXPECT_TRUE(QTest::qWaitFor([&] { return portal.requests() == 1; }, 20'000));
}

TEST_F(CameraAccessTest, DoesNotAskThePortalOutsideASandbox) {
    const Portal portal;
    launch(CameraAccess(QStringLiteral("/no such mark")));
    QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QStringLiteral("any.name")); // a round trip
    QCoreApplication::processEvents();
    EXPECT_EQ(portal.requests(), 0);
}

TEST_F(CameraAccessTest, MissingPortalOrBusIsNotAnError) {
    ASSERT_TRUE(sandboxMark_.open());
    launch(CameraAccess(sandboxMark_.fileName()));
    CameraAccess(sandboxMark_.fileName()).request(QDBusConnection(QStringLiteral("never connected")));
}

} // namespace
} // namespace tavelo

#include "camera_access_test.moc"
