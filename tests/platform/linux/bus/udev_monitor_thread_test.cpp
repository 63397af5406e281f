// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "fake_udev_events.h"
#include "platform/common/file_descriptor.h"
#include "platform/linux/bus/udev_monitor.h"

namespace tavelo::test {
namespace {

constexpr std::chrono::seconds patience(60);

TEST(UdevMonitorThread, HandsOnEveryEventInOrderOnItsOwnThread) {
    const auto feed = std::make_shared<UdevEventFeed>();
    std::vector<std::string> actions;
    std::thread::id thread;
    WakeEvent last;
    {
        const UdevMonitor monitor(std::make_unique<FakeUdevEvents>(feed), [&](const UdevEvent& event) {
            actions.push_back(event.action);
            thread = std::this_thread::get_id();
            if (event.action == "last") last.set();
        });
        for (const char* action : {"add", "remove", "last"})
            feed->push({action, "", "video0", ""});
        ASSERT_TRUE(last.waitFor(patience));
    }
    EXPECT_EQ(actions, (std::vector<std::string>{"add", "remove", "last"}));
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(UdevMonitorThread, RunsTasksWithAndWithoutASource) {
    for (const bool withSource : {true, false}) {
        auto source =
            withSource ? std::make_unique<FakeUdevEvents>(std::make_shared<UdevEventFeed>()) : nullptr;
        WakeEvent ran;
        UdevMonitor monitor(std::move(source), [](const UdevEvent&) {});
        monitor.async([&ran] { ran.set(); });
        EXPECT_TRUE(ran.waitFor(patience));
    }
}

TEST(UdevMonitorThread, ATaskMayQueueAnother) {
    WakeEvent ran;
    UdevMonitor monitor(nullptr, [](const UdevEvent&) {});
    monitor.async([&] { monitor.async([&ran] { ran.set(); }); });
    EXPECT_TRUE(ran.waitFor(patience));
}

TEST(UdevMonitorThread, NoCallFollowsItsEnd) {
    const auto feed = std::make_shared<UdevEventFeed>();
    for (int round = 0; round < 50; ++round) {
        auto alive = std::make_unique<std::atomic<int>>(0);
        {
            const UdevMonitor monitor(std::make_unique<FakeUdevEvents>(feed),
                                      [count = alive.get()](const UdevEvent&) { ++*count; });
            feed->push({"add", "", "", ""});
        }
        alive.reset(); // sanitizers detect a later call
    }
}

// A source whose other end is closed: always readable but without events.
class BrokenEvents final : public UdevEventSource {
public:
    explicit BrokenEvents(std::atomic<int>& asked) : asked_(asked) {
        std::array<int, 2> ends{-1, -1};
        if (::pipe(ends.data()) == 0) readEnd_ = FileDescriptor(ends[0]);
        const FileDescriptor closed(ends[1]);
    }
    int descriptor() const override { return readEnd_.get(); }
    std::optional<UdevEvent> receive() override {
        ++asked_;
        return std::nullopt;
    }

private:
    FileDescriptor readEnd_;
    std::atomic<int>& asked_;
};

TEST(UdevMonitorThread, ABrokenSourceIsLeftAloneInsteadOfSpinning) {
    std::atomic<int> asked = 0;
    WakeEvent ran; // outlives the thread that sets it
    UdevMonitor monitor(std::make_unique<BrokenEvents>(asked), [](const UdevEvent&) {});
    for (int round = 0; round < 100; ++round) {
        monitor.async([&ran] { ran.set(); });
        ASSERT_TRUE(ran.waitFor(patience));
        ran.clear();
    }
    EXPECT_LE(asked, 1);
}

} // namespace
} // namespace tavelo::test
