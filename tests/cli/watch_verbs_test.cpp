// SPDX-License-Identifier: MIT
// taveloctl monitor and watch, while things happen to the cameras.
#include <gmock/gmock.h>

#include <QTimer>

#include "taveloctl_fixture.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

class WatchVerbs : public TaveloctlTest {
protected:
    /// Calls this again and again while a verb runs: what happens before the verb listens is no event.
    void meanwhile(std::function<void(int times)> happen) {
        QObject::connect(&timer_, &QTimer::timeout, [this, happen = std::move(happen)] { happen(++times_); });
        timer_.start(5ms);
    }

private:
    QTimer timer_;
    int times_ = 0;
};

TEST_F(WatchVerbs, MonitorPrintsWhatOthersChange) {
    plug(1);
    meanwhile([this](int times) { camera(1)->setControlValue(control::brightness, 10 + times % 2); });
    const std::string line = output({"monitor", "--count", "1"});
    EXPECT_THAT(line,
                ::testing::MatchesRegex("Tavelo Virtual Camera 1 \\(0x.*\\): brightness changed to 1[01]\n"));
}

TEST_F(WatchVerbs, MonitorPrintsJson) {
    plug(1);
    meanwhile([this](int times) {
        camera(1)->setControlValue(control::panTilt, packPanTilt(3600 * (times % 2), 3600 * (times % 3)));
    });
    std::istringstream lines(output({"--json", "monitor", "--count", "3"}));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_THAT(line, HasSubstr(R"("event":"changed","name":"Tavelo Virtual Camera 1","value":)"));
        EXPECT_THAT(line, ContainsRegex("\"control\":\"(pan|tilt)\""));
    }
    EXPECT_EQ(count, 3);
}

TEST_F(WatchVerbs, MonitorPrintsACameraThatGoes) {
    plug(1);
    plug(2);
    meanwhile([this](int /*times*/) {
        if (camera(2)) camera(2)->vanish();
    });
    EXPECT_THAT(output({"--json", "monitor", "--count", "1"}),
                HasSubstr(R"("event":"went","name":"Tavelo Virtual Camera 2")"));
}

TEST_F(WatchVerbs, TheChosenCameraIsTheSameThoughItsNumberChanges) {
    plug(1);
    plug(2);
    meanwhile([this](int /*times*/) {
        if (camera(1)) camera(1)->vanish();
        if (camera(2)) camera(2)->vanish();
    });
    EXPECT_THAT(output({"--camera", "2", "monitor", "--count", "1"}), HasSubstr("Camera 2"));
}

TEST_F(WatchVerbs, ACameraThatIsNotThereIsWaitedFor) {
    plug(1);
    meanwhile([this](int times) {
        if (camera(1)) camera(1)->vanish();
        if (times == 3) plug(2);
    });
    const std::string line = output({"--camera", "Virtual Camera 2", "monitor", "--count", "1"});
    EXPECT_THAT(line, HasSubstr("Camera 2"));
    EXPECT_THAT(line, HasSubstr(": came\n"));
}

} // namespace
} // namespace tavelo
