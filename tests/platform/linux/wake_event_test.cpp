// SPDX-License-Identifier: MIT
#include "platform/linux/wake_event.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

TEST(WakeEvent, StaysSetUntilItIsCleared) {
    WakeEvent event;
    EXPECT_FALSE(event.isSet());
    event.set();
    event.set();
    EXPECT_TRUE(event.isSet());
    EXPECT_TRUE(event.waitFor(0ms));
    event.clear();
    EXPECT_FALSE(event.isSet());
}

TEST(WakeEvent, EndsAWaitOfAnotherThread) {
    WakeEvent event;
    std::thread setter([&] { event.set(); });
    EXPECT_TRUE(event.waitFor(20s));
    setter.join();
}

TEST(WakeEvent, EndsItsWaitInTimeWhateverFailedBefore) {
    const WakeEvent event;
    errno = EINTR; // of some earlier call
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(event.waitFor(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
}

TEST(WakeEvent, ATimeThatIsOverIsNoWait) {
    EXPECT_FALSE(WakeEvent().waitFor(-1s));
}

} // namespace
} // namespace tavelo
