// SPDX-License-Identifier: MIT
#include <sys/file.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include "integration/main_thread_watch.h"
#include "integration/panel_fixture.h"
#include "platform/linux/preferences/json_preferences_store.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto answerTime = 50ms;
// One request, and the same again as margin for a busy machine.
constexpr auto longestPause = 2 * answerTime;

class PanelResponsiveness : public PanelTest {
protected:
    void startWithSlowCamera() {
        start(1);
        answerSlowly(*camera(1));
    }

    static void answerSlowly(VirtualCameraFirmware& firmware) {
        firmware.order({.kind = FaultKind::delay, .wait = answerTime});
    }

    /// Like most cameras: the manual value cannot be written while the automatic control is on.
    void makeCameraRefuseWhiteBalance() { camera(1)->setControlValue(control::autoWhiteBalance, 1); }

    /// Runs the event loop, sleeping between events like the program does, until the condition holds.
    template <typename Condition>
    static void runUntil(Condition condition) {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    /// Selects a profile and runs the event loop until the push is over.
    void selectProfileAndWait(QWidget* button) {
        const std::ptrdiff_t before = powerLineWrites();
        click(button);
        runUntil([&] {
            return powerLineWrites() > before && QThreadPool::globalInstance()->activeThreadCount() == 0;
        });
    }
};

TEST_F(PanelResponsiveness, APushToASlowCameraLeavesTheMainThreadFree) {
    startWithSlowCamera();
    const OwnRequests own(camera(1));
    MainThreadWatch watch;
    selectProfileAndWait(view().profile2Button());
    EXPECT_LT(watch.longestWait(), longestPause);
    EXPECT_EQ(own.count(), 0U);
}

TEST_F(PanelResponsiveness, APushToASlowCameraThatRefusesAValueLeavesTheMainThreadFree) {
    startWithSlowCamera();
    makeCameraRefuseWhiteBalance();
    camera(1)->setControlValue(control::sharpness, 9);
    const OwnRequests own(camera(1));
    MainThreadWatch watch;
    selectProfileAndWait(view().profile2Button());
    EXPECT_LT(watch.longestWait(), longestPause);
    EXPECT_EQ(own.count(), 0U);
    EXPECT_EQ(camera(1)->controlValue(control::sharpness), 5)
        << "sharpness is written after the refused value";
}

TEST_F(PanelResponsiveness, APushThatFollowsARefusedValueLeavesTheMainThreadFree) {
    startWithSlowCamera();
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    click(view().brightnessSlider());
    ASSERT_TRUE(manager_.interfaceIsClosed());
    const OwnRequests own(camera(1));
    MainThreadWatch watch;
    selectProfileAndWait(view().profile2Button());
    EXPECT_LT(watch.longestWait(), longestPause);
    EXPECT_EQ(own.count(), 0U);
}

TEST_F(PanelResponsiveness, ASliderAfterARefusedValueWaitsForItsOwnRequestsOnly) {
    startWithSlowCamera();
    makeCameraRefuseWhiteBalance();
    click(view().whiteBalanceSlider());
    ASSERT_TRUE(manager_.interfaceIsClosed());
    const OwnRequests own(camera(1));
    QTest::mousePress(view().contrastSlider(), Qt::LeftButton, {}, pointOf(view().contrastSlider(), 1));
    EXPECT_EQ(own.count(), 1U);
    EXPECT_EQ(camera(1)->controlValue(control::contrast), 64);
}

TEST_F(PanelResponsiveness, ADragOnAHangingCameraBlocksTheMainThreadForOneRequest) {
    start(1);
    constexpr auto hangs = 300ms;
    camera(1)->order({.kind = FaultKind::delay, .control = control::brightness, .wait = hangs});
    camera(1)->order({.kind = FaultKind::silence, .control = control::brightness});
    const OwnRequests own(camera(1));
    KTSlider* slider = view().brightnessSlider();
    QElapsedTimer blocked;
    blocked.start();
    press(slider, 0);
    for (const double share : {0.1, 0.2, 0.3, 0.4, 0.5, 0.6})
        move(slider, share);
    release(slider, 0.6);
    const std::chrono::milliseconds time(blocked.elapsed());
    RecordProperty("milliseconds", static_cast<int>(time.count()));
    EXPECT_LT(time, 2 * hangs);
    EXPECT_EQ(own.count(), 1U);
}

TEST_F(PanelResponsiveness, ASecondCameraPluggedInWhileAProfileIsPushedIsNotAsked) {
    startWithSlowCamera();
    const std::ptrdiff_t before = powerLineWrites();
    MainThreadWatch watch;
    click(view().profile2Button());
    const auto second = plug(2);
    answerSlowly(*second);
    runUntil([&] { return powerLineWrites() > before && view().camera2Button()->isEnabled(); });
    EXPECT_LT(watch.longestWait(), longestPause);
    EXPECT_TRUE(second->requestLog().empty());
}

TEST_F(PanelResponsiveness, AChangeByAnotherProgramIsShownWithin100Milliseconds) {
    start(1);
    std::int64_t brightness = 0;
    ASSERT_TRUE(waitFor([&] { // until the panel follows
        camera(1)->setControlValue(control::brightness, ++brightness);
        return view().brightnessSlider()->intValue() > 0;
    }));
    QElapsedTimer passed;
    passed.start();
    camera(1)->setControlValue(control::contrast, 9);
    runUntil([this] { return view().contrastSlider()->intValue() == 9; });
    RecordProperty("microseconds", static_cast<int>(passed.nsecsElapsed() / 1000));
    EXPECT_LT(passed.elapsed(), 100);
}

/// The panel with a preferences file that another program has locked.
class PanelOnLockedPreferences : public PanelResponsiveness {
protected:
    PanelOnLockedPreferences() {
        EXPECT_TRUE(lock_.open(QIODevice::ReadWrite));
        EXPECT_EQ(flock(lock_.handle(), LOCK_EX), 0);
    }
    ~PanelOnLockedPreferences() override {
        QThreadPool::globalInstance()->waitForDone();
        panel_.reset();
        lock_.close();
    }

    PreferencesStore& preferences() override { return file_; }

    const QTemporaryDir folder_;
    QFile lock_{folder_.filePath(QStringLiteral("panel.json.lock"))};
    JsonPreferencesStore file_{mainQueue_, folder_.filePath(QStringLiteral("panel.json")), {.lock = 1h}};
};

TEST_F(PanelOnLockedPreferences, ProfilesAreSelectedAndSavedWithoutWaitingForTheLock) {
    start(1);
    MainThreadWatch watch;
    for (QWidget* button : {view().profile1Button(), view().profile2Button(), view().profile3Button()})
        selectProfileAndWait(button);
    click(view().saveProfileButton());
    QCoreApplication::processEvents();
    EXPECT_LT(watch.longestWait(), longestPause);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "nothing is saved yet";
    EXPECT_EQ(panel().profileIndex(), 2);
}

} // namespace
} // namespace tavelo
