// SPDX-License-Identifier: MIT
// Calls that take long: what they hold up, and what waits for them.
#include "service/service_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::StartsWith;

class ServiceOrder : public ServiceTest {
protected:
    void slowDown(int number, FaultDirection direction, std::chrono::milliseconds wait = 20ms) {
        camera(number)->order({.kind = FaultKind::delay, .direction = direction, .wait = wait});
    }

    bool isBeingWritten(int number) {
        return std::ranges::any_of(camera(number)->requestLog(), [](const RequestRecord& request) {
            return request.setup.bRequest == codeOf(UvcRequest::setCur);
        });
    }

    /// Begins a reset of a slow camera, which then writes.
    QDBusPendingCall beginReset(const QString& name, int number) {
        slowDown(number, FaultDirection::writes, 100ms);
        const QDBusPendingCall reset = begin("Reset", {name});
        EXPECT_TRUE(waitFor([&] { return isBeingWritten(number); }));
        return reset;
    }

    void expectSetAfterReset(const QString& name, int number) {
        const QDBusPendingCall reset = beginReset(name, number);
        const QDBusPendingCall set = begin("Set", {name, one("brightness", 17), QVariantMap()});
        EXPECT_TRUE(waitFor([&] { return set.isFinished(); }));
        EXPECT_TRUE(reset.isFinished()) << "it was called before";
        EXPECT_EQ(errorOf(reset.reply()), "");
        EXPECT_EQ(errorOf(set.reply()), "");
        EXPECT_EQ(camera(number)->controlValue(control::brightness), 17);
        EXPECT_EQ(camera(number)->controlValue(control::contrast), 32);
    }
};

TEST_F(ServiceOrder, ASlowCameraThatIsNotShownHoldsUpNobodyElse) {
    show(1);
    slowDown(2, FaultDirection::both);
    const QDBusPendingCall get = begin("Get", {QStringLiteral("2"), QStringLiteral("brightness")});
    const QDBusPendingCall set = begin("Set", {QStringLiteral("2"), one("contrast", 7), QVariantMap()});
    EXPECT_EQ(value(QString(), "brightness"), QVariant(qlonglong(0)));
    EXPECT_FALSE(get.isFinished());
    EXPECT_TRUE(waitFor([&] { return get.isFinished() && set.isFinished(); }));
    EXPECT_EQ(errorOf(get.reply()), "");
    EXPECT_EQ(errorOf(set.reply()), "");
    EXPECT_EQ(camera(2)->controlValue(control::contrast), 7);
    EXPECT_TRUE(waitFor([&] { return !service_->hasPendingCalls(); }));
}

TEST_F(ServiceOrder, ASetDuringAResetOfTheShownCameraComesAfterIt) {
    camera(1)->setControlValue(control::contrast, 3);
    show(1);
    expectSetAfterReset(QString(), 1);
    EXPECT_EQ(manager_.bright()->val(), 17);
}

TEST_F(ServiceOrder, ASetDuringAResetOfAnotherCameraComesAfterIt) {
    camera(2)->setControlValue(control::contrast, 3);
    expectSetAfterReset(QStringLiteral("2"), 2);
}

TEST_F(ServiceOrder, AProfileThatIsAppliedDuringAResetComesAfterIt) {
    camera(2)->setControlValue(control::brightness, 21);
    EXPECT_EQ(errorOf("Save", {QStringLiteral("2"), QVariant::fromValue(1U)}), "");
    const QDBusPendingCall reset = beginReset(QStringLiteral("2"), 2);
    EXPECT_EQ(errorOf("Apply", {QStringLiteral("2"), QVariant::fromValue(1U)}), "");
    EXPECT_TRUE(reset.isFinished());
    EXPECT_EQ(camera(2)->controlValue(control::brightness), 21);
}

TEST_F(ServiceOrder, AResetOfOneCameraDoesNotHoldUpAnother) {
    const QDBusPendingCall reset = beginReset(QStringLiteral("2"), 2);
    EXPECT_EQ(errorOf("Set", {QStringLiteral("1"), one("brightness", 5), QVariantMap()}), "");
    EXPECT_FALSE(reset.isFinished());
    EXPECT_TRUE(waitFor([&] { return reset.isFinished(); }));
}

TEST_F(ServiceOrder, ACallThatWaitedForACameraThatWentSaysSo) {
    const QDBusPendingCall reset = beginReset(QStringLiteral("2"), 2);
    const QDBusPendingCall get = begin("Get", {QStringLiteral("2"), QStringLiteral("brightness")});
    camera(2)->vanish();
    EXPECT_TRUE(waitFor([&] { return reset.isFinished() && get.isFinished(); }));
    EXPECT_THAT(errorOf(reset.reply()), StartsWith("NoSuchCamera: "));
    EXPECT_THAT(errorOf(get.reply()), StartsWith("NoSuchCamera: "));
}

TEST_F(ServiceOrder, AResetEndsIfThePanelShowsAnotherCameraMeanwhile) {
    show(1);
    const QDBusPendingCall reset = beginReset(QString(), 1);
    show(2);
    EXPECT_TRUE(waitFor([&] { return reset.isFinished(); }));
    EXPECT_EQ(errorOf(reset.reply()), "Failed: the panel shows another camera now");
    EXPECT_TRUE(host_.changed.empty());
}

TEST_F(ServiceOrder, AResetFailsIfThePanelLetsGoOfTheCameraMeanwhile) {
    show(1);
    const QDBusPendingCall reset = beginReset(QString(), 1);
    host_.shownControls().letGoOfInterface();
    EXPECT_TRUE(waitFor([&] { return reset.isFinished(); }));
    EXPECT_THAT(errorOf(reset.reply()), EndsWith(": the panel let go of it"));
}

} // namespace
} // namespace tavelo
