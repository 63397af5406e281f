// SPDX-License-Identifier: MIT
#include "uvc/reported_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class ReportedChangesTest : public TwoCamerasTest {
protected:
    void SetUp() override {
        TwoCamerasTest::SetUp();
        bind();
    }

    static ChangedControl reportOf(KTUVCControl control, std::int64_t value) {
        return {{}, littleEndian(value, controlRow(control).intendedSize)};
    }
};

TEST_F(ReportedChangesTest, AReportedValueIsStoredWithoutARequest) {
    const ReportedChanges changes(*manager);
    EXPECT_EQ(changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42)),
              ControlRefresh::changed);
    EXPECT_EQ(manager->contrast()->val(), 42);
    EXPECT_EQ(changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42)),
              ControlRefresh::same);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(ReportedChangesTest, AReportedValueHasTheControlsSign) {
    const ReportedChanges changes(*manager);
    changes.take(KTUVCControl::bright, {{}, {0xFE, 0xFF}});
    changes.take(KTUVCControl::contrast, {{}, {0xFE, 0xFF}});
    EXPECT_EQ(manager->bright()->val(), -2);
    EXPECT_EQ(manager->contrast()->val(), 0xFFFE);
}

TEST_F(ReportedChangesTest, AnUnknownValueIsAsked) {
    const ReportedChanges changes(*manager);
    script(KTUVCControl::contrast, 42, 50);
    EXPECT_EQ(changes.take(KTUVCControl::contrast, {}), ControlRefresh::changed);
    EXPECT_EQ(manager->contrast()->val(), 42);
    EXPECT_THAT(camera->requests(), SizeIs(1));
}

TEST_F(ReportedChangesTest, APairIsAsked) {
    const ReportedChanges changes(*manager);
    script(KTUVCControl::panTilt, answers(3600, 0, 100, 50, 8));
    EXPECT_EQ(changes.take(KTUVCControl::panTilt, reportOf(KTUVCControl::panTilt, 7200)),
              ControlRefresh::changed);
    EXPECT_EQ(manager->panTilt()->val(), 3600);
    EXPECT_THAT(camera->requests(), SizeIs(1));
}

TEST_F(ReportedChangesTest, AReportThatMayBeOlderThanAWriteOfThisProgramIsAskedFor) {
    const ReportedChanges changes(*manager);
    manager->setContrastWithComplitionHandle(7, {});
    camera->forgetRequests();
    EXPECT_EQ(changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42)),
              ControlRefresh::same);
    EXPECT_EQ(manager->contrast()->val(), 7);
    ASSERT_THAT(camera->requests(), SizeIs(1));
    EXPECT_EQ(camera->requests()[0].bRequest, FakeUvcCamera::getCur);
}

TEST_F(ReportedChangesTest, WritesBeforeAndOfOtherControlsDoNotMatter) {
    manager->setContrastWithComplitionHandle(7, {});
    const ReportedChanges changes(*manager);
    manager->setBrightWithComplitionHandle(7, {});
    camera->forgetRequests();
    EXPECT_EQ(changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42)),
              ControlRefresh::changed);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(ReportedChangesTest, AReportDuringAWriteIsOvertaken) {
    const ReportedChanges changes(*manager);
    auto result = ControlRefresh::same;
    camera->requestArrived = [&](const FakeUsbRequest& request) {
        if (request.bRequest == FakeUvcCamera::setCur)
            result = changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42));
    };
    manager->setContrastWithComplitionHandle(7, {});
    EXPECT_EQ(result, ControlRefresh::overtaken);
    EXPECT_EQ(manager->contrast()->val(), 7);
}

TEST_F(ReportedChangesTest, MadeDuringAWriteItTrustsNoReportOfThatControl) {
    std::optional<ReportedChanges> changes;
    camera->requestArrived = [&](const FakeUsbRequest&) {
        if (!changes) changes.emplace(*manager);
    };
    manager->setContrastWithComplitionHandle(7, {});
    ASSERT_TRUE(changes);
    changes->take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42));
    EXPECT_EQ(manager->contrast()->val(), 7);
}

TEST_F(ReportedChangesTest, AReportOfTheFormerBindingIsDropped) {
    const ReportedChanges changes(*manager);
    ASSERT_TRUE(manager->refreshDataWithUniqueIDString(otherID));
    other->forgetRequests();
    for (const ChangedControl& report : {reportOf(KTUVCControl::contrast, 42), ChangedControl{}})
        EXPECT_EQ(changes.take(KTUVCControl::contrast, report), ControlRefresh::failed);
    EXPECT_EQ(changes.read(KTUVCControl::contrast), ControlRefresh::failed);
    EXPECT_NE(manager->contrast()->val(), 42);
    EXPECT_THAT(other->requests(), IsEmpty());
}

TEST_F(ReportedChangesTest, AControlThatTheCameraLacksStaysUnsupported) {
    const ReportedChanges changes(*manager);
    manager->contrast()->setSupported(false);
    EXPECT_EQ(changes.take(KTUVCControl::contrast, reportOf(KTUVCControl::contrast, 42)),
              ControlRefresh::failed);
    EXPECT_EQ(manager->contrast()->val(), 1);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

} // namespace
} // namespace tavelo
