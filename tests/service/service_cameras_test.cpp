// SPDX-License-Identifier: MIT
// Which cameras there are, which one a call means, and the window.
#include "service/service_fixture.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class ServiceCameras : public ServiceTest {
protected:
    QList<QVariantMap> list() {
        const QDBusMessage answer = call("List");
        EXPECT_EQ(errorOf(answer), "");
        EXPECT_EQ(answer.signature(), QStringLiteral("aa{sv}"));
        return qdbus_cast<QList<QVariantMap>>(answer.arguments().value(0));
    }

    /// The value of camera 2's power line frequency differs from camera 1's.
    bool isCamera2(const char* text) {
        return value(QString::fromUtf8(text), "power-line-frequency") == QStringLiteral("60hz");
    }
};

TEST_F(ServiceCameras, ListDescribesEachCameraAndSaysWhichIsShown) {
    show(2);
    const QList<QVariantMap> cameras = list();
    ASSERT_EQ(cameras.size(), 2);
    EXPECT_EQ(cameras[0][QStringLiteral("Identifier")].toString(), identifier(1));
    EXPECT_EQ(cameras[1][QStringLiteral("Identifier")].toString(), identifier(2));
    EXPECT_EQ(cameras[1][QStringLiteral("Name")].toString(), QStringLiteral("Tavelo Virtual Camera 2"));
    EXPECT_EQ(cameras[0][QStringLiteral("Shown")], QVariant(false));
    EXPECT_EQ(cameras[1][QStringLiteral("Shown")], QVariant(true));
    for (const char* key : {"Node", "Place", "OpenIn"})
        EXPECT_TRUE(cameras[0].contains(QString::fromUtf8(key))) << key;
}

TEST_F(ServiceCameras, WithoutCamerasTheListIsEmpty) {
    backend_.bus->unplug(1);
    backend_.bus->unplug(2);
    EXPECT_TRUE(waitFor([this] { return backend_.capture->devicesWithMediaType(MediaType::video).empty(); }));
    EXPECT_TRUE(list().isEmpty());
    EXPECT_THAT(errorOf("Get", {QString(), QStringLiteral("brightness")}),
                StartsWith("NoSuchCamera: no camera is plugged in"));
}

TEST_F(ServiceCameras, CameraIsNamedByNumberIdentifierOrName) {
    EXPECT_TRUE(isCamera2("2"));
    EXPECT_FALSE(isCamera2("1"));
    EXPECT_TRUE(isCamera2(qPrintable(identifier(2))));
    EXPECT_TRUE(isCamera2("Tavelo Virtual Camera 2"));
    EXPECT_TRUE(isCamera2("camera 2"));
}

TEST_F(ServiceCameras, EmptyTextIsTheShownCameraOrTheOnlyOne) {
    EXPECT_THAT(errorOf("Get", {QString(), QStringLiteral("brightness")}),
                StartsWith("Invalid: there are 2 cameras and none is shown"));
    show(2);
    EXPECT_TRUE(isCamera2(""));
    host_.shown.reset();
    backend_.bus->unplug(1);
    EXPECT_TRUE(
        waitFor([this] { return backend_.capture->devicesWithMediaType(MediaType::video).size() == 1; }));
    EXPECT_TRUE(isCamera2(""));
}

TEST_F(ServiceCameras, UnknownCamerasAreNoSuchCamera) {
    for (const char* text :
         {"3", "0", "-1", "99999999999999999999", "0xdeadbeef00000000", "/dev/video9", "nobody's"})
        EXPECT_THAT(errorOf("Get", {QString::fromUtf8(text), QStringLiteral("brightness")}),
                    StartsWith("NoSuchCamera: "))
            << text;
}

TEST_F(ServiceCameras, EveryMethodRefusesAnOverlongCamera) {
    const QString camera(10'000, QLatin1Char('1'));
    const QString file = QStringLiteral("/nowhere/file");
    const QVariant one = QVariant::fromValue(1U);
    const std::vector<std::pair<const char*, QVariantList>> calls{
        {"Get", {camera, QStringLiteral("brightness")}},
        {"Set", {camera, ServiceTest::one("brightness", 1), QVariantMap()}},
        {"Controls", {camera}},
        {"Apply", {camera, one}},
        {"Save", {camera, one}},
        {"Reset", {camera}},
        {"Snapshot", {camera, file}},
        {"StartRecording", {camera, file, 1.0}},
        {"StartRecordingWith", {camera, file, QVariantMap()}}};
    for (const auto& [method, arguments] : calls)
        EXPECT_THAT(errorOf(method, arguments), StartsWith("Invalid: the camera's name is too long"))
            << method;
}

TEST_F(ServiceCameras, ArgumentsOfOtherTypesAreRefused) {
    const std::vector<std::pair<const char*, QVariantList>> calls{
        {"List", {1}},
        {"Show", {QString()}},
        {"StopRecording", {true}},
        {"Get", {1, 2}},
        {"Get", {QString()}},
        {"Get", {QString(), QString(), QString()}},
        {"Reset", {2}},
        {"Apply", {QString(), -1}},
        {"Snapshot", {QString()}},
        {"Set", {QString(), 1, 2}},
        {"StartRecording", {QString(), QString(), 1}},
        {"Nothing", {}}};
    for (const auto& [method, arguments] : calls)
        EXPECT_NE(errorOf(method, arguments), "") << method;
    EXPECT_EQ(host_.shows, 0);
    EXPECT_THAT(errorOf("Show", {QString()}), StartsWith("Invalid: the arguments have wrong types"));
}

TEST_F(ServiceCameras, CamerasThatComeAndGoAreReported) {
    const QString second = identifier(2);
    backend_.bus->unplug(2);
    EXPECT_TRUE(waitFor([&] { return signals_.lines.contains(QStringLiteral("CameraRemoved ") + second); }));
    backend_.bus->plug(virtualCameraModel(2));
    EXPECT_TRUE(waitFor([&] {
        return signals_.lines.contains(QStringLiteral("CameraAdded ") + second +
                                       QStringLiteral(" Tavelo Virtual Camera 2"));
    }));
    EXPECT_EQ(signals_.lines.size(), 2);
}

TEST_F(ServiceCameras, ShowShowsTheWindowOrSaysWhyNot) {
    EXPECT_EQ(errorOf("Show"), "");
    EXPECT_EQ(host_.shows, 1);
    host_.showError = ServiceError{ServiceError::Kind::failed, "no display"};
    EXPECT_EQ(errorOf("Show"), "Failed: no display");
}

TEST_F(ServiceCameras, ErrorTextIsOneBoundedLine) {
    host_.showError = ServiceError{ServiceError::Kind::failed, "two\nlines " + std::string(5000, 'x')};
    const std::string error = errorOf("Show");
    EXPECT_THAT(error, StartsWith("Failed: two lines x"));
    EXPECT_LT(error.size(), 600U);
}

TEST_F(ServiceCameras, PropertiesFollowThePanelAndAreAnnounced) {
    const auto property = [this](const char* name) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            bus_.baseService(), bus_names::object, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        message << QString(bus_names::interface) << QString::fromUtf8(name);
        const QDBusPendingCall pending = client_.asyncCall(message);
        EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
        return pending.reply().arguments().value(0).value<QDBusVariant>().variant().toString();
    };
    RecordedSignals changes;
    client_.connect(bus_.baseService(), bus_names::object, QStringLiteral("org.freedesktop.DBus.Properties"),
                    QStringLiteral("PropertiesChanged"), &changes, SLOT(note(QDBusMessage)));
    EXPECT_EQ(property("ShownCamera"), QString());
    EXPECT_EQ(property("RecordingFile"), QString());
    show(1);
    service_->shownCameraDidChange();
    EXPECT_TRUE(waitFor([&] { return changes.lines.size() == 1; }));
    EXPECT_EQ(property("ShownCamera"), identifier(1));
    host_.recording = "/movie.mp4";
    service_->recordingFileDidChange();
    EXPECT_TRUE(waitFor([&] { return changes.lines.size() == 2; }));
    EXPECT_EQ(property("RecordingFile"), QStringLiteral("/movie.mp4"));
}

TEST_F(ServiceCameras, BeforeTheServiceIsThereCallsFailWithOneLine) {
    service_.reset();
    EXPECT_THAT(errorOf("List"), StartsWith("Failed: the control panel is starting"));
}

} // namespace
} // namespace tavelo
