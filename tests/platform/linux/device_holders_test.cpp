// SPDX-License-Identifier: MIT
#include "platform/linux/device_holders.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "platform/common/file_descriptor.h"
#include "support/temporary_folder.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A fake /proc tree, and a node.
class DeviceHoldersTest : public ::testing::Test {
protected:
    DeviceHoldersTest() {
        fs::create_directories(processes());
        write(node(), "");
        fs::permissions(folder_.path(), fs::perms(0755));
    }

    fs::path node() const { return folder_.path() / "video0"; }
    fs::path processes() const { return folder_.path() / "proc"; }
    fs::path process(int number) const { return processes() / std::to_string(number); }

    static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

    void addProcess(int number, const std::string& name, const fs::path& opened,
                    const std::string& program = {}) {
        fs::create_directories(process(number) / "fd");
        write(process(number) / "comm", name + "\n");
        fs::create_symlink("/dev/null", process(number) / "fd/0");
        fs::create_symlink(opened, process(number) / "fd/7");
        if (!program.empty()) fs::create_symlink(program, process(number) / "exe");
    }

    DeviceHolders found() const { return deviceHolders(node(), processes()); }

private:
    tavelo::testing::TemporaryFolder folder_;
};

TEST_F(DeviceHoldersTest, AreTheProcessesThatHaveItOpen) {
    addProcess(300, "obs", node());
    addProcess(20, "cheese", node());
    addProcess(21, "editor", "/dev/null");
    fs::create_directories(processes() / "self/fd");
    fs::create_directories(processes() / "bus");
    EXPECT_THAT(found().seen, ElementsAre(DeviceHolder{20, "cheese"}, DeviceHolder{300, "obs"}));
    EXPECT_FALSE(found().someHidden);
}

TEST_F(DeviceHoldersTest, LeaveOutFilesOfTheSameNameElsewhere) {
    const fs::path other = processes() / "video0";
    write(other, "");
    addProcess(20, "editor", other);
    addProcess(21, "old", node().string() + " (deleted)");
    EXPECT_THAT(found().seen, IsEmpty());
}

TEST_F(DeviceHoldersTest, LeaveOurselvesOut) {
    addProcess(::getpid(), "we", node());
    EXPECT_THAT(found().seen, IsEmpty());
}

TEST_F(DeviceHoldersTest, NamesAreWholeBoundedAndPrintable) {
    addProcess(1, "tavelo-control-", node(), "/usr/bin/tavelo-control-panel");
    addProcess(2, "python3", node(), "/usr/bin/python3.11");
    addProcess(3, "e\x1B[31mvil\xC2\x9B", node());
    addProcess(4, "abcdefghijklmno", node(), "/x/abcdefghijklmno" + std::string(200, 'p'));
    addProcess(5, "", node());
    const auto seen = found().seen;
    ASSERT_EQ(seen.size(), 5U);
    EXPECT_EQ(seen[0].program, "tavelo-control-panel");
    EXPECT_EQ(seen[1].program, "python3");
    EXPECT_EQ(seen[2].program, "e?[31mvil??");
    EXPECT_EQ(seen[3].program.size(), 64U);
    EXPECT_EQ(seen[4].program, "a program without a name");
}

TEST_F(DeviceHoldersTest, AProcessThatEndsMeanwhileIsLeftOut) {
    fs::create_directories(process(20));
    addProcess(21, "cheese", node());
    fs::remove(process(21) / "comm");
    EXPECT_THAT(found().seen, ElementsAre(DeviceHolder{21, "a program without a name"}));
    EXPECT_FALSE(found().someHidden);
}

TEST_F(DeviceHoldersTest, AProcessThatMayNotBeLookedIntoIsCounted) {
    addProcess(20, "cheese", node());
    addProcess(21, "secret", node());
    fs::permissions(process(21) / "fd", fs::perms::none);
    const auto us = ::geteuid();
    constexpr uid_t nobody = 65534;
    ASSERT_TRUE(us != 0 || ::seteuid(nobody) == 0); // root may read everything
    const DeviceHolders holders = found();
    ASSERT_TRUE(us != 0 || ::seteuid(us) == 0);
    fs::permissions(process(21) / "fd", fs::perms::owner_all);
    EXPECT_THAT(holders.seen, ElementsAre(DeviceHolder{20, "cheese"}));
    EXPECT_TRUE(holders.someHidden);
}

TEST_F(DeviceHoldersTest, ANodeThatIsGoneHasNone) {
    addProcess(20, "cheese", node());
    fs::remove(node());
    EXPECT_THAT(found().seen, IsEmpty());
}

// Starts a process that keeps a file open until it is killed.
TEST_F(DeviceHoldersTest, AreFoundInTheRealTreeToo) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::prctl(PR_SET_NAME, "holding-camera");
        const bool opened = ::open(node().c_str(), O_RDONLY) >= 0;
        if (opened && ::write(ends[1], "x", 1) == 1) ::pause();
        ::_exit(1);
    }
    const FileDescriptor reading(ends[0]);
    FileDescriptor(ends[1]).reset();
    char byte = 0;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    EXPECT_THAT(deviceHolders(node()).seen, ElementsAre(DeviceHolder{child, "holding-camera"}));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_THAT(deviceHolders(node()).seen, IsEmpty());
}

TEST(BusyText, NamesTheHolders) {
    DeviceHolders holders;
    EXPECT_EQ(busyText(holders), "busy: in use by another program");
    holders.someHidden = true;
    EXPECT_THAT(busyText(holders), HasSubstr("another program, which we may not look into"));
    holders.seen = {{20, "cheese"}};
    EXPECT_EQ(busyText(holders), "busy: in use by cheese, process 20");
    holders.seen.push_back({21, "obs"});
    EXPECT_EQ(busyText(holders), "busy: in use by cheese, process 20 or obs, process 21");
    for (std::int64_t number = 22; number < 30; ++number)
        holders.seen.push_back({number, "tab"});
    EXPECT_EQ(busyText(holders),
              "busy: in use by cheese, process 20, obs, process 21, tab, process 22, "
              "tab, process 23 or 6 more");
}

} // namespace
} // namespace tavelo
