// SPDX-License-Identifier: MIT
// Get, Set and Reset.
#include "service/service_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class ServiceControls : public ServiceTest {
protected:
    std::string set(const QString& camera, const QVariantMap& values, const QVariantMap& options = {}) {
        const QDBusMessage answer = call("Set", {camera, values, options});
        taken_ = qdbus_cast<QVariantMap>(answer.arguments().value(0));
        return errorOf(answer);
    }
    std::optional<std::int64_t> inCamera(int number, ControlAddress address) {
        return camera(number)->controlValue(address);
    }

    QVariantMap taken_;
};

TEST_F(ServiceControls, GetReadsTheCamera) {
    camera(2)->setControlValue(control::brightness, -17);
    EXPECT_EQ(value(QStringLiteral("2"), "brightness"), QVariant(qlonglong(-17)));
    EXPECT_EQ(value(QStringLiteral("2"), "power-line-frequency"), QVariant(QStringLiteral("60hz")));
    EXPECT_EQ(value(QStringLiteral("2"), "focus-auto").typeId(), QMetaType::Bool);
}

TEST_F(ServiceControls, GetOfAControlThatNobodyKnowsIsInvalid) {
    for (const QString& name : {QString(), QStringLiteral("brightnes"), QString(5000, QLatin1Char('b'))})
        EXPECT_THAT(errorOf("Get", {QStringLiteral("1"), name}), StartsWith("Invalid: no control is called"));
}

TEST_F(ServiceControls, GetOfAControlThatTheCameraLacksIsRefused) {
    VirtualCameraModel model = virtualCameraModel(3);
    model.terminalControls = 0;
    backend_.bus->plug(model);
    EXPECT_TRUE(
        waitFor([this] { return backend_.capture->devicesWithMediaType(MediaType::video).size() == 3; }));
    EXPECT_EQ(errorOf("Get", {QStringLiteral("3"), QStringLiteral("zoom")}),
              "Refused: the camera has no zoom");
    EXPECT_THAT(set(QStringLiteral("3"), one("zoom", 1)), StartsWith("Refused: the camera has no zoom"));
}

TEST_F(ServiceControls, SetWritesToACameraThatIsNotShown) {
    show(1);
    EXPECT_EQ(set(QStringLiteral("2"), {{QStringLiteral("brightness"), 12},
                                        {QStringLiteral("power-line-frequency"), QStringLiteral("50hz")}}),
              "");
    EXPECT_EQ(inCamera(2, control::brightness), 12);
    EXPECT_EQ(inCamera(2, control::powerLine), 1);
    EXPECT_EQ(taken_, (QVariantMap{{QStringLiteral("brightness"), qlonglong(12)},
                                   {QStringLiteral("power-line-frequency"), QStringLiteral("50hz")}}));
    EXPECT_TRUE(host_.changed.empty()) << "the widgets show the other camera";
    EXPECT_EQ(manager_.bright()->val(), inCamera(1, control::brightness));
    EXPECT_TRUE(waitFor([this] { return signals_.lines.size() == 2; }));
    EXPECT_EQ(signals_.lines[0], QStringLiteral("ControlChanged %1 brightness 12").arg(identifier(2)));
    EXPECT_EQ(signals_.lines[1],
              QStringLiteral("ControlChanged %1 power-line-frequency 50hz").arg(identifier(2)));
}

TEST_F(ServiceControls, SetOfTheShownCameraGoesThroughThePanelsManager) {
    show(1);
    const BindingIdentity binding = manager_.bindingIdentity();
    EXPECT_EQ(set(QString(), one("brightness", -3)), "");
    EXPECT_EQ(inCamera(1, control::brightness), -3);
    EXPECT_EQ(manager_.bright()->val(), -3);
    EXPECT_TRUE(manager_.bindingIdentity() == binding);
    EXPECT_THAT(host_.changed, ElementsAre(KTUVCControl::bright));
}

TEST_F(ServiceControls, ControlsOfExtensionUnitsAreLikeTheOthers) {
    show(1);
    EXPECT_EQ(value(QStringLiteral("1"), "lamp-mode"), QVariant(QStringLiteral("off")));
    EXPECT_EQ(value(QStringLiteral("2"), "hdr"), QVariant(false));
    EXPECT_EQ(set(QStringLiteral("1"), {{QStringLiteral("lamp-mode"), QStringLiteral("blink")},
                                        {QStringLiteral("lamp-frequency"), QStringLiteral("+5")},
                                        {QStringLiteral("hdr"), true},
                                        {QStringLiteral("warmth"), -2}}),
              "");
    EXPECT_EQ(taken_, (QVariantMap{{QStringLiteral("lamp-mode"), QStringLiteral("blink")},
                                   {QStringLiteral("lamp-frequency"), qlonglong(15)},
                                   {QStringLiteral("hdr"), true},
                                   {QStringLiteral("warmth"), qlonglong(-2)}}));
    EXPECT_EQ(value(QStringLiteral("1"), "lamp-frequency"), QVariant(qlonglong(15)));
    EXPECT_EQ(value(QStringLiteral("2"), "lamp-mode"), QVariant(QStringLiteral("off")));
    EXPECT_TRUE(waitFor([this] { return signals_.lines.size() == 4; }));
    EXPECT_THAT(signals_.lines,
                Contains(QStringLiteral("ControlChanged %1 lamp-mode blink").arg(identifier(1))));
    EXPECT_TRUE(host_.changed.empty()) << "the panel has no widget for them";
}

TEST_F(ServiceControls, ACameraWithoutControlsOfTheClassHasThoseOfItsUnit) {
    VirtualCameraModel model = virtualCameraModel(3);
    model.terminalControls = 0;
    model.unitControls = 0;
    backend_.bus->plug(model);
    EXPECT_TRUE(
        waitFor([this] { return backend_.capture->devicesWithMediaType(MediaType::video).size() == 3; }));
    const QString third = QStringLiteral("3");
    EXPECT_EQ(set(third, one("lamp-mode", QStringLiteral("blink"))), "");
    EXPECT_EQ(value(third, "lamp-mode"), QVariant(QStringLiteral("blink")));
    EXPECT_EQ(errorOf("Get", {third, QStringLiteral("zoom")}), "Refused: the camera has no zoom");
    EXPECT_THAT(errorOf("Reset", {third}), HasSubstr("it has no controls"));
    manager_.prober()->refreshData(false);
    show(3);
    EXPECT_EQ(set(QString(), one("hdr", true)), "");
    EXPECT_EQ(value(QString(), "hdr"), QVariant(true));
}

TEST_F(ServiceControls, ControlsDescribesEveryOne) {
    show(2);
    const QDBusMessage answer = call("Controls", {QString()});
    EXPECT_EQ(errorOf(answer), "");
    EXPECT_EQ(answer.signature(), QStringLiteral("aa{sv}"));
    std::map<QString, QVariantMap> controls;
    for (const QVariantMap& each : qdbus_cast<QList<QVariantMap>>(answer.arguments().value(0)))
        controls[each[QStringLiteral("Name")].toString()] = each;
    EXPECT_EQ(controls.size(), 28U);
    const QVariantMap& zoom = controls[QStringLiteral("zoom")];
    EXPECT_EQ(zoom[QStringLiteral("Value")], QVariant(qlonglong(100)));
    EXPECT_EQ(zoom[QStringLiteral("Maximum")], QVariant(qlonglong(400)));
    EXPECT_EQ(zoom[QStringLiteral("Step")], QVariant(qlonglong(1)));
    const QVariantMap& focus = controls[QStringLiteral("focus")];
    EXPECT_EQ(focus[QStringLiteral("Automatic")], QVariant(QStringLiteral("focus-auto")));
    EXPECT_EQ(focus[QStringLiteral("IsAutomatic")], QVariant(true));
    EXPECT_TRUE(controls.contains(QStringLiteral("lamp-mode")));
    EXPECT_EQ(errorOf(call("Controls", {QStringLiteral("1")})), "");
}

TEST_F(ServiceControls, ANameOfSeveralExtensionUnitsIsTheCameras) {
    EXPECT_EQ(set(QStringLiteral("2"), one("field-of-view", QStringLiteral("narrow"))), "");
    EXPECT_EQ(value(QStringLiteral("2"), "field-of-view"), QVariant(QStringLiteral("narrow")));
    EXPECT_THAT(errorOf("Get", {QStringLiteral("9"), QStringLiteral("field-of-view")}),
                StartsWith("NoSuchCamera: "));
}

TEST_F(ServiceControls, ExtensionUnitsRefuseAsTheOthersDo) {
    EXPECT_EQ(set(QStringLiteral("1"), one("lamp-frequency", 201)),
              "Refused: lamp-frequency: 201 is not possible: it goes from 1 to 200");
    EXPECT_THAT(set(QStringLiteral("1"), one("lamp-mode", QStringLiteral("dim"))),
                StartsWith("Invalid: lamp-mode: \"dim\" is not off, on, blink"));
    EXPECT_EQ(errorOf("Get", {QStringLiteral("1"), QStringLiteral("led-mode")}),
              "Refused: the camera has no led-mode");
}

TEST_F(ServiceControls, PanAndTiltAreBothReported) {
    EXPECT_EQ(set(QStringLiteral("1"), one("pan", 3600)), "");
    EXPECT_TRUE(waitFor([this] { return signals_.lines.size() == 2; }));
    EXPECT_EQ(signals_.lines[0], QStringLiteral("ControlChanged %1 pan 3600").arg(identifier(1)));
    EXPECT_THAT(signals_.lines[1].toStdString(), HasSubstr(" tilt "));
}

TEST_F(ServiceControls, ValuesThatCannotBeAreRefusedBeforeAnythingIsWritten) {
    const auto before = inCamera(1, control::contrast);
    EXPECT_THAT(
        set(QStringLiteral("1"), {{QStringLiteral("brightness"), 100'000}, {QStringLiteral("contrast"), 7}}),
        StartsWith("Refused: brightness: 100000 is not possible"));
    EXPECT_EQ(inCamera(1, control::contrast), before);
    EXPECT_THAT(set(QStringLiteral("1"), one("power-line-frequency", 9)), StartsWith("Refused: "));
    EXPECT_TRUE(signals_.lines.isEmpty());
}

TEST_F(ServiceControls, HostileValuesAreInvalid) {
    for (const QVariant& wrong :
         {QVariant(QStringLiteral("bright")), QVariant(0.5), QVariant(std::numeric_limits<qlonglong>::max()),
          QVariant(QStringList{QStringLiteral("1")}), QVariant(true), QVariant(QByteArray(100'000, 'x'))})
        EXPECT_THAT(set(QStringLiteral("1"), one("brightness", wrong)), StartsWith("Invalid: brightness"));
    EXPECT_THAT(set(QStringLiteral("1"), {}), StartsWith("Invalid: it takes 1 to 64 values"));
    EXPECT_THAT(set(QStringLiteral("1"), one("brightness", 1), one("fast", true)),
                StartsWith("Invalid: no option is called \"fast\""));
    EXPECT_THAT(set(QStringLiteral("1"), one("brightness", 1), one("force", QStringLiteral("yes"))),
                StartsWith("Invalid: force is a boolean"));
}

TEST_F(ServiceControls, AnAutomaticIsTurnedOffOnlyByForce) {
    camera(1)->setControlValue(control::autoFocus, 1);
    EXPECT_THAT(set(QStringLiteral("1"), one("focus", 20)), StartsWith("Refused: focus: focus-auto sets it"));
    EXPECT_EQ(inCamera(1, control::autoFocus), 1);
    EXPECT_EQ(set(QStringLiteral("1"), one("focus", 20), one("force", true)), "");
    EXPECT_EQ(inCamera(1, control::autoFocus), 0);
    EXPECT_EQ(inCamera(1, control::focus), 20);
    EXPECT_EQ(taken_.value(QStringLiteral("focus-auto")), QVariant(false));
}

TEST_F(ServiceControls, AutomaticAndItsValueCanBeSetTogether) {
    camera(1)->setControlValue(control::autoFocus, 1);
    EXPECT_EQ(
        set(QStringLiteral("1"), {{QStringLiteral("focus"), 20}, {QStringLiteral("focus-auto"), false}}), "");
    EXPECT_EQ(inCamera(1, control::focus), 20);
}

TEST_F(ServiceControls, ARefusingCameraIsNamedAndAskedAgainAtOnce) {
    show(1);
    camera(1)->order({.control = control::brightness, .direction = FaultDirection::writes});
    EXPECT_EQ(set(QString(), one("brightness", 5)), "Refused: brightness: the camera refused 5");
    EXPECT_TRUE(host_.changed.empty());
    camera(1)->clearFaults();
    EXPECT_EQ(set(QString(), one("brightness", 5)), "");
    EXPECT_EQ(inCamera(1, control::brightness), 5);
}

TEST_F(ServiceControls, ASilentCameraIsLeftAloneForASecond) {
    show(1);
    camera(1)->order({.kind = FaultKind::silence, .control = control::brightness});
    EXPECT_EQ(set(QString(), one("brightness", 5)), "Failed: brightness: the camera did not answer");
    camera(1)->clearFaults();
    now_ = now_.load() + 999ms;
    EXPECT_EQ(set(QString(), one("brightness", 5)),
              "Failed: Tavelo Virtual Camera 1: it did not answer a moment ago; try again later");
    now_ = now_.load() + 1ms;
    EXPECT_EQ(set(QString(), one("brightness", 5)), "");
}

TEST_F(ServiceControls, ACameraWhoseControlsCannotBeReadFails) {
    camera(2)->order({.kind = FaultKind::silence});
    EXPECT_THAT(errorOf("Get", {QStringLiteral("2"), QStringLiteral("brightness")}),
                StartsWith("Failed: Tavelo Virtual Camera 2: it has no controls, or does not answer"));
    camera(2)->clearFaults();
    camera(2)->order({.kind = FaultKind::silence, .control = control::gain});
    EXPECT_THAT(errorOf("Get", {QStringLiteral("2"), QStringLiteral("brightness")}),
                StartsWith("Failed: Tavelo Virtual Camera 2: it did not answer when its controls were read"));
}

TEST_F(ServiceControls, ResetSetsTheDefaultsAndTellsThePanel) {
    camera(1)->setControlValue(control::brightness, 33);
    camera(1)->setControlValue(control::contrast, 3);
    show(1);
    EXPECT_EQ(errorOf("Reset", {QString()}), "");
    EXPECT_EQ(inCamera(1, control::brightness), manager_.bright()->def());
    EXPECT_EQ(inCamera(1, control::contrast), manager_.contrast()->def());
    EXPECT_THAT(host_.changed, Contains(KTUVCControl::bright));
    EXPECT_TRUE(waitFor([this] {
        return signals_.lines.contains(QStringLiteral("ControlChanged %1 brightness 0").arg(identifier(1)));
    }));
}

TEST_F(ServiceControls, ResetOfAnotherCameraLeavesTheShownOneAlone) {
    show(1);
    camera(1)->setControlValue(control::brightness, 33);
    camera(2)->setControlValue(control::brightness, 33);
    EXPECT_EQ(errorOf("Reset", {QStringLiteral("2")}), "");
    EXPECT_EQ(inCamera(2, control::brightness), 0);
    EXPECT_EQ(inCamera(1, control::brightness), 33);
    EXPECT_TRUE(host_.changed.empty());
}

TEST_F(ServiceControls, ResetOfASlowCameraBlocksNobody) {
    camera(2)->order({.kind = FaultKind::delay, .direction = FaultDirection::writes, .wait = 50ms});
    const QDBusPendingCall reset = begin("Reset", {QStringLiteral("2")});
    EXPECT_EQ(errorOf("List"), "");
    EXPECT_FALSE(reset.isFinished());
    EXPECT_TRUE(service_->hasPendingCalls());
    EXPECT_TRUE(waitFor([&] { return reset.isFinished(); }));
    EXPECT_TRUE(waitFor([&] { return !service_->hasPendingCalls(); }));
}

TEST_F(ServiceControls, ResetOfACameraThatStopsAnsweringFails) {
    camera(2)->order({.kind = FaultKind::silence, .direction = FaultDirection::writes});
    EXPECT_EQ(errorOf("Reset", {QStringLiteral("2")}), "Failed: Tavelo Virtual Camera 2: it did not answer");
}

} // namespace
} // namespace tavelo
