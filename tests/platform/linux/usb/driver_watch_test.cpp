// SPDX-License-Identifier: MIT
#include "platform/linux/usb/driver_watch.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace tavelo::test {
namespace {

const std::string program = DRIVER_WATCH;

int statusOf(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool isThere(pid_t process) {
    return ::kill(process, 0) == 0;
}

// SigBlk of the process from /proc/PID/status.
std::uint64_t blockedSignals(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk:")) return std::stoull(line.substr(7), nullptr, 16);
    }
    return 0;
}

TEST(DriverWatch, IsFoundBesideTheTests) {
    EXPECT_EQ(std::filesystem::weakly_canonical(driverWatchProgram()), std::filesystem::canonical(program));
}

TEST(DriverWatch, EndsWithItsOwner) {
    auto watch = DriverWatch::start(program, {1, 250}, 0);
    ASSERT_TRUE(watch);
    const pid_t process = watch->process();
    EXPECT_TRUE(isThere(process));
    watch.reset();
    EXPECT_FALSE(isThere(process));
}

TEST(DriverWatch, IsNotEndedByWhatEndsTheWholeSession) {
    const auto watch = DriverWatch::start(program, {1, 250}, 0);
    ASSERT_TRUE(watch);
    const std::uint64_t blocked = blockedSignals(watch->process());
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_NE(blocked >> (signal - 1) & 1, 0U) << signal;
    EXPECT_NE(::getsid(watch->process()), ::getsid(0));
}

TEST(DriverWatch, CannotBeStartedWithoutItsProgram) {
    EXPECT_FALSE(DriverWatch::start("/nowhere/tavelo-driver-watch", {1, 250}, 0));
}

TEST(DriverWatch, MayDieBeforeItsOwner) {
    auto watch = DriverWatch::start(program, {1, 250}, 0);
    ASSERT_TRUE(watch);
    ASSERT_EQ(::kill(watch->process(), SIGKILL), 0);
    watch.reset();
}

TEST(DriverWatchProgram, EndsWellOnceItIsToldThatTheCameraWasGivenBack) {
    EXPECT_EQ(statusOf("printf x | " + program + " /dev/null 0"), 0);
}

TEST(DriverWatchProgram, FailsIfThereIsNoSuchDevice) {
    EXPECT_EQ(statusOf(program + " /nowhere 0 </dev/null"), 1);
    EXPECT_EQ(statusOf(program + " /dev/null 0 </dev/null"), 1);
}

TEST(DriverWatchProgram, RefusesArgumentsThatMakeNoSense) {
    EXPECT_EQ(statusOf(program + " </dev/null"), 2);
    EXPECT_EQ(statusOf(program + " /dev/null first </dev/null"), 2);
    EXPECT_EQ(statusOf(program + " /dev/null 256 </dev/null"), 2);
}

} // namespace
} // namespace tavelo::test
