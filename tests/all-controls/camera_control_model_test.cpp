// SPDX-License-Identifier: MIT
#include "all-controls/camera_control_model.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <algorithm>

#include "app/resources/resource_bundle.h"
#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CameraModelTest : public ::testing::Test {
protected:
    ~CameraModelTest() override { QThreadPool::globalInstance()->waitForDone(); }

    void ask() {
        QSignalSpy answers(&model, &ControlModel::changed);
        model.ask();
        ASSERT_TRUE(answers.wait(20'000)); // ms; sanitizers are slow
    }

    ControlDescription described(const char* key) const {
        for (const ControlGroup& group : model.groups())
            for (const ControlDescription& control : group.controls)
                if (control.key == QLatin1String(key)) return control;
        ADD_FAILURE() << key;
        return {};
    }

    /// A camera with two of the four exposure modes, as most have.
    static VirtualCameraModel modelOfMost() {
        VirtualCameraModel model = virtualCameraModel(1);
        model.exposureModes = 1 | 8;
        return model;
    }

    testing::BoundVirtualCamera bound{modelOfMost()};
    KTUVCManager& manager = bound.manager;
    ResourceBundle bundle{{"en-US"}};
    std::vector<std::pair<PlannedWrite, bool>> writes;
    bool takes = true;
    CameraControlModel model{{manager, bundle, [this](const PlannedWrite& planned, bool held) {
                                  writes.emplace_back(planned, held);
                                  return takes && tavelo::write(manager, planned);
                              }}};
};

TEST_F(CameraModelTest, GroupsTheControlsByTheirUnit) {
    const auto groups = model.groups();
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].title, u"Camera");
    EXPECT_EQ(groups[1].title, u"Image Processing");
    std::size_t count = 0;
    for (const ControlGroup& group : groups)
        for (const ControlDescription& control : group.controls) {
            const NamedControl* named = controlNamed(control.key.toStdString());
            ASSERT_NE(named, nullptr) << control.key.toStdString();
            EXPECT_TRUE(manager.record(*named->control)->supported());
            EXPECT_EQ(controlRow(*named->control).unit == KTUVCControlInfo::cameraTerminal,
                      &group == groups.data());
            EXPECT_FALSE(control.title.isEmpty());
            ++count;
        }
    const auto supported = std::ranges::count_if(namedControls(), [this](const NamedControl& named) {
        return manager.record(*named.control)->supported();
    });
    EXPECT_EQ(count, static_cast<std::size_t>(supported));
}

TEST_F(CameraModelTest, AControlThatTheCameraLacksIsNotThere) {
    manager.zoom()->setSupported(false);
    for (const ControlGroup& group : model.groups())
        for (const ControlDescription& control : group.controls)
            EXPECT_NE(control.key, u"zoom");
}

TEST_F(CameraModelTest, AGroupWithoutControlsIsNotThere) {
    for (const ControlRow& row : controlTable())
        if (row.unit == KTUVCControlInfo::cameraTerminal) manager.record(row.control)->setSupported(false);
    const auto groups = model.groups();
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups[0].title, u"Image Processing");
}

TEST_F(CameraModelTest, WithoutACameraThereIsNothing) {
    manager.letGoOfInterface();
    EXPECT_TRUE(model.groups().empty());
    model.ask(); // nobody to ask
}

TEST_F(CameraModelTest, TheCameraIsAskedOnceForEachBinding) {
    bound.camera->clearRequestLog();
    QSignalSpy answers(&model, &ControlModel::changed);
    model.ask();
    model.ask(); // it is being asked
    ASSERT_TRUE(answers.wait(20'000));
    const std::size_t once = bound.camera->requestLog().size();
    EXPECT_GT(once, 0U);
    model.ask(); // it has answered
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_EQ(answers.count(), 1);
    EXPECT_EQ(bound.camera->requestLog().size(), once);

    bound.bind();
    bound.camera->clearRequestLog();
    model.ask();
    ASSERT_TRUE(answers.wait(20'000));
    EXPECT_EQ(bound.camera->requestLog().size(), once);
}

TEST_F(CameraModelTest, AnAnswerToAnEarlierBindingIsAskedForAgain) {
    QSignalSpy answers(&model, &ControlModel::changed);
    model.ask();
    bound.bind();
    ASSERT_TRUE(answers.wait(20'000));
    EXPECT_EQ(answers.count(), 1);
    EXPECT_EQ(described("auto-exposure-mode").choices.size(), 2U) << "only the camera knows which it has";
}

TEST_F(CameraModelTest, ARangeHasItsLimitsDefaultAndValue) {
    manager.setContrastWithComplitionHandle(7, {});
    const ControlDescription contrast = described("contrast");
    EXPECT_EQ(contrast.kind, ControlShape::range);
    EXPECT_EQ(contrast.title, u"Contrast");
    EXPECT_EQ(contrast.minimum, 0);
    EXPECT_EQ(contrast.maximum, 64);
    EXPECT_EQ(contrast.defaultValue, 32);
    EXPECT_EQ(contrast.value, 7);
    EXPECT_TRUE(contrast.setBy.isEmpty());
    EXPECT_EQ(described("brightness").title, u"Brightness");
}

TEST_F(CameraModelTest, PanAndTiltAreTwoControlsInDegrees) {
    manager.setPanWithComplitionHandle(-7200 - 1800, {}); // half a degree is cut off
    manager.setTiltWithComplitionHandle(3600, {});
    const ControlDescription pan = described("pan");
    EXPECT_EQ(pan.title, u"Pan (Left/Right)");
    EXPECT_EQ(pan.value, -2);
    EXPECT_EQ(pan.minimum, -10);
    EXPECT_EQ(pan.maximum, 10);
    EXPECT_EQ(pan.defaultValue, 0);
    EXPECT_EQ(pan.suffix, u"°");
    EXPECT_EQ(described("tilt").value, 1);
    EXPECT_TRUE(model.write(QStringLiteral("tilt"), 3, false));
    EXPECT_EQ(KTUVCParameters::second32BitValueFrom64BitValue(manager.panTilt()->val()), 10800);
    EXPECT_EQ(KTUVCParameters::first32BitValueFrom64BitValue(manager.panTilt()->val()), -9000);
}

TEST_F(CameraModelTest, StepsAreKnownOnceTheCameraHasAnswered) {
    EXPECT_EQ(described("pan").step, 1);
    EXPECT_EQ(described("white-balance-temperature").step, 1);
    ask();
    const FirmwareControl& range = *firmwareControl(control::whiteBalance);
    ASSERT_GT(range.resolution, 1);
    EXPECT_EQ(described("white-balance-temperature").step, range.resolution);
    EXPECT_EQ(described("pan").step, 1) << "a degree at least";
}

TEST_F(CameraModelTest, OffersTheExposureModesThatTheCameraHas) {
    EXPECT_EQ(described("auto-exposure-mode").choices.size(), 4U);
    ask();
    const ControlDescription mode = described("auto-exposure-mode");
    EXPECT_EQ(mode.kind, ControlShape::choice);
    EXPECT_THAT(mode.choices, ElementsAre(ShownChoice{1, QStringLiteral("Manual Exposure, Manual Iris")},
                                          ShownChoice{8, QStringLiteral("Auto exposure, Manual iris")}));
}

TEST_F(CameraModelTest, AsksEachBindingOnce) {
    ask();
    bound.camera->clearRequestLog();
    model.ask();
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_THAT(bound.camera->requestLog(), IsEmpty());
    bound.bind();
    EXPECT_EQ(described("white-balance-temperature").step, 1) << "the answers were another camera's";
    ask();
    EXPECT_GT(described("white-balance-temperature").step, 1);
}

TEST_F(CameraModelTest, ThePowerLineFrequencyIsAMenuWithWordsAndFrequencies) {
    const ControlDescription frequency = described("power-line-frequency");
    EXPECT_EQ(frequency.kind, ControlShape::choice);
    EXPECT_THAT(frequency.choices,
                ElementsAre(ShownChoice{0, QStringLiteral("Off")}, ShownChoice{1, QStringLiteral("50 Hz")},
                            ShownChoice{2, QStringLiteral("60 Hz")}));
    manager.powerLine()->setMax(3);
    EXPECT_EQ(described("power-line-frequency").choices.back().text, u"Automatic");
    manager.powerLine()->setVal(9);
    EXPECT_EQ(described("power-line-frequency").choices.back(), (ShownChoice{9, QStringLiteral("9")}));
}

TEST_F(CameraModelTest, AManualControlNamesTheAutomaticThatSetsIt) {
    EXPECT_EQ(described("white-balance-temperature-auto").kind, ControlShape::flag);
    manager.setAutoWhiteBalanceWithComplitionHandle(1, {});
    EXPECT_EQ(described("white-balance-temperature").setBy, u"Auto White Balance");
    EXPECT_EQ(described("white-balance-temperature-auto").value, 1);
    manager.setAutoWhiteBalanceWithComplitionHandle(0, {});
    EXPECT_TRUE(described("white-balance-temperature").setBy.isEmpty());
}

TEST_F(CameraModelTest, WritesThroughItsOwner) {
    EXPECT_TRUE(model.write(QStringLiteral("contrast"), 7, true));
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes[0].first.control->name, "contrast");
    EXPECT_EQ(writes[0].first.value, 7);
    EXPECT_TRUE(writes[0].second);
    EXPECT_EQ(manager.contrast()->val(), 7);
    takes = false;
    EXPECT_FALSE(model.write(QStringLiteral("contrast"), 9, false));
    EXPECT_FALSE(writes.back().second);
    EXPECT_FALSE(model.write(QStringLiteral("no such control"), 9, false));
    EXPECT_EQ(writes.size(), 2U);
}

} // namespace
} // namespace tavelo
