// SPDX-License-Identifier: MIT
#include "platform/common/retrying_capture_input.h"

#include <gmock/gmock.h>

#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "support/recorded_diagnostics.h"
#include "support/recorded_frames.h"
#include "support/recorded_priorities.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr StreamPatience patience{60s, 60s, 1ms, 1ms, 5ms, 1ms, 4ms};

// Plays one run after another, and rests when none is left.
class ScriptedInput final : public RetryingCaptureInput {
public:
    using Run = std::function<StreamOver(ScriptedInput&)>;

    ScriptedInput(CaptureInputOptions options, std::deque<Run> runs)
        : RetryingCaptureInput(nullptr, "camera 1", "test capture", std::move(options)),
          runs_(std::move(runs)) {}
    ~ScriptedInput() override { stop(); }

    using RetryingCaptureInput::countDamaged;
    using RetryingCaptureInput::deliver;
    using RetryingCaptureInput::firstDeadline;
    using RetryingCaptureInput::frameCame;

    /// Whether the script is played, ten seconds at most.
    bool waitForEnd() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 10s, [this] { return resting_ || released > 0; });
    }

    // Read after the input has stopped.
    int played = 0;
    int released = 0;

private:
    StreamOver streamOnce() override {
        if (!runs_.empty()) {
            const Run run = std::move(runs_.front());
            runs_.pop_front();
            ++played;
            return run(*this);
        }
        std::unique_lock lock(mutex_);
        resting_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return stop_; });
        return {};
    }
    void release() override {
        const std::lock_guard lock(mutex_);
        ++released;
        changed_.notify_all();
    }
    void setStop(bool stop) override {
        const std::lock_guard lock(mutex_);
        stop_ = stop;
        changed_.notify_all();
    }
    bool waitForStop(std::chrono::milliseconds time) const override {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, time, [this] { return stop_; });
    }

    std::deque<Run> runs_;

    mutable std::mutex mutex_; // guards the rest, and released while the input runs
    mutable std::condition_variable changed_;
    bool stop_ = false;
    bool resting_ = false;
};

ScriptedInput::Run ends(StreamEnd end, const std::string& reason = "a reason") {
    return [=](ScriptedInput&) { return StreamOver{end, reason}; };
}

class RetryingCaptureInputTest : public ::testing::Test {
protected:
    // Plays the runs and stops; `listed` answers in turn whether the camera is still plugged in, then it is.
    void play(std::deque<ScriptedInput::Run> runs, std::deque<bool> listed = {}) {
        listed_ = std::move(listed);
        input = std::make_unique<ScriptedInput>(
            CaptureInputOptions{.diagnostics = diagnostics,
                                .whoHolds = [] { return "busy: in use by cheese, process 20"; },
                                .patience = patience,
                                .isListed = [this] { return nextListed(); },
                                .priority = priorities},
            std::move(runs));
        input->start(frames);
        EXPECT_TRUE(input->waitForEnd());
        trouble = input->trouble();
        input->stop();
    }

    bool nextListed() {
        if (listed_.empty()) return true;
        const bool next = listed_.front();
        listed_.pop_front();
        return next;
    }

    testing::RecordedDiagnostics diagnostics;
    const std::shared_ptr<testing::RecordedPriorities> priorities =
        std::make_shared<testing::RecordedPriorities>();
    testing::RecordedFrames frames;
    Error trouble;
    std::unique_ptr<ScriptedInput> input;

private:
    std::deque<bool> listed_;
};

TEST_F(RetryingCaptureInputTest, NamesItsThreadAndAsksForAHigherPriority) {
    play({});
    EXPECT_TRUE(priorities->waitFor("test capture"));
}

TEST_F(RetryingCaptureInputTest, TriesAgainAfterAFailureAndReportsEachKindOnce) {
    play({ends(StreamEnd::failed, "it broke"), ends(StreamEnd::failed), ends(StreamEnd::busy),
          ends(StreamEnd::busy)});
    EXPECT_EQ(input->played, 4);
    EXPECT_THAT(diagnostics.lines(),
                ElementsAre("camera 1: streaming: it broke; trying again",
                            "camera 1: streaming: busy: in use by cheese, process 20; waiting for it"));
    EXPECT_EQ(trouble.code, ErrorCode::busy);
    EXPECT_EQ(trouble.text, "busy: in use by cheese, process 20");
}

TEST_F(RetryingCaptureInputTest, RestsWithoutAWordOnceTheCameraIsUnplugged) {
    play({ends(StreamEnd::gone), ends(StreamEnd::failed)}, {false});
    EXPECT_EQ(input->played, 1);
    EXPECT_EQ(input->released, 1);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(RetryingCaptureInputTest, LooksOnceMoreAfterTheWaitWhetherTheCameraIsStillThere) {
    play({ends(StreamEnd::gone), ends(StreamEnd::gone), ends(StreamEnd::failed)}, {true, true, true, false});
    EXPECT_EQ(input->played, 2);
}

TEST_F(RetryingCaptureInputTest, LeavesTheCameraAloneThatTookThePlaceOfOneThatFailed) {
    play({ends(StreamEnd::failed), ends(StreamEnd::failed)}, {true, false});
    EXPECT_EQ(input->played, 1);
    EXPECT_EQ(input->released, 1);
}

TEST_F(RetryingCaptureInputTest, SaysNothingOfAFailureThatIsAnUnplugging) {
    for (const StreamEnd end : {StreamEnd::failed, StreamEnd::busy, StreamEnd::silent, StreamEnd::denied}) {
        play({ends(end), ends(StreamEnd::failed)}, {false});
        EXPECT_EQ(input->played, 1);
        EXPECT_THAT(diagnostics.lines(), IsEmpty());
        EXPECT_EQ(trouble.code, ErrorCode::none);
    }
}

TEST_F(RetryingCaptureInputTest, WithoutADeviceListACameraIsUnpluggedWhenItsDriverSaysSo) {
    ScriptedInput alone({.diagnostics = diagnostics, .whoHolds = {}, .patience = patience},
                        {ends(StreamEnd::failed), ends(StreamEnd::gone), ends(StreamEnd::failed)});
    alone.start(frames);
    EXPECT_TRUE(alone.waitForEnd());
    alone.stop();
    EXPECT_EQ(alone.played, 2);
}

TEST_F(RetryingCaptureInputTest, GivesUpWithoutPermission) {
    play(std::deque<ScriptedInput::Run>(20, ends(StreamEnd::denied)));
    EXPECT_EQ(input->played, 6) << "5 ms of patience, a try each";
    EXPECT_EQ(trouble.code, ErrorCode::denied);
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no permission")));
}

TEST_F(RetryingCaptureInputTest, AFrameEndsTheTrouble) {
    play({ends(StreamEnd::failed), [](ScriptedInput& self) {
              EXPECT_EQ(self.trouble().code, ErrorCode::invalid);
              self.frameCame();
              EXPECT_EQ(self.trouble().code, ErrorCode::none);
              return StreamOver{StreamEnd::failed, "again"};
          }});
    EXPECT_EQ(diagnostics.lines().size(), 2U);
}

TEST_F(RetryingCaptureInputTest, TimesAlwaysAdvance) {
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 2, 2);
    const auto deliver = [&](ScriptedInput& self) {
        for (const auto time : {99'600ns, 99'500ns, 99'600ns, 100'000ns})
            self.deliver({picture, {}}, time);
        return StreamOver{StreamEnd::failed, "over"};
    };
    play({deliver, deliver});
    EXPECT_THAT(frames.times(),
                ElementsAre(99'600, 99'601, 99'602, 100'000, 100'001, 100'002, 100'003, 100'004));
}

TEST_F(RetryingCaptureInputTest, SaysOnceThatEveryFrameIsDamaged) {
    play({[](ScriptedInput& self) {
        for (int i = 0; i < 50; ++i)
            self.deliver({}, 1s);
        for (int i = 0; i < 50; ++i)
            self.countDamaged();
        return StreamOver{StreamEnd::failed, "over"};
    }});
    EXPECT_THAT(frames.times(), IsEmpty());
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("damaged"), HasSubstr("over")));
}

TEST_F(RetryingCaptureInputTest, AWholePictureBetweenDamagedOnesSaysNothing) {
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 2, 2);
    play({[&](ScriptedInput& self) {
        for (int i = 0; i < 58; ++i)
            self.deliver({i == 29 ? picture : nullptr, {}}, 1s);
        return StreamOver{};
    }});
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(RetryingCaptureInputTest, MayBeStoppedDuringTheWaitAndStartedAgain) {
    StreamPatience slow = patience;
    slow.firstRetry = 60s;
    const auto failed = ends(StreamEnd::failed);
    ScriptedInput again({.diagnostics = diagnostics, .whoHolds = {}, .patience = slow}, {failed, failed});
    for (int run = 1; run <= 2; ++run) {
        again.start(frames);
        again.start(frames);
        while (diagnostics.lines().size() < std::size_t(run))
            std::this_thread::yield();
        again.stop();
        again.stop();
        EXPECT_EQ(again.played, run);
        EXPECT_EQ(again.released, run);
    }
    EXPECT_EQ(again.trouble().code, ErrorCode::invalid);
}

} // namespace
} // namespace tavelo
