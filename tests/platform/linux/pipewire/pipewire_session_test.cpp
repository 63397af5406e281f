// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/pipewire/private_pipewire.h"
#include "platform/linux/pipewire/process_facts.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

/// Names of nodes as they come and go, and the daemon's life.
class RecordedObjects final : public PipewireObserver {
public:
    void pipewireObjectCame(const PipewireObject& object) noexcept override { add("+" + nameOf(object)); }
    void pipewireObjectWent(const PipewireObject& object) noexcept override { add("-" + nameOf(object)); }
    void pipewireCame() noexcept override { add("came"); }
    void pipewireWent() noexcept override { add("went"); }

    /// False on timeout.
    [[nodiscard]] bool waitFor(const std::string& event, std::ptrdiff_t times = 1) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit,
                                 [&] { return std::ranges::count(events_, event) >= times; });
    }
    std::vector<std::string> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }

private:
    static std::string nameOf(const PipewireObject& object) { return object.property(PW_KEY_NODE_NAME); }

    void add(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
        changed_.notify_all();
    }

    mutable std::mutex mutex_; // guards events_
    std::condition_variable changed_;
    std::vector<std::string> events_;
};

const std::vector<std::string> someSource{
    "gst-launch-1.0", "-q", "videotestsrc", "!", "pipewiresink", "client-name=some-source", "mode=provide"};

class PipewireSessionTest : public ::testing::Test {
protected:
    void observe() {
        const auto lock = session_->lock();
        session_->addObserver(&observer_);
    }
    void ignore() {
        const auto lock = session_->lock();
        session_->removeObserver(&observer_);
    }
    ~PipewireSessionTest() override {
        if (session_) ignore();
    }

    PrivatePipewire pipewire_;
    RecordedObjects observer_;
    std::shared_ptr<PipewireSession> session_;
};

TEST_F(PipewireSessionTest, TellsWhatTheDaemonHasAndThenThatThisIsAll) {
    pipewire_.startDaemon();
    session_ = PipewireSession::open();
    ASSERT_NE(session_, nullptr);
    observe();
    ASSERT_TRUE(observer_.waitFor("came"));
    EXPECT_THAT(observer_.events(), ElementsAre("+Dummy-Driver", "came"));
    const auto lock = session_->lock();
    EXPECT_EQ(session_->state(), PipewireSession::State::listed);
    EXPECT_NE(session_->core(), nullptr);
}

TEST_F(PipewireSessionTest, ALaterObserverHearsTheSameAtOnce) {
    pipewire_.startDaemon();
    session_ = PipewireSession::open();
    observe();
    ASSERT_TRUE(observer_.waitFor("came"));
    RecordedObjects later;
    const auto lock = session_->lock();
    session_->addObserver(&later);
    session_->removeObserver(&later);
    EXPECT_THAT(later.events(), ElementsAre("+Dummy-Driver", "came"));
}

TEST_F(PipewireSessionTest, TellsOfNodesThatComeAndGo) {
    pipewire_.startDaemon();
    session_ = PipewireSession::open();
    observe();
    SideProgram source = pipewire_.startProgram(someSource);
    ASSERT_TRUE(observer_.waitFor("+some-source"));
    source.kill();
    EXPECT_TRUE(observer_.waitFor("-some-source"));
}

TEST_F(PipewireSessionTest, AnObserverThatWasRemovedHearsNothing) {
    pipewire_.startDaemon();
    session_ = PipewireSession::open();
    RecordedObjects removed;
    {
        const auto lock = session_->lock();
        session_->addObserver(&removed);
        session_->removeObserver(&removed);
    }
    observe();
    const SideProgram source = pipewire_.startProgram(someSource);
    ASSERT_TRUE(observer_.waitFor("+some-source"));
    EXPECT_THAT(removed.events(), Not(Contains("+some-source")));
}

TEST_F(PipewireSessionTest, ADaemonThatIsKilledAndStartedAgainIsToldEachTime) {
    pipewire_.startDaemon();
    session_ = PipewireSession::open();
    observe();
    ASSERT_TRUE(observer_.waitFor("came"));
    for (int round = 1; round <= 3; ++round) {
        pipewire_.killDaemon();
        ASSERT_TRUE(observer_.waitFor("went", round));
        {
            const auto lock = session_->lock();
            EXPECT_EQ(session_->core(), nullptr);
            EXPECT_EQ(session_->state(), PipewireSession::State::away);
        }
        pipewire_.startDaemon();
        ASSERT_TRUE(observer_.waitFor("came", round + 1));
    }
    EXPECT_TRUE(observer_.waitFor("+Dummy-Driver", 4));
}

TEST_F(PipewireSessionTest, WaitsForADaemonThatIsNotThereYet) {
    session_ = PipewireSession::open();
    ASSERT_NE(session_, nullptr);
    observe();
    EXPECT_THAT(observer_.events(), ElementsAre());
    pipewire_.startDaemon();
    EXPECT_TRUE(observer_.waitFor("came"));
}

TEST_F(PipewireSessionTest, AHundredConnectionsLeaveNothingBehind) {
    pipewire_.startDaemon();
    const auto connect = [] {
        const auto session = PipewireSession::open();
        RecordedObjects observer;
        {
            const auto lock = session->lock();
            session->addObserver(&observer);
        }
        EXPECT_TRUE(observer.waitFor("came"));
        const auto lock = session->lock();
        session->removeObserver(&observer);
    };
    connect(); // what the library keeps for good
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    for (int round = 0; round < 100; ++round)
        connect();
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(runningThreads(), threads);
}

} // namespace
} // namespace tavelo::testing
