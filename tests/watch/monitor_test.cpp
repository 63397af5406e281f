// SPDX-License-Identifier: MIT
#include "watch/monitor.h"

#include <gmock/gmock.h>

#include "watch/monitor_lines.h"
#include "watch/watch_fixture.h"

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MonitorTest : public WatchTest {
protected:
    void start(std::optional<std::size_t> count = {}) { start(parts(), count); }
    void start(const WatchedCamerasParts& parts, std::optional<std::size_t> count = {}) {
        MonitorOptions options;
        options.linesOf = monitorLines;
        options.print = [this](const std::string& line) { lines.push_back(line); };
        options.count = count;
        options.finished = [this] { ++finished; };
        monitor = std::make_unique<Monitor>(parts, options);
        mainQueue.drain();
    }
    [[nodiscard]] bool waitForLines(std::size_t count) {
        return mainQueue.runUntil([&] { return lines.size() >= count; });
    }
    std::string camera(std::size_t index = 0) {
        return device(index)->localizedName() + " (" + device(index)->uniqueID() + "): ";
    }

    int finished = 0;
    std::unique_ptr<Monitor> monitor;
};

TEST_F(MonitorTest, TellsChangesOfEveryCamera) {
    start();
    EXPECT_THAT(lines, IsEmpty()) << "cameras that are there are no event";
    firmware(1)->setControlValue(control::brightness, 12);
    ASSERT_TRUE(waitForLines(1));
    firmware(2)->setControlValue(control::powerLine, 1);
    ASSERT_TRUE(waitForLines(2));
    EXPECT_THAT(lines, ElementsAre(camera(0) + "brightness changed to 12",
                                   camera(1) + "power-line-frequency changed to 50hz"));
    EXPECT_EQ(finished, 0);
}

TEST_F(MonitorTest, TellsTheHalfOfAPairThatChanged) {
    start();
    firmware()->setControlValue(control::panTilt, packPanTilt(0, 3600));
    ASSERT_TRUE(waitForLines(1));
    firmware()->setControlValue(control::panTilt, packPanTilt(-7200, 7200));
    ASSERT_TRUE(waitForLines(3));
    EXPECT_THAT(lines, ElementsAre(camera() + "tilt changed to 3600", camera() + "pan changed to -7200",
                                   camera() + "tilt changed to 7200"));
}

TEST_F(MonitorTest, TellsThatCamerasComeAndGo) {
    start();
    const std::string second = camera(1);
    backend.bus->unplug(2);
    mainQueue.drain();
    backend.bus->plug(virtualCameraModel(2));
    mainQueue.drain();
    EXPECT_THAT(lines, ElementsAre(second + "went", second + "came"));
    firmware(2)->setControlValue(control::brightness, 12);
    EXPECT_TRUE(waitForLines(3));
}

TEST_F(MonitorTest, MayWatchOneCamera) {
    WatchedCamerasParts one = parts();
    one.isChosen = [id = device(1)->uniqueID()](const CaptureDevice& device) {
        return device.uniqueID() == id;
    };
    start(one);
    firmware(1)->setControlValue(control::brightness, 12);
    backend.bus->unplug(1);
    mainQueue.drain();
    firmware(2)->setControlValue(control::brightness, 13);
    ASSERT_TRUE(waitForLines(1));
    EXPECT_THAT(lines, ElementsAre(camera() + "brightness changed to 13"));
}

TEST_F(MonitorTest, EndsAfterAsManyLinesAsWereAsked) {
    start(2);
    firmware()->setControlValue(control::brightness, 12);
    ASSERT_TRUE(waitForLines(1));
    EXPECT_EQ(finished, 0);
    firmware()->setControlValue(control::panTilt, packPanTilt(3600, 3600)); // two more
    ASSERT_TRUE(mainQueue.runUntil([&] { return finished > 0; }));
    firmware()->setControlValue(control::brightness, 14);
    backend.bus->unplug(2);
    backend.bus->unplug(1);
    mainQueue.drain();
    EXPECT_EQ(lines.size(), 2U);
    EXPECT_EQ(finished, 1);
}

TEST_F(MonitorTest, DoesNotCallBackAfterItsEnd) {
    start(1);
    backend.bus->unplug(2);
    ASSERT_TRUE(waitForLines(1));
    monitor.reset();
    mainQueue.drain();
    EXPECT_EQ(finished, 0);
}

TEST_F(MonitorTest, AControlHasOneNameAndThePairTwo) {
    EXPECT_EQ(controlName(KTUVCControl::bright), "brightness");
    EXPECT_EQ(controlName(KTUVCControl::panTilt), "pan and tilt");
}

} // namespace
} // namespace tavelo
