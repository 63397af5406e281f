// SPDX-License-Identifier: MIT
#include "platform/linux/crash_report.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include "support/temporary_folder.h"

namespace tavelo {

// Visible from outside, so that the report has its name.
[[gnu::noinline]] void functionThatCrashes(int signal) {
    ::raise(signal);
}

[[gnu::noinline]] int functionOfManyLevels(int levels, int signalAtTheEnd = 0) {
    volatile char page[4096];
    page[0] = 1;
    if (levels == 0) return ::raise(signalAtTheEnd);
    return functionOfManyLevels(levels - 1, signalAtTheEnd) + page[0];
}

[[gnu::noinline]] int functionBelowManyLevels(int levels) {
    return functionOfManyLevels(levels, SIGABRT) + 1;
}

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class CrashReport : public ::testing::Test {
protected:
    /// Runs `body` in another process that reports its crashes.
    /// @return the signal that ended it
    int endOf(const std::function<void()>& body, const std::string& program = "viewer") {
        const pid_t child = ::fork();
        if (child == 0) {
            const rlimit noCore{0, 0};
            ::setrlimit(RLIMIT_CORE, &noCore);
            ::signal(SIGSEGV, SIG_DFL); // a sanitizer's handler goes
            reportCrashes(state, program, "1.2.3");
            body();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(state))
            names.push_back(entry.path().filename().string());
        return names;
    }

    testing::TemporaryFolder folder;
    const std::string state = folder.path() / "deep/state";
};

TEST_F(CrashReport, NamesTheFunctionTheSignalTheVersionAndTheThread) {
    EXPECT_EQ(endOf([] {
                  std::thread([] {
                      ::pthread_setname_np(::pthread_self(), "kt.captureQueue");
                      functionThatCrashes(SIGABRT);
                  }).join();
              }),
              SIGABRT);
    const auto reports = collectCrashReports(state, "viewer");
    ASSERT_THAT(reports, SizeIs(1));
    const std::string report = contentOf(reports[0]);
    EXPECT_THAT(report, HasSubstr("viewer 1.2.3\n"));
    EXPECT_THAT(report, HasSubstr("(tavelo::functionThatCrashes(int)+0x"));
    EXPECT_THAT(report, HasSubstr("signal 6, Aborted\n"));
    EXPECT_THAT(report, HasSubstr("thread kt.captureQueue\n"));
}

TEST_F(CrashReport, IsMadeForEachSignalThatEndsWithACoreDumpAndTheProcessStillEndsByIt) {
    for (const int signal : {SIGSEGV, SIGABRT, SIGSYS}) {
        EXPECT_EQ(endOf([signal] { functionThatCrashes(signal); }), signal);
        const auto reports = collectCrashReports(state, "viewer");
        ASSERT_THAT(reports, SizeIs(1)) << signal;
        EXPECT_THAT(contentOf(reports[0]), Not(HasSubstr("address"))) << "nobody reached for one";
    }
}

TEST_F(CrashReport, SaysWhichAddressCouldNotBeReached) {
    EXPECT_EQ(endOf([] { *reinterpret_cast<volatile int*>(0x18) = 1; }), SIGSEGV);
    const auto reports = collectCrashReports(state, "viewer");
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_THAT(contentOf(reports[0]), HasSubstr("address 0x18\n"));
}

TEST_F(CrashReport, OfAStackThatOverflowedIsMade) {
    EXPECT_EQ(endOf([] { ::_exit(functionOfManyLevels(1'000'000'000)); }), SIGSEGV);
    EXPECT_THAT(collectCrashReports(state, "viewer"), SizeIs(1));
}

TEST_F(CrashReport, NamesTheFunctionsBelowADeepRecursion) {
    EXPECT_EQ(endOf([] { ::_exit(functionBelowManyLevels(400)); }), SIGABRT);
    const auto reports = collectCrashReports(state, "viewer");
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_THAT(contentOf(reports[0]), HasSubstr("(tavelo::functionBelowManyLevels(int)+0x"));
}

TEST_F(CrashReport, IsCollectedOnce) {
    endOf([] { functionThatCrashes(SIGABRT); });
    EXPECT_THAT(collectCrashReports(state, "viewer"), SizeIs(1));
    EXPECT_THAT(collectCrashReports(state, "viewer"), IsEmpty());
    EXPECT_THAT(files(), SizeIs(1)) << "the raw report is gone";
}

TEST_F(CrashReport, IsForItsUserOnly) {
    endOf([] { functionThatCrashes(SIGABRT); });
    struct stat status {};
    ASSERT_EQ(::stat(state.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(CrashReport, OfAnotherProgramStays) {
    endOf([] { functionThatCrashes(SIGABRT); }, "viewer-tool");
    EXPECT_THAT(collectCrashReports(state, "viewer"), IsEmpty());
    EXPECT_THAT(collectCrashReports(state, "viewer-tool"), SizeIs(1));
}

TEST_F(CrashReport, IsNotMadeByAProcessThatEndsInPeace) {
    EXPECT_EQ(endOf([] {}), 0);
    EXPECT_FALSE(fs::exists(state));
    EXPECT_THAT(collectCrashReports(state, "viewer"), IsEmpty());
}

TEST_F(CrashReport, LeavesASignalToWhoeverHandlesItAlready) {
    EXPECT_EQ(endOf([] {
                  ::signal(SIGTERM, SIG_DFL);
                  functionThatCrashes(SIGTERM); // no crash
              }),
              SIGTERM);
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGABRT, [](int) { ::_exit(42); });
        reportCrashes(state, "viewer", "1");
        functionThatCrashes(SIGABRT);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
    EXPECT_THAT(collectCrashReports(state, "viewer"), IsEmpty());
}

TEST_F(CrashReport, IsNeverWrittenThroughALink) {
    const fs::path target = folder.path() / "target";
    EXPECT_EQ(endOf([&] {
                  fs::create_directories(state);
                  fs::create_symlink(target, state + "/viewer." + std::to_string(::getpid()) + ".crash");
                  functionThatCrashes(SIGABRT);
              }),
              SIGABRT);
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(CrashReport, OnlyTheNewestFewAreKept) {
    fs::create_directories(state);
    for (const char* day : {"20260101", "20260102", "20260103", "20260104", "20260105", "20260106"})
        std::ofstream(state + "/crash-" + day + "-000000-1.txt") << "old";
    std::ofstream(state + "/viewer.77.crash") << "viewer 1\ntime 4102444800\n"; // in the year 2100
    const auto reports = collectCrashReports(state, "viewer");
    ASSERT_THAT(reports, SizeIs(1));
    EXPECT_THAT(reports[0], HasSubstr("/crash-2"));
    EXPECT_THAT(reports[0], ::testing::EndsWith(".77.txt"));
    EXPECT_THAT(files(), SizeIs(5));
    EXPECT_TRUE(fs::exists(reports[0]));
    EXPECT_FALSE(fs::exists(state + "/crash-20260102-000000-1.txt"));
    EXPECT_TRUE(fs::exists(state + "/crash-20260103-000000-1.txt"));
}

TEST_F(CrashReport, ThatIsEmptyOrNonsenseDoesNoHarm) {
    fs::create_directories(state);
    std::ofstream(state + "/viewer.1.crash") << "";
    std::ofstream(state + "/viewer.2.crash") << "time x\nsignal 99999999999999999999\n(_Z+\n(_Zz+0x1)";
    std::ofstream(state + "/viewer.crash") << "of a strange name";
    EXPECT_THAT(collectCrashReports(state, "viewer"), SizeIs(2));
    EXPECT_FALSE(fs::exists(state + "/viewer.1.crash"));
}

TEST_F(CrashReport, LiesWhereTheUserKeepsWhatProgramsRemember) {
    ::setenv("XDG_STATE_HOME", "/somewhere", 1);
    EXPECT_EQ(crashFolder(), "/somewhere/tavelo");
    ::setenv("XDG_STATE_HOME", "relative", 1);
    ::setenv("HOME", "/people/user", 1);
    EXPECT_EQ(crashFolder(), "/people/user/.local/state/tavelo");
    ::unsetenv("HOME");
    EXPECT_EQ(crashFolder(), "");
    EXPECT_THAT(collectCrashReports("", "viewer"), IsEmpty());
}

} // namespace
} // namespace tavelo
