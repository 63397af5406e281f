// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "uvc/keyed_archive.h"
#include "uvc/manager_test.h"

namespace tavelo {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class ResetTest : public ManagerTest {
protected:
    /// Gives every automatic control the default "off", so that every manual control is writable.
    void SetUp() override {
        ManagerTest::SetUp();
        script(KTUVCControl::autoExposureMode, 2, 1);
        for (const KTUVCControl control :
             {KTUVCControl::autoFocus, KTUVCControl::autoHue, KTUVCControl::autoWhiteBalance})
            script(control, 1, 0);
        bind();
    }

    static std::vector<KTUVCControl> bulkOrder() {
        using enum KTUVCControl;
        return {scanningMode,
                autoExposureMode,
                autoExposurePriority,
                exposureTime,
                iris,
                autoFocus,
                focus,
                zoom,
                panTilt,
                backlight,
                bright,
                contrast,
                gain,
                powerLine,
                autoHue,
                hue,
                saturation,
                sharpness,
                gamma,
                autoWhiteBalance,
                whiteBalance};
    }

    using Walk = void (KTUVCManager::*)();
    static constexpr Walk walks[] = {&KTUVCManager::resetParamsToDefaults, &KTUVCManager::sendParamsToDevice};

    /// Turns every automatic control off in its record and clears the request log.
    void openGates() {
        manager->autoExposureMode()->setVal(1);
        for (const auto& automatic : {manager->autoFocus(), manager->autoHue(), manager->autoWhiteBalance()})
            automatic->setVal(0);
        camera->forgetRequests();
    }

    /// The writes that send each control's `value`.
    template <typename Value>
    std::vector<FakeUsbRequest> writesOf(const std::vector<KTUVCControl>& controls, Value value) {
        std::vector<FakeUsbRequest> writes;
        for (const KTUVCControl control : controls)
            writes.push_back(
                writeOf(control, littleEndian(value(record(control)), controlRow(control).intendedSize)));
        return writes;
    }

    bool wasWritten(KTUVCControl control) const {
        const ControlRow& row = controlRow(control);
        for (const FakeUsbRequest& write : camera->writes()) {
            if (write.selector() == row.selector && write.entity() == entityOf(row)) return true;
        }
        return false;
    }
};

TEST_F(ResetTest, EveryControlExceptRollGetsItsDefaultInOrder) {
    manager->resetParamsToDefaults();
    std::vector<KTUVCControl> order = bulkOrder();
    std::erase_if(order, [](KTUVCControl control) { return !controlRow(control).hasDef; });
    EXPECT_EQ(order.size(), 19U);
    EXPECT_THAT(camera->requests(),
                ElementsAreArray(writesOf(order, [](const KTUVCParameters& r) { return r.def(); })));
    for (const KTUVCControl control : order)
        EXPECT_EQ(record(control).val(), record(control).def()) << controlRow(control).text;
}

TEST_F(ResetTest, EveryControlExceptRollIsSentInOrder) {
    openGates();
    manager->panTilt()->setVal(0x00001C20FFFFF1F0);
    const auto expected = writesOf(bulkOrder(), [](const KTUVCParameters& r) { return r.val(); });
    manager->sendParamsToDevice();
    EXPECT_THAT(camera->requests(), ElementsAreArray(expected));
}

TEST_F(ResetTest, RollKeepsItsValueThroughBoth) {
    manager->roll()->setVal(9);
    manager->resetParamsToDefaults();
    manager->sendParamsToDevice();
    EXPECT_EQ(manager->roll()->val(), 9);
    EXPECT_FALSE(wasWritten(KTUVCControl::roll));
}

TEST_F(ResetTest, AutomaticExposureByDefaultKeepsExposureTimeFromBeingWritten) {
    script(KTUVCControl::autoExposureMode, 1, 2);
    bind();
    ASSERT_TRUE(manager->exposureTimeSupported()); // checked before the walk
    manager->resetParamsToDefaults();
    EXPECT_TRUE(wasWritten(KTUVCControl::autoExposureMode));
    EXPECT_FALSE(wasWritten(KTUVCControl::exposureTime));
    EXPECT_EQ(manager->exposureTime()->val(), 1);
}

TEST_F(ResetTest, AutomaticByDefaultKeepsItsManualControlFromBeingWritten) {
    for (const KTUVCControl control :
         {KTUVCControl::autoFocus, KTUVCControl::autoHue, KTUVCControl::autoWhiteBalance})
        script(control, 0, 1);
    bind();
    manager->resetParamsToDefaults();
    EXPECT_FALSE(wasWritten(KTUVCControl::focus));
    EXPECT_FALSE(wasWritten(KTUVCControl::hue));
    EXPECT_FALSE(wasWritten(KTUVCControl::whiteBalance));
}

TEST_F(ResetTest, OneCameraEndsWithAutomaticFocusOnAndFocusUnwritten) {
    BusProberDevice special = everyControl();
    special.vendorID = 0x1BCF;
    special.productID = 0x28C4;
    setRecord(special);
    bind();
    manager->resetParamsToDefaults();
    EXPECT_EQ(manager->autoFocus()->def(), 0);
    EXPECT_EQ(manager->autoFocus()->val(), 1);
    EXPECT_FALSE(wasWritten(KTUVCControl::focus));
    EXPECT_THAT(camera->writes(), testing::Contains(writeOf(KTUVCControl::autoFocus, {1})));
}

TEST_F(ResetTest, OtherProductsOfThatVendorGetTheirOwnFocusDefault) {
    BusProberDevice other = everyControl();
    other.vendorID = 0x1BCE;
    other.productID = 0x28C4;
    setRecord(other);
    bind();
    manager->resetParamsToDefaults();
    EXPECT_EQ(manager->autoFocus()->val(), 0);
    EXPECT_TRUE(wasWritten(KTUVCControl::focus));
}

TEST_F(ResetTest, OnlyTheLowByteOfTheAutoFocusDefaultDecides) {
    KeyedArchive archive; // a camera's one-byte control cannot have such a default
    archive.encodeBool(true, "supported");
    archive.encodeInt64(256, "def");
    const auto record = std::make_shared<KTUVCParameters>(archive);
    record->setControlInfo(manager->autoFocus()->controlInfo());
    record->setActualSize(1);
    manager->setAutoFocus(record);
    manager->resetParamsToDefaults();
    EXPECT_THAT(camera->writes(), testing::Contains(writeOf(KTUVCControl::autoFocus, {0})));
    EXPECT_EQ(record->val(), 256);
}

TEST_F(ResetTest, CameraWithoutPanTiltIsNotAskedToMove) {
    manager->panTilt()->setSupported(false);
    manager->resetParamsToDefaults();
    manager->sendParamsToDevice();
    EXPECT_FALSE(wasWritten(KTUVCControl::panTilt));
}

TEST_F(ResetTest, PanTiltOfAnotherSizeKeepsItsValue) {
    manager->panTilt()->setActualSize(4);
    manager->panTilt()->setVal(77);
    manager->resetParamsToDefaults();
    EXPECT_EQ(manager->panTilt()->val(), 77);
    EXPECT_FALSE(wasWritten(KTUVCControl::panTilt));
    EXPECT_TRUE(wasWritten(KTUVCControl::whiteBalance)); // the walk continued
}

TEST_F(ResetTest, UnsupportedControlIsNeitherWrittenNorChanged) {
    manager->gain()->setSupported(false);
    manager->gain()->setVal(77);
    manager->resetParamsToDefaults();
    manager->sendParamsToDevice();
    EXPECT_FALSE(wasWritten(KTUVCControl::gain));
    EXPECT_EQ(manager->gain()->val(), 77);
}

TEST_F(ResetTest, ARefusedControlDoesNotAffectTheOthers) {
    for (const KTUVCControl refused : {KTUVCControl::autoExposureMode, KTUVCControl::bright}) {
        for (const Walk walk : walks) {
            bind();
            fail(refused, FakeUvcCamera::setCur);
            openGates();
            const std::int64_t before = record(refused).val();
            (manager.get()->*walk)();
            fail(refused, FakeUvcCamera::setCur, ErrorCode::none);
            EXPECT_TRUE(wasWritten(KTUVCControl::autoWhiteBalance));
            EXPECT_TRUE(wasWritten(KTUVCControl::whiteBalance));
            EXPECT_EQ(record(refused).val(), before);
        }
    }
}

TEST_F(ResetTest, AllOthersAreWrittenWhenEveryThirdIsRefused) {
    const std::vector<KTUVCControl> order = bulkOrder();
    for (std::size_t i = 0; i < order.size(); i += 3)
        fail(order[i], FakeUvcCamera::setCur);
    openGates();
    manager->sendParamsToDevice();
    EXPECT_EQ(camera->writes().size(), order.size());
}

TEST_F(ResetTest, ACameraThatIsGoneEndsTheWalk) {
    for (const Walk walk : walks) {
        bind();
        openGates();
        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, ErrorCode::gone);
        (manager.get()->*walk)();
        EXPECT_TRUE(wasWritten(KTUVCControl::zoom));
        EXPECT_FALSE(wasWritten(KTUVCControl::panTilt));
    }
}

TEST_F(ResetTest, TheSecondMissingAnswerEndsTheWalk) {
    for (const Walk walk : walks) {
        bind();
        openGates();
        fail(KTUVCControl::zoom, FakeUvcCamera::setCur, ErrorCode::timeout);
        fail(KTUVCControl::contrast, FakeUvcCamera::setCur, ErrorCode::timeout);
        (manager.get()->*walk)();
        EXPECT_TRUE(wasWritten(KTUVCControl::panTilt));
        EXPECT_TRUE(wasWritten(KTUVCControl::contrast));
        EXPECT_FALSE(wasWritten(KTUVCControl::gain));
    }
}

TEST_F(ResetTest, ACameraThatCannotBeReopenedEndsTheWalk) {
    fail(KTUVCControl::zoom, FakeUvcCamera::setCur);
    platform.devices.clear();
    manager->resetParamsToDefaults();
    EXPECT_FALSE(wasWritten(KTUVCControl::panTilt));
    EXPECT_EQ(platform.walks, 2) << "one for binding, one for reopening";
}

TEST_F(ResetTest, AControlWithoutADefaultIsNotWritten) {
    bind();
    manager->setInterface(nullptr);
    manager->generalInit(); // makes every control unsupported, with a default of -1
    bind();
    ASSERT_TRUE(manager->scanningMode()->supported());
    ASSERT_EQ(manager->scanningMode()->def(), -1);
    manager->resetParamsToDefaults();
    EXPECT_FALSE(wasWritten(KTUVCControl::scanningMode));
    EXPECT_FALSE(wasWritten(KTUVCControl::autoExposurePriority));
    EXPECT_TRUE(wasWritten(KTUVCControl::autoExposureMode));
    EXPECT_EQ(manager->scanningMode()->val(), 1);
    manager->sendParamsToDevice();
    EXPECT_TRUE(wasWritten(KTUVCControl::scanningMode));
}

TEST_F(ResetTest, AValueIsSentOnlyIfItsAutomaticControlIsOff) {
    openGates();
    for (const KTUVCControl automatic :
         {KTUVCControl::autoFocus, KTUVCControl::autoHue, KTUVCControl::autoWhiteBalance})
        record(automatic).setVal(1);
    manager->autoExposureMode()->setVal(2);
    manager->sendParamsToDevice();
    for (const KTUVCControl manual :
         {KTUVCControl::exposureTime, KTUVCControl::focus, KTUVCControl::hue, KTUVCControl::whiteBalance})
        EXPECT_FALSE(wasWritten(manual)) << controlRow(manual).text;
}

TEST_F(ResetTest, TheRecordsHoldTheValuesThatTheCameraSet) {
    take(KTUVCControl::bright, {49, 0});
    take(KTUVCControl::panTilt, littleEndian(48, 8));
    take(KTUVCControl::autoFocus, {1});
    manager->resetParamsToDefaults();
    EXPECT_EQ(manager->bright()->val(), 49);
    EXPECT_EQ(manager->panTilt()->val(), 48);
    EXPECT_EQ(manager->autoFocus()->val(), 1);
}

TEST_F(ResetTest, WithoutCameraEveryRecordKeepsItsValue) {
    manager->setInterface(nullptr);
    std::vector<std::string> before;
    for (const auto& record : manager->parametersArray())
        before.push_back(record->description());
    manager->resetParamsToDefaults();
    manager->sendParamsToDevice();
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(manager->parametersArray()[i]->description(), before[i]);
    EXPECT_THAT(camera->requests(), IsEmpty());
}

} // namespace
} // namespace tavelo
