// SPDX-License-Identifier: MIT
#include "platform/linux/portal/camera_portal.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QDBusContext>
#include <QDBusUnixFileDescriptor>
#include <QTest>
#include <QVariantMap>
#include <array>
#include <future>
#include <utility>

#include "support/portal_on_bus.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

/// Stands in for the desktop's portal.
class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Camera")

public:
    Portal() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0); }
    ~Portal() override {
        for (const int end : ends_)
            ::close(end);
    }

    QString error; ///< the answer, if it is set
    int daemonsEnd() const { return ends_[1]; }

public Q_SLOTS:
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QVariantMap& /*options*/) {
        if (!error.isEmpty()) sendErrorReply(error, QStringLiteral("no"));
        return QDBusUnixFileDescriptor(ends_[0]);
    }

private:
    std::array<int, 2> ends_{-1, -1};
    testing::PortalOnBus onBus_{this};
};

class CameraPortalTest : public ::testing::Test {
protected:
    /// The portal is served by this thread meanwhile.
    static PipewireGrant ask() {
        const auto asker = cameraPortal("/proc/self", [] {
            return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("asker"));
        });
        auto answer = std::async(std::launch::async, asker);
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return answer.wait_for(0s) == std::future_status::ready; }, 20'000));
        return answer.get();
    }
};

TEST_F(CameraPortalTest, AGrantIsAConnection) {
    const Portal portal;
    const PipewireGrant grant = ask();
    ASSERT_TRUE(grant.remote.isOpen());
    EXPECT_FALSE(grant.refused);
    ASSERT_EQ(::write(grant.remote.get(), "x", 1), 1);
    char received = 0;
    EXPECT_EQ(::read(portal.daemonsEnd(), &received, 1), 1);
    EXPECT_EQ(received, 'x');
}

TEST_F(CameraPortalTest, ARefusalIsNoConnection) {
    Portal portal;
    for (const char* error :
         {"org.freedesktop.portal.Error.NotAllowed", "org.freedesktop.DBus.Error.AccessDenied"}) {
        portal.error = QString::fromLatin1(error);
        const PipewireGrant grant = ask();
        EXPECT_FALSE(grant.remote.isOpen());
        EXPECT_TRUE(grant.refused);
    }
}

TEST_F(CameraPortalTest, APortalWithoutCamerasRefusesNothing) {
    Portal portal;
    portal.error = QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod");
    EXPECT_FALSE(ask().refused);
}

TEST_F(CameraPortalTest, WithoutAPortalNothingIsRefused) {
    const PipewireGrant grant = ask();
    EXPECT_FALSE(grant.remote.isOpen());
    EXPECT_FALSE(grant.refused);
}

TEST(CameraPortal, NobodyIsAskedOutsideASandbox) {
    EXPECT_FALSE(cameraPortal("/no such mark"));
}

} // namespace
} // namespace tavelo

#include "camera_portal_test.moc"
