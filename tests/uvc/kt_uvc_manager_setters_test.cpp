// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Setter = std::function<void(KTUVCManager&, std::int64_t, const ComplitionHandle&)>;

/// Every named setter with the record that it writes.
std::vector<std::pair<KTUVCControl, Setter>> namedSetters() {
    using M = KTUVCManager;
    const auto flag32 = [](void (M::*setter)(std::int32_t, const ComplitionHandle&)) -> Setter {
        return [setter](M& manager, std::int64_t value, const ComplitionHandle& handle) {
            (manager.*setter)(static_cast<std::int32_t>(value), handle);
        };
    };
    return {
        {KTUVCControl::scanningMode, &M::setScanningModeWithComplitionHandle},
        {KTUVCControl::autoExposureMode, &M::setAutoExposureModeWithComplitionHandle},
        {KTUVCControl::autoExposurePriority, &M::setAutoExposurePriorityWithComplitionHandle},
        {KTUVCControl::exposureTime, &M::setExposureTimeWithComplitionHandle},
        {KTUVCControl::iris, &M::setIrisWithComplitionHandle},
        {KTUVCControl::autoFocus, &M::setAutoFocusWithComplitionHandle},
        {KTUVCControl::focus, &M::setFocusWithComplitionHandle},
        {KTUVCControl::zoom, &M::setZoomWithComplitionHandle},
        {KTUVCControl::panTilt, &M::setPanTiltWithComplitionHandle},
        {KTUVCControl::roll, &M::setRollWithComplitionHandle},
        {KTUVCControl::backlight, &M::setBacklightWithComplitionHandle},
        {KTUVCControl::bright, &M::setBrightWithComplitionHandle},
        {KTUVCControl::contrast, &M::setContrastWithComplitionHandle},
        {KTUVCControl::gain, &M::setGainWithComplitionHandle},
        {KTUVCControl::powerLine, &M::setPowerLineWithComplitionHandle},
        {KTUVCControl::autoHue, flag32(&M::setAutoHueWithComplitionHandle)},
        {KTUVCControl::hue, &M::setHueWithComplitionHandle},
        {KTUVCControl::saturation, &M::setSaturationWithComplitionHandle},
        {KTUVCControl::sharpness, &M::setSharpnessWithComplitionHandle},
        {KTUVCControl::gamma, &M::setGammaWithComplitionHandle},
        {KTUVCControl::autoWhiteBalance, flag32(&M::setAutoWhiteBalanceWithComplitionHandle)},
        {KTUVCControl::whiteBalance, &M::setWhiteBalanceWithComplitionHandle},
    };
}

class SettersTest : public ManagerTest {
protected:
    void SetUp() override {
        ManagerTest::SetUp();
        bind();
    }
};

TEST_F(SettersTest, EachSetterWritesItsOwnControlAndReportsOnce) {
    ASSERT_EQ(namedSetters().size(), controlCount);
    for (const auto& [control, set] : namedSetters()) {
        const ControlRow& row = controlRow(control);
        const std::int64_t value = row.argument == ControlArgument::truth ? 1 : 42;
        camera->forgetRequests();
        Completion done;
        set(*manager, value, done.handle());
        EXPECT_EQ(done.calls, 1) << row.text;
        EXPECT_TRUE(done.success) << row.text;
        EXPECT_EQ(record(control).val(), value) << row.text;
        EXPECT_THAT(camera->requests(), ElementsAre(writeOf(control, littleEndian(value, row.intendedSize))));
    }
}

TEST_F(SettersTest, RefusedValueLeavesTheRecordAndReportsFalseOnce) {
    for (const auto& [control, set] : namedSetters()) {
        bind();
        fail(control, FakeUvcCamera::setCur);
        const std::int64_t before = record(control).val();
        Completion done;
        set(*manager, 0, done.handle());
        EXPECT_EQ(done.calls, 1) << controlRow(control).text;
        EXPECT_FALSE(done.success) << controlRow(control).text;
        EXPECT_EQ(record(control).val(), before) << controlRow(control).text;
    }
}

TEST_F(SettersTest, RecordIsRestoredBeforeTheHandlerRuns) {
    fail(KTUVCControl::bright, FakeUvcCamera::setCur);
    std::int64_t seen = 0;
    manager->setBrightWithComplitionHandle(42, [&](bool) { seen = manager->bright()->val(); });
    EXPECT_EQ(seen, 1);
}

TEST_F(SettersTest, HandlerMayBeAbsent) {
    manager->setBrightWithComplitionHandle(42, {});
    manager->setPanTiltWithComplitionHandle(42, nullptr);
    EXPECT_EQ(manager->bright()->val(), 42);
    EXPECT_EQ(manager->panTilt()->val(), 42);
}

TEST_F(SettersTest, WithoutCameraTheValueIsRestoredAndFalseReported) {
    manager->setInterface(nullptr);
    Completion done;
    manager->setZoomWithComplitionHandle(42, done.handle());
    EXPECT_EQ(done.calls, 1);
    EXPECT_FALSE(done.success);
    EXPECT_EQ(manager->zoom()->val(), 1);
}

TEST_F(SettersTest, AbsentRecordReportsFalse) {
    manager->setBright(nullptr);
    manager->setPanTilt(nullptr);
    for (const KTUVCControl control : {KTUVCControl::bright, KTUVCControl::panTilt}) {
        Completion done;
        manager->setControlWithComplitionHandle(control, 42, done.handle());
        EXPECT_EQ(done.calls, 1);
        EXPECT_FALSE(done.success);
        EXPECT_FALSE(manager->controlSupported(control));
    }
    Completion done;
    manager->setPanWithComplitionHandle(42, done.handle());
    manager->setTiltWithComplitionHandle(42, done.handle());
    EXPECT_EQ(done.calls, 2);
    EXPECT_FALSE(manager->_pushParamToDevice(nullptr));
    EXPECT_FALSE(manager->_push2x4ByteValueParamToDevice(1, nullptr));
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(SettersTest, TwoFlagsAreNormalisedAndTwoAreNot) {
    manager->setAutoFocusWithComplitionHandle(5, {});
    EXPECT_EQ(manager->autoFocus()->val(), 1);
    manager->setAutoExposurePriorityWithComplitionHandle(5, {});
    EXPECT_EQ(manager->autoExposurePriority()->val(), 1);
    manager->setAutoHueWithComplitionHandle(5, {});
    EXPECT_EQ(manager->autoHue()->val(), 5);
    manager->setAutoHueWithComplitionHandle(-1, {});
    EXPECT_EQ(manager->autoHue()->val(), -1);
    manager->setAutoWhiteBalanceWithComplitionHandle(-1, {});
    EXPECT_EQ(manager->autoWhiteBalance()->val(), -1);
    EXPECT_THAT(
        camera->writes(),
        ElementsAre(writeOf(KTUVCControl::autoFocus, {1}), writeOf(KTUVCControl::autoExposurePriority, {1}),
                    writeOf(KTUVCControl::autoHue, {5, 0}), writeOf(KTUVCControl::autoHue, {0xFF, 0xFF}),
                    writeOf(KTUVCControl::autoWhiteBalance, {0xFF})));
}

TEST_F(SettersTest, FlagsByPlaceInTheTableFollowTheSameRules) {
    manager->setControlWithComplitionHandle(KTUVCControl::autoFocus, 256, {});
    EXPECT_EQ(manager->autoFocus()->val(), 1);
    manager->setControlWithComplitionHandle(KTUVCControl::autoHue, 0x1'0000'0005, {});
    EXPECT_EQ(manager->autoHue()->val(), 5);
}

TEST_F(SettersTest, RefusedFlagIsRestoredAsOneSignedByte) {
    for (const KTUVCControl control : {KTUVCControl::autoExposurePriority, KTUVCControl::autoFocus,
                                       KTUVCControl::autoHue, KTUVCControl::autoWhiteBalance}) {
        bind();
        record(control).setVal(200);
        fail(control, FakeUvcCamera::setCur);
        manager->setControlWithComplitionHandle(control, 1, {});
        EXPECT_EQ(record(control).val(), -56);
    }
}

TEST_F(SettersTest, RefusedNumberIsRestoredInFull) {
    manager->contrast()->setVal(200);
    fail(KTUVCControl::contrast, FakeUvcCamera::setCur);
    manager->setContrastWithComplitionHandle(1, {});
    EXPECT_EQ(manager->contrast()->val(), 200);
}

TEST_F(SettersTest, ValueOutOfRangeIsSentUnchanged) {
    manager->setBrightWithComplitionHandle(-3000, {});
    EXPECT_THAT(camera->requests(), ElementsAre(writeOf(KTUVCControl::bright, littleEndian(-3000, 2))));
    EXPECT_EQ(manager->bright()->val(), -3000);
}

TEST_F(SettersTest, RelativeZoomDoesNothingAndNeverReports) {
    Completion done;
    manager->setRelativeZoomWithComplitionHandle(1, done.handle());
    EXPECT_EQ(done.calls, 0);
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_EQ(manager->zoom()->val(), 1);
}

TEST_F(SettersTest, PanKeepsTiltAndCarriesItsSign) {
    manager->panTilt()->setVal(7200LL << 32);
    manager->setPanWithComplitionHandle(-3600, {});
    EXPECT_THAT(camera->requests(), ElementsAre(writeOf(KTUVCControl::panTilt,
                                                        {0xF0, 0xF1, 0xFF, 0xFF, 0x20, 0x1C, 0x00, 0x00})));
    EXPECT_EQ(manager->panTilt()->val(), 0x00001C20FFFFF1F0);
}

TEST_F(SettersTest, TiltKeepsPanAndCarriesItsSign) {
    manager->panTilt()->setVal(0x00001C20FFFFF1F0);
    manager->setTiltWithComplitionHandle(-3600, {});
    EXPECT_EQ(manager->panTilt()->val(), static_cast<std::int64_t>(0xFFFFF1F0FFFFF1F0));
}

TEST_F(SettersTest, PanAndTiltUseTheLow32BitsOfTheirArguments) {
    manager->panTilt()->setVal(0);
    manager->setPanWithComplitionHandle(0x7'0000'0005, {});
    manager->setTiltWithComplitionHandle(0x7'0000'0006, {});
    EXPECT_EQ(manager->panTilt()->val(), 0x0000000600000005);
}

TEST_F(SettersTest, PanTiltRecordIsWrittenAfterThePush) {
    class Watcher : public UsbInterface {
    public:
        explicit Watcher(KTUVCManager& manager) : manager_(manager) {}
        ErrorCode ControlRequest(UsbControlRequest& request) override {
            (request.wLength == 8 ? panTilt : bright) =
                request.wLength == 8 ? manager_.panTilt()->val() : manager_.bright()->val();
            return ErrorCode::none;
        }
        void USBInterfaceClose() override {}
        std::uint8_t GetInterfaceNumber() const override { return 0; }

        std::int64_t panTilt = -7;
        std::int64_t bright = -7;

    private:
        KTUVCManager& manager_;
    };
    const auto watcher = std::make_shared<Watcher>(*manager);
    manager->setInterface(watcher);
    manager->setPanTiltWithComplitionHandle(42, {});
    manager->setBrightWithComplitionHandle(42, {});
    EXPECT_EQ(watcher->panTilt, 1); // still the old value during the request
    EXPECT_EQ(watcher->bright, 42);
}

TEST_F(SettersTest, PairPushFailsUnlessTheRecordHasEightBytes) {
    for (const std::int32_t size : {-1, 0, 4, 7, 9}) {
        manager->panTilt()->setActualSize(size);
        EXPECT_FALSE(manager->_push2x4ByteValueParamToDevice(1, manager->panTilt().get()));
    }
    EXPECT_THAT(camera->requests(), IsEmpty());
    EXPECT_FALSE(manager->interfaceIsClosed());
}

TEST_F(SettersTest, PairPushDoesNotTouchTheRecord) {
    EXPECT_TRUE(manager->_push2x4ByteValueParamToDevice(99, manager->panTilt().get()));
    EXPECT_EQ(manager->panTilt()->val(), 1);
}

TEST_F(SettersTest, PushSendsTheLowBytesOfTheValue) {
    KTUVCParameters& bright = *manager->bright();
    bright.setActualSize(2);
    bright.setVal(-1);
    EXPECT_TRUE(manager->_pushParamToDevice(&bright));
    bright.setActualSize(1);
    bright.setVal(300);
    EXPECT_TRUE(manager->_pushParamToDevice(&bright));
    bright.setActualSize(4);
    bright.setVal(std::numeric_limits<std::int64_t>::min() + 0x01020304);
    EXPECT_TRUE(manager->_pushParamToDevice(&bright));
    EXPECT_THAT(camera->requests(), ElementsAre(writeOf(KTUVCControl::bright, {0xFF, 0xFF}),
                                                writeOf(KTUVCControl::bright, {0x2C}),
                                                writeOf(KTUVCControl::bright, {4, 3, 2, 1})));
}

TEST_F(SettersTest, PushFailsForSizesThatNoIntegerHas) {
    for (const std::int32_t size : {-1, 0, 5, 8}) {
        manager->bright()->setActualSize(size);
        EXPECT_FALSE(manager->_pushParamToDevice(manager->bright().get()));
    }
    EXPECT_THAT(camera->requests(), IsEmpty());
}

TEST_F(SettersTest, ARecordHoldsTheValueThatTheTransportReportsBack) {
    take(KTUVCControl::contrast, {40, 0});
    take(KTUVCControl::bright, {0xF6, 0xFF});
    take(KTUVCControl::panTilt, littleEndian(0x00000E10'FFFFF1F0, 8));
    Completion done;
    manager->setContrastWithComplitionHandle(39, done.handle());
    EXPECT_EQ(manager->contrast()->val(), 40);
    manager->setBrightWithComplitionHandle(-11, done.handle());
    EXPECT_EQ(manager->bright()->val(), -10);
    manager->setPanWithComplitionHandle(-3599, done.handle());
    EXPECT_EQ(manager->panTilt()->val(), 0x00000E10'FFFFF1F0);
    EXPECT_TRUE(done.success);
    EXPECT_EQ(done.calls, 3);
    EXPECT_EQ(camera->writes().front().data, littleEndian(39, 2))
        << "the request carries the value that was asked for";
}

TEST_F(SettersTest, TheCompletionHandlerSeesTheValueThatTheCameraSet) {
    take(KTUVCControl::contrast, {40, 0});
    std::int64_t seen = 0;
    manager->setContrastWithComplitionHandle(39, [&](bool) { seen = manager->contrast()->val(); });
    EXPECT_EQ(seen, 40);
}

TEST_F(SettersTest, TheReportedValueIsReadWithTheRecordsSizeAndSign) {
    manager->hue()->setActualSize(1);
    take(KTUVCControl::hue, {0xFE});
    manager->setHueWithComplitionHandle(-1, {});
    EXPECT_EQ(manager->hue()->val(), -2);
    manager->exposureTime()->setActualSize(3);
    take(KTUVCControl::exposureTime, {1, 2, 0xFF});
    manager->setExposureTimeWithComplitionHandle(5, {});
    EXPECT_EQ(manager->exposureTime()->val(), 0xFF0201);
}

TEST_F(SettersTest, AnUnchangedValueStaysAsPassedByTheCaller) {
    manager->bright()->setActualSize(1);
    manager->setBrightWithComplitionHandle(300, {});
    EXPECT_EQ(manager->bright()->val(), 300);
    take(KTUVCControl::contrast, {0xFF, 0xFF});
    manager->setContrastWithComplitionHandle(-1, {});
    EXPECT_EQ(manager->contrast()->val(), -1);
    take(KTUVCControl::bright, {0x2B});
    manager->setBrightWithComplitionHandle(300, {});
    EXPECT_EQ(manager->bright()->val(), 0x2B);
}

TEST_F(SettersTest, ExposureTimeIsChangeableInManualModeOnly) {
    for (const std::int64_t mode : {0, 2, 4, 8}) {
        manager->autoExposureMode()->setVal(mode);
        EXPECT_FALSE(manager->exposureTimeSupported()) << mode;
    }
    manager->autoExposureMode()->setVal(1);
    EXPECT_TRUE(manager->exposureTimeSupported());
    manager->exposureTime()->setSupported(false);
    EXPECT_FALSE(manager->exposureTimeSupported());
}

TEST_F(SettersTest, ExposureTimeIsChangeableWithoutAutomaticExposureWhateverTheMode) {
    manager->autoExposureMode()->setSupported(false);
    for (const std::int64_t mode : {-1, 0, 1, 2, 8}) {
        manager->autoExposureMode()->setVal(mode);
        EXPECT_TRUE(manager->exposureTimeSupported()) << mode;
    }
}

TEST_F(SettersTest, ManualControlsAreChangeableWhileTheirSwitchIsOff) {
    struct Pair {
        KTUVCControl automatic;
        KTUVCControl manual;
        bool (KTUVCManager::*query)() const;
    };
    for (const Pair& pair :
         {Pair{KTUVCControl::autoFocus, KTUVCControl::focus, &KTUVCManager::focusSupported},
          Pair{KTUVCControl::autoHue, KTUVCControl::hue, &KTUVCManager::hueSupported},
          Pair{KTUVCControl::autoWhiteBalance, KTUVCControl::whiteBalance,
               &KTUVCManager::whiteBalanceSupported}}) {
        const auto changeable = [&] { return ((*manager).*pair.query)(); };
        record(pair.automatic).setVal(0);
        EXPECT_TRUE(changeable());
        record(pair.automatic).setVal(1);
        EXPECT_FALSE(changeable());
        record(pair.automatic).setVal(-1);
        EXPECT_FALSE(changeable());
        record(pair.automatic).setSupported(false);
        EXPECT_TRUE(changeable());
        record(pair.manual).setSupported(false);
        EXPECT_FALSE(changeable());
    }
    EXPECT_THAT(camera->requests(), IsEmpty());
}

} // namespace
} // namespace tavelo
