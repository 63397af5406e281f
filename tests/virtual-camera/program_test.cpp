// SPDX-License-Identifier: MIT
// Runs the whole program tavelo-virtual-camera.
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/virtual/usbip/stream_socket.h"
#include "usbip_client.h"

namespace tavelo {
namespace {

class Program {
public:
    // Reads its standard output and standard error through one pipe.
    explicit Program(std::vector<std::string> arguments) {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe(ends.data()), 0);
        output_ = FileDescriptor(ends[0]);
        const FileDescriptor writeEnd(ends[1]);
        arguments.insert(arguments.begin(), TAVELO_VIRTUAL_CAMERA);
        std::vector<char*> words;
        words.reserve(arguments.size() + 1);
        for (std::string& each : arguments)
            words.push_back(each.data());
        words.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDERR_FILENO);
        posix_spawn_file_actions_addclose(&actions, output_.get());
        EXPECT_EQ(::posix_spawn(&process_, TAVELO_VIRTUAL_CAMERA, &actions, nullptr, words.data(), environ),
                  0);
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Program() {
        if (process_ <= 0) return;
        ::kill(process_, SIGKILL);
        status();
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string line() const {
        std::string text;
        char letter = 0;
        while (::read(output_.get(), &letter, 1) == 1 && letter != '\n')
            text += letter;
        return text;
    }

    void terminate() const { ::kill(process_, SIGTERM); }

    // Waits for it to exit; empty if a signal ended it.
    std::optional<int> status() {
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = -1;
        if (!WIFEXITED(status)) return std::nullopt;
        return WEXITSTATUS(status);
    }

private:
    pid_t process_ = -1;
    FileDescriptor output_;
};

TEST(VirtualCameraProgram, ServesUntilItIsTerminatedAndLeavesNothingBehind) {
    std::string pattern = (std::filesystem::temp_directory_path() / "virtual-camera-XXXXXX").string();
    const std::filesystem::path folder = ::mkdtemp(pattern.data());
    Program program(
        {"--port", "0", "--cameras", "2", "--control", folder / "control", "--log", folder / "log"});
    const std::string line = program.line();
    const std::string prefix = "listening on 127.0.0.1:";
    ASSERT_TRUE(line.starts_with(prefix)) << line;
    const auto port = static_cast<std::uint16_t>(std::stoi(line.substr(prefix.size())));
    test::UsbipClient client(port);
    EXPECT_EQ(client.import("1-2"), 0U);
    EXPECT_TRUE(std::filesystem::is_socket(folder / "control"));
    program.terminate();
    EXPECT_EQ(program.status(), 0);
    EXPECT_TRUE(client.ends());
    EXPECT_FALSE(std::filesystem::exists(folder / "control"));
    std::filesystem::remove_all(folder);
}

TEST(VirtualCameraProgram, ExitsWithStatus1IfThePortIsInUse) {
    Error error;
    const FileDescriptor taken = listenOnLoopback(0, error);
    Program program({"--port", std::to_string(localPort(taken))});
    EXPECT_THAT(program.line(), testing::StartsWith("tavelo-virtual-camera: cannot listen on port "));
    EXPECT_EQ(program.status(), 1);
}

TEST(VirtualCameraProgram, ExitsWithStatus1IfItsLogCannotBeWritten) {
    Program program({"--port", "0", "--log", "/nowhere/at/all"});
    EXPECT_EQ(program.line(), "tavelo-virtual-camera: cannot write /nowhere/at/all");
    EXPECT_EQ(program.status(), 1);
}

TEST(VirtualCameraProgram, ExitsWithStatus1IfThereIsNoSuchPack) {
    Program program({"--port", "0", "--like", "/nowhere/pack.json"});
    EXPECT_EQ(program.line(), "tavelo-virtual-camera: /nowhere/pack.json: there is no such file");
    EXPECT_EQ(program.status(), 1);
}

TEST(VirtualCameraProgram, ExitsWithStatus2ForAnUnknownOption) {
    Program program({"--nothing"});
    EXPECT_THAT(program.line(), testing::HasSubstr("--nothing"));
    EXPECT_EQ(program.status(), 2);
}

TEST(VirtualCameraProgram, HelpExitsWithStatus0) {
    Program program({"--help"});
    EXPECT_EQ(program.status(), 0);
}

} // namespace
} // namespace tavelo
