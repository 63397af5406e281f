// SPDX-License-Identifier: MIT
#include "platform/linux/udev_monitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>

#include "platform/linux/wake_event.h"

namespace tavelo {
namespace {

TEST(UdevMonitor, EndsAtOnceWhateverItListensTo) {
    std::atomic<int> calls = 0;
    for (int i = 0; i < 20; ++i)
        const UdevMonitor monitor("video4linux", "", [&] { ++calls; });
    EXPECT_EQ(calls, 0);
}

// Asks the kernel to announce the loopback interface once more, which needs rights.
TEST(UdevMonitor, HearsOfAChange) {
    WakeEvent heard;
    const UdevMonitor monitor("net", "", [&] { heard.set(); });
    if (!monitor.isListening()) GTEST_SKIP() << "no netlink socket here";
    std::ofstream trigger("/sys/class/net/lo/uevent");
    trigger << "change" << std::flush;
    if (!trigger) GTEST_SKIP() << "not allowed to trigger an event";
    EXPECT_TRUE(heard.waitFor(std::chrono::seconds(10)));
}

} // namespace
} // namespace tavelo
