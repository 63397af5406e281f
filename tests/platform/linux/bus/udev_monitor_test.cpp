// SPDX-License-Identifier: MIT
#include "platform/linux/bus/udev_monitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <utility>

#include "platform/linux/wake_event.h"

namespace tavelo {
namespace {

TEST(UdevMonitor, EndsAtOnceWhateverItListensTo) {
    std::atomic<int> calls = 0;
    for (int i = 0; i < 20; ++i)
        const UdevMonitor monitor(openUdevEvents("video4linux", nullptr), [&](const UdevEvent&) { ++calls; });
    EXPECT_EQ(calls, 0);
}

// Makes the kernel send a uevent for the loopback interface, which needs root.
TEST(UdevMonitor, ReceivesAChangeEvent) {
    WakeEvent heard;
    auto events = openUdevEvents("net", nullptr);
    if (!events) GTEST_SKIP() << "no netlink socket here";
    const UdevMonitor monitor(std::move(events), [&](const UdevEvent& event) {
        if (event.sysName == "lo") heard.set();
    });
    std::ofstream trigger("/sys/class/net/lo/uevent");
    trigger << "change" << std::flush;
    if (!trigger) GTEST_SKIP() << "not allowed to trigger an event";
    EXPECT_TRUE(heard.waitFor(std::chrono::seconds(10)));
}

} // namespace
} // namespace tavelo
