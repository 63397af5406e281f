// SPDX-License-Identifier: MIT
// Snapshot, StartRecording, StartRecordingWith and StopRecording.
#include <QSignalSpy>

#include "service/service_fixture.h"

namespace tavelo {
namespace {

/// Values of the signal PropertiesChanged.
class RecordedChanges final : public QObject {
    Q_OBJECT

public:
    QList<QVariantMap> values;

public Q_SLOTS:
    void note(const QDBusMessage& message) {
        QVariantMap changed;
        message.arguments().value(1).value<QDBusArgument>() >> changed;
        values.append(changed);
    }
};

using ::testing::SizeIs;
using ::testing::StartsWith;

class ServicePictures : public ServiceTest {
protected:
    const QString file_ = QStringLiteral("/pictures/one");
};

TEST_F(ServicePictures, SnapshotAnswersOnceTheFileIsWritten) {
    show(1);
    const QDBusPendingCall pending = begin("Snapshot", {QString(), file_});
    EXPECT_TRUE(waitFor([this] { return host_.snapshots.size() == 1; }));
    EXPECT_EQ(host_.snapshots[0].first, "/pictures/one");
    EXPECT_EQ(errorOf("List"), "") << "others are answered meanwhile";
    EXPECT_FALSE(pending.isFinished());
    EXPECT_TRUE(service_->hasPendingCalls());
    host_.snapshots[0].second({});
    EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
    EXPECT_EQ(errorOf(pending.reply()), "");
    host_.snapshots.clear();
    EXPECT_FALSE(service_->hasPendingCalls());
}

TEST_F(ServicePictures, SnapshotThatFailsSaysWhy) {
    show(1);
    const QDBusPendingCall pending = begin("Snapshot", {QStringLiteral("1"), file_});
    EXPECT_TRUE(waitFor([this] { return host_.snapshots.size() == 1; }));
    host_.snapshots[0].second(ServiceError{ServiceError::Kind::busy, "in use by other, process 7"});
    EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
    EXPECT_EQ(errorOf(pending.reply()), "Busy: in use by other, process 7");
}

TEST_F(ServicePictures, ACameraThatIsNotShownIsNotShown) {
    EXPECT_THAT(errorOf("Snapshot", {QStringLiteral("1"), file_}), StartsWith("NotShown: "));
    show(1);
    EXPECT_THAT(errorOf("Snapshot", {QStringLiteral("2"), file_}),
                StartsWith("NotShown: Tavelo Virtual Camera 2"));
    EXPECT_THAT(errorOf("StartRecording", {QStringLiteral("2"), file_, 1.0}), StartsWith("NotShown: "));
    EXPECT_THAT(host_.snapshots, SizeIs(0));
    EXPECT_EQ(host_.recording, "");
}

TEST_F(ServicePictures, FilesWithoutAnAbsolutePathAreInvalid) {
    show(1);
    for (const QString& file :
         {QString(), QStringLiteral("one"), QStringLiteral("../one"), QStringLiteral("/a/"),
          QStringLiteral("/") + QString(5000, QLatin1Char('a'))}) {
        EXPECT_THAT(errorOf("Snapshot", {QString(), file}), StartsWith("Invalid: "));
        EXPECT_THAT(errorOf("StartRecording", {QString(), file, 1.0}), StartsWith("Invalid: "));
    }
    EXPECT_THAT(host_.snapshots, SizeIs(0));
    EXPECT_EQ(host_.recording, "");
}

TEST_F(ServicePictures, RecordingHasADurationOrNone) {
    show(1);
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 2.5}), "");
    EXPECT_EQ(host_.recording, "/pictures/one");
    EXPECT_EQ(host_.duration, PanelHost::Seconds(2.5));
    host_.recording.clear();
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 0.0}), "");
    EXPECT_FALSE(host_.duration);
}

TEST_F(ServicePictures, RecordingOfAnImpossibleLengthIsInvalid) {
    show(1);
    using Limits = std::numeric_limits<double>;
    for (const double seconds : {-1.0, 0.01, 1e7, Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_THAT(errorOf("StartRecording", {QString(), file_, seconds}), StartsWith("Invalid: "))
            << seconds;
    EXPECT_EQ(host_.recording, "");
}

TEST_F(ServicePictures, RecordingMayHaveSound) {
    show(1);
    const auto record = [this](const QVariantMap& options) {
        host_.recording.clear();
        return errorOf("StartRecordingWith", {QString(), file_, options});
    };
    EXPECT_EQ(record({{QStringLiteral("sound"), QStringLiteral("auto")}, {QStringLiteral("seconds"), 2.5}}),
              "");
    EXPECT_EQ(host_.sound, (SoundChoice{SoundChoice::Kind::automatic}));
    EXPECT_EQ(host_.duration, PanelHost::Seconds(2.5));
    EXPECT_EQ(record({{QStringLiteral("sound"), QStringLiteral("My microphone")}}), "");
    EXPECT_EQ(host_.sound, (SoundChoice{SoundChoice::Kind::named, "My microphone"}));
    EXPECT_FALSE(host_.duration);
    EXPECT_EQ(record({}), "");
    EXPECT_EQ(host_.sound, SoundChoice());
    host_.recording.clear();
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 1.0}), "");
    EXPECT_EQ(host_.sound, SoundChoice());
}

TEST_F(ServicePictures, WrongOptionsOfARecordingAreInvalid) {
    show(1);
    for (const QVariantMap& options :
         {QVariantMap{{QStringLiteral("sound"), QString()}}, QVariantMap{{QStringLiteral("sound"), true}},
          QVariantMap{{QStringLiteral("sound"), QString(257, QLatin1Char('a'))}},
          QVariantMap{{QStringLiteral("seconds"), -1.0}},
          QVariantMap{{QStringLiteral("seconds"), QStringLiteral("2")}},
          QVariantMap{{QStringLiteral("volume"), 1.0}}})
        EXPECT_THAT(errorOf("StartRecordingWith", {QString(), file_, options}), StartsWith("Invalid: "));
    EXPECT_THAT(errorOf("StartRecordingWith", {QString(), QStringLiteral("one"), QVariantMap()}),
                StartsWith("Invalid: "));
    EXPECT_THAT(errorOf("StartRecordingWith", {QStringLiteral("2"), file_, QVariantMap()}),
                StartsWith("NotShown: "));
    EXPECT_EQ(host_.recording, "");
}

TEST_F(ServicePictures, ASecondRecordingIsBusy) {
    show(1);
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 0.0}), "");
    EXPECT_EQ(errorOf("StartRecording", {QString(), QStringLiteral("/other"), 0.0}),
              "Busy: a movie is being recorded: /pictures/one");
    EXPECT_EQ(host_.recording, "/pictures/one");
}

TEST_F(ServicePictures, RecordingThatCannotBeginSaysWhy) {
    show(1);
    host_.recordingError = ServiceError{ServiceError::Kind::failed, "disk full"};
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 0.0}), "Failed: disk full");
}

TEST_F(ServicePictures, StopNeedsARecording) {
    EXPECT_EQ(errorOf("StopRecording"), "Failed: no movie is being recorded");
    show(1);
    EXPECT_EQ(errorOf("StartRecording", {QString(), file_, 0.0}), "");
    EXPECT_EQ(errorOf("StopRecording"), "");
    EXPECT_EQ(host_.recording, "");
}

TEST_F(ServicePictures, EndOfARecordingIsReportedInOneLine) {
    service_->recordingDidEnd("/pictures/one", false, "disk\nfull");
    EXPECT_TRUE(waitFor([this] { return !signals_.lines.isEmpty(); }));
    EXPECT_EQ(signals_.lines[0], QStringLiteral("RecordingEnded /pictures/one false disk full"));
}

TEST_F(ServicePictures, SharingIsAPropertyThatTellsItsChanges) {
    const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
    const QString name = QStringLiteral("Sharing");
    QDBusConnection& client = client_;
    RecordedChanges changes;
    ASSERT_TRUE(client.connect(bus_.baseService(), bus_names::object, properties,
                               QStringLiteral("PropertiesChanged"), &changes, SLOT(note(QDBusMessage))));
    const auto ask = [&](const char* method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(bus_.baseService(), bus_names::object,
                                                              properties, QString::fromUtf8(method));
        message.setArguments(arguments);
        const QDBusPendingCall pending = client.asyncCall(message);
        EXPECT_TRUE(waitFor([&] { return pending.isFinished(); }));
        return pending.reply();
    };
    const auto sharing = [&] {
        return ask("Get", {QString(bus_names::interface), name})
            .arguments()
            .value(0)
            .value<QDBusVariant>()
            .variant();
    };
    EXPECT_EQ(sharing(), QVariant(false));
    QSignalSpy called(&*service_, &ControlPanelService::called);
    ask("Set", {QString(bus_names::interface), name, QVariant::fromValue(QDBusVariant(true))});
    EXPECT_TRUE(host_.sharing);
    EXPECT_EQ(sharing(), QVariant(true));
    EXPECT_EQ(called.size(), 1) << "the program would take itself for idle";
    service_->sharingDidChange();
    ASSERT_TRUE(waitFor([&] { return !changes.values.isEmpty(); }));
    EXPECT_EQ(changes.values[0], (QVariantMap{{name, true}}));
    ask("Set", {QString(bus_names::interface), name, QVariant::fromValue(QDBusVariant(false))});
    EXPECT_FALSE(host_.sharing);
}

} // namespace
} // namespace tavelo

#include "service_pictures_test.moc"
