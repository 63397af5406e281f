// SPDX-License-Identifier: MIT
#include "service/panel_client.h"

#include <QTimer>
#include <future>

#include "service/service_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Kind = ServiceError::Kind;
using ::testing::StartsWith;

class PanelClientTest : public ServiceTest {
protected:
    void own() { ASSERT_TRUE(bus_.registerService(bus_names::service)); }
    /// Runs `action` on the main thread once the panel records.
    void onceRecording(std::function<void()> action) {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this, action = std::move(action)] {
            if (host_.recording.empty()) return;
            timer_.stop();
            action();
        });
        timer_.start(5);
    }

    /// Asks on another thread, for the panel answers on this one.
    bool showsCamera() {
        std::future<bool> answer =
            std::async(std::launch::async, [this] { return panel_.panelShowsCamera(); });
        EXPECT_TRUE(waitFor([&] { return answer.wait_for(0s) == std::future_status::ready; }));
        return answer.get();
    }

    PanelClient panel_{client_};
    QTimer timer_;
};

TEST_F(PanelClientTest, KnowsWhetherAPanelRuns) {
    EXPECT_FALSE(panel_.panelRuns());
    own();
    EXPECT_TRUE(panel_.panelRuns());
    EXPECT_FALSE(PanelClient(QDBusConnection(QStringLiteral("never connected"))).panelRuns());
}

TEST_F(PanelClientTest, KnowsWhetherThePanelShowsACamera) {
    EXPECT_FALSE(showsCamera()) << "no panel runs";
    own();
    EXPECT_TRUE(waitFor([this] { return !showsCamera(); })) << "a service without a window";
    show(2);
    EXPECT_TRUE(showsCamera());
    bus_.unregisterObject(bus_names::object);
    EXPECT_FALSE(showsCamera()) << "it has no service";
    EXPECT_FALSE(PanelClient(QDBusConnection(QStringLiteral("never connected"))).panelShowsCamera());
}

TEST_F(PanelClientTest, APanelThatDoesNotAnswerCountsAsOneThatShowsACamera) {
    own();
    EXPECT_TRUE(panel_.panelShowsCamera()) << "it would answer on this thread, which waits";
}

TEST_F(PanelClientTest, WithoutAnAddressThereIsNoBus) {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nowhere");
    EXPECT_FALSE(PanelClient::sessionBusIfAny().isConnected());
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("XDG_RUNTIME_DIR", folder);
}

TEST_F(PanelClientTest, SnapshotEndsWithThePanels) {
    own();
    show(1);
    QTimer::singleShot(0, &timer_, [this] {
        EXPECT_TRUE(waitFor([this] { return host_.snapshots.size() == 1; }));
        host_.snapshots[0].second({});
    });
    EXPECT_FALSE(panel_.snapshot("", "/pictures/one"));
}

TEST_F(PanelClientTest, ListsTheCamerasOfThePanel) {
    own();
    show(2);
    ServiceError error;
    const auto cameras = panel_.list(error);
    ASSERT_TRUE(cameras);
    ASSERT_EQ(cameras->size(), 2U);
    EXPECT_EQ((*cameras)[0].names.identifier, identifier(1).toStdString());
    EXPECT_EQ((*cameras)[0].names.name, "Tavelo Virtual Camera 1");
    EXPECT_FALSE((*cameras)[0].isShown);
    EXPECT_TRUE((*cameras)[1].isShown);
}

TEST_F(PanelClientTest, ReadsAndSetsControls) {
    own();
    ServiceError error;
    const auto taken = panel_.set("2", {{QStringLiteral("focus"), QStringLiteral("20")}}, true, error);
    EXPECT_EQ(taken,
              (QVariantMap{{QStringLiteral("focus"), qlonglong(20)}, {QStringLiteral("focus-auto"), false}}));
    EXPECT_EQ(panel_.get("2", "focus", error), QVariant(qlonglong(20)));
    const auto controls = panel_.controls("2", error);
    ASSERT_TRUE(controls);
    EXPECT_TRUE(std::ranges::any_of(*controls, [](const QVariantMap& each) {
        return each[QStringLiteral("Name")] == QStringLiteral("focus") &&
               each[QStringLiteral("Value")] == QVariant(qlonglong(20));
    }));
    EXPECT_FALSE(
        panel_.set("2", {{QStringLiteral("focus-auto"), true}, {QStringLiteral("focus"), 3}}, false, error));
    EXPECT_EQ(error.kind, Kind::refused);
    EXPECT_FALSE(panel_.get("3", "focus", error));
    EXPECT_EQ(error.kind, Kind::noSuchCamera);
    EXPECT_FALSE(panel_.controls("3", error));
}

TEST_F(PanelClientTest, ErrorsKeepTheirKinds) {
    own();
    const auto notShown = panel_.snapshot("1", "/pictures/one");
    ASSERT_TRUE(notShown);
    EXPECT_EQ(notShown->kind, Kind::notShown);
    EXPECT_THAT(notShown->text, StartsWith("Tavelo Virtual Camera 1"));
    const auto none = panel_.record("7", "/pictures/one", 0);
    ASSERT_TRUE(none);
    EXPECT_EQ(none->kind, Kind::noSuchCamera);
}

TEST_F(PanelClientTest, APanelThatIsGoneOrHasNoServiceShowsNothing) {
    const auto gone = panel_.snapshot("1", "/pictures/one");
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone->kind, Kind::notShown);
    own();
    bus_.unregisterObject(bus_names::object);
    const auto older = panel_.snapshot("1", "/pictures/one");
    ASSERT_TRUE(older);
    EXPECT_EQ(older->kind, Kind::notShown);
}

TEST_F(PanelClientTest, RecordWaitsForTheEndOfItsOwnMovie) {
    own();
    show(1);
    onceRecording([this] {
        service_->recordingDidEnd("/pictures/other", false, "not this one");
        service_->recordingDidEnd("/pictures/one", true, "");
    });
    EXPECT_FALSE(panel_.record("", "/pictures/one", 2));
    EXPECT_EQ(host_.duration, PanelHost::Seconds(2));
}

TEST_F(PanelClientTest, RecordAsksForSoundAndTellsWhatTheMovieLacksOfIt) {
    own();
    show(1);
    onceRecording([this] { service_->recordingDidEnd("/pictures/one", true, "no sound: unplugged"); });
    EXPECT_FALSE(panel_.record("", "/pictures/one", 2, "auto"));
    EXPECT_EQ(host_.sound, (SoundChoice{SoundChoice::Kind::automatic}));
    EXPECT_EQ(host_.duration, PanelHost::Seconds(2));
    EXPECT_EQ(panel_.note(), "no sound: unplugged");
}

TEST_F(PanelClientTest, RecordSaysWhyAMovieEndedEarly) {
    own();
    show(1);
    onceRecording([this] { service_->recordingDidEnd("/pictures/one", false, "cut short"); });
    const auto error = panel_.record("", "/pictures/one", 0);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->text, "cut short");
}

TEST_F(PanelClientTest, StopEndsTheRecording) {
    own();
    show(1);
    QTimer ended;
    QObject::connect(&ended, &QTimer::timeout, &ended, [&] {
        if (!host_.recording.empty()) return;
        ended.stop();
        service_->recordingDidEnd("/pictures/one", true, "");
    });
    onceRecording([&] {
        panel_.stop();
        panel_.stop();
        ended.start(5);
    });
    EXPECT_FALSE(panel_.record("", "/pictures/one", 0));
    EXPECT_EQ(host_.recording, "");
}

TEST_F(PanelClientTest, AStopBeforeTheBeginningIsNotForgotten) {
    own();
    show(1);
    panel_.stop();
    QTimer ended;
    QObject::connect(&ended, &QTimer::timeout, &ended, [&] {
        if (host_.starts == 1 && host_.recording.empty())
            service_->recordingDidEnd("/pictures/one", true, "");
    });
    ended.start(5);
    EXPECT_FALSE(panel_.record("", "/pictures/one", 0));
    EXPECT_EQ(host_.recording, "");
}

TEST_F(PanelClientTest, APanelThatEndsDuringTheRecordingIsReported) {
    own();
    show(1);
    onceRecording([this] { bus_.unregisterService(bus_names::service); });
    const auto error = panel_.record("", "/pictures/one", 0);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, Kind::failed);
    EXPECT_THAT(error->text, StartsWith("the panel ended"));
}

} // namespace
} // namespace tavelo
