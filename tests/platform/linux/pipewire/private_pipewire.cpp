// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/private_pipewire.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

#include "platform/common/file_descriptor.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* daemonSettings = R"(
context.properties = {
    core.daemon = true
    core.name = pipewire-0
    support.dbus = false
    mem.warn-mlock = false
    log.level = 2
    default.clock.min-quantum = 16
}
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.* = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-device-factory }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-access }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
context.objects = [
    { factory = spa-node-factory
        args = { factory.name = support.node.driver node.name = Dummy-Driver node.group = pipewire.dummy
                 priority.driver = 20000 } }
]
)";

constexpr const char* managerSettings = R"(
context.properties = { support.dbus = false log.level = 2 wireplumber.script-engine = lua-scripting }
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.* = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-session-manager }
]
wireplumber.components = [
    { name = libwireplumber-module-lua-scripting, type = module }
    { name = main.lua, type = config/lua }
    { name = policy.lua, type = config/lua }
]
)";

// In the place of a file that would look for the machine's devices, on buses that are not there.
constexpr const char* managerParts = R"(
load_module("metadata")
default_access.properties["enable-flatpak-portal"] = false
default_access.enable()
load_script("intended-roles.lua")
load_script("suspend-node.lua")
)";

template <typename Condition>
bool within(std::chrono::milliseconds limit, const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace

SideProgram::SideProgram(const std::vector<std::string>& command, const fs::path& log) {
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const std::string file = log.string();
    const pid_t parent = ::getpid();
    process_ = ::fork();
    if (process_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(1);
    const int output = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
}

SideProgram::SideProgram(SideProgram&& other) noexcept : process_(std::exchange(other.process_, 0)) {}

SideProgram& SideProgram::operator=(SideProgram&& other) noexcept {
    if (this != &other) {
        kill();
        process_ = std::exchange(other.process_, 0);
    }
    return *this;
}

void SideProgram::kill() {
    const pid_t process = std::exchange(process_, 0);
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}

bool SideProgram::runs() {
    if (process_ <= 0 || ::waitpid(process_, nullptr, WNOHANG) == 0) return process_ > 0;
    process_ = 0;
    return false;
}

PrivatePipewire::PrivatePipewire() {
    const std::string here = folder_.path().string();
    for (const char* name :
         {"XDG_RUNTIME_DIR", "PIPEWIRE_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "HOME"})
        set(name, here);
    set("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    write("pipewire/pipewire.conf", daemonSettings);
    write("wireplumber/wireplumber.conf", managerSettings);
    write("wireplumber/main.lua.d/90-enable-all.lua", managerParts);
}

PrivatePipewire::~PrivatePipewire() {
    if (::testing::Test::HasFailure()) std::fputs(log().c_str(), stderr);
    manager_.kill();
    daemon_.kill();
    for (const auto& [name, value] : before_)
        value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
}

void PrivatePipewire::set(const std::string& variable, const std::string& value) {
    const char* const before = std::getenv(variable.c_str());
    before_[variable] = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
    ::setenv(variable.c_str(), value.c_str(), 1);
}

void PrivatePipewire::write(const std::string& file, const std::string& text) const {
    const fs::path path = folder() / file;
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

FileDescriptor PrivatePipewire::connection() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (folder() / "pipewire-0").c_str(), sizeof address.sun_path - 1);
    FileDescriptor made(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const bool connected =
        ::connect(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return connected ? std::move(made) : FileDescriptor();
}

void PrivatePipewire::startDaemon() {
    daemon_ = SideProgram({"pipewire"}, folder() / "daemon.log");
    ASSERT_TRUE(within(waitLimit, [this] { return connection().isOpen(); })) << log();
}

void PrivatePipewire::startManager() {
    manager_ = SideProgram({"wireplumber"}, folder() / "manager.log");
    // Its policy is the last that it loads.
    ASSERT_TRUE(within(waitLimit, [this] {
        return output("pw-dump").find("\"default.configured") != std::string::npos ||
               output("pw-metadata 2>&1").find("Found \"default\"") != std::string::npos;
    })) << log();
}

std::string PrivatePipewire::output(const std::string& command) const {
    std::string text;
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::array<char, 4096> part{};
    while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe))
        text.append(part.data(), size);
    ::pclose(pipe);
    return text;
}

SideProgram PrivatePipewire::startProgram(const std::vector<std::string>& command) {
    return {command, folder() / ("program" + std::to_string(++programs_) + ".log")};
}

std::string PrivatePipewire::log() const {
    std::ostringstream text;
    for (const auto& file : fs::directory_iterator(folder())) {
        if (file.path().extension() != ".log") continue;
        text << "--- " << file.path().filename().string() << '\n' << std::ifstream(file.path()).rdbuf();
        text.clear();
    }
    return text.str();
}

} // namespace tavelo::testing
