// SPDX-License-Identifier: MIT
// A PipeWire daemon of the test's own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/common/file_descriptor.h"
#include "support/temporary_folder.h"

namespace tavelo::testing {

/// A program that runs beside the test, and dies with it.
class SideProgram {
public:
    SideProgram() = default;
    /// @param log where its output goes
    SideProgram(const std::vector<std::string>& command, const std::filesystem::path& log);
    ~SideProgram() { kill(); }
    SideProgram(SideProgram&& other) noexcept;
    SideProgram& operator=(SideProgram&& other) noexcept;

    /// With SIGKILL; waits until it is gone.
    void kill();
    pid_t process() const { return process_; }
    bool runs();

private:
    pid_t process_ = 0;
};

/// A folder in which this process, and the programs that it starts, look for PipeWire; with a daemon and a
/// session manager that know no device and no bus.  One at a time, since it sets the environment.
class PrivatePipewire {
public:
    PrivatePipewire();
    ~PrivatePipewire();
    PrivatePipewire(const PrivatePipewire&) = delete;
    PrivatePipewire& operator=(const PrivatePipewire&) = delete;

    /// Returns when the daemon answers; fails the test otherwise.
    void startDaemon();
    /// The session manager, which links streams with nodes; returns when it works.
    void startManager();
    void start() {
        startDaemon();
        startManager();
    }

    /// SIGKILL, which leaves its socket behind.
    void killDaemon() { daemon_.kill(); }
    void killManager() { manager_.kill(); }

    /// Runs a command line to its end.
    /// @return what it printed
    std::string output(const std::string& command) const;
    /// Starts a program in the background.
    SideProgram startProgram(const std::vector<std::string>& command);

    /// To the daemon; none if it does not answer.
    FileDescriptor connection() const;

    std::filesystem::path folder() const { return folder_.path(); }
    /// All that the programs have printed, for a test that fails.
    std::string log() const;

private:
    void set(const std::string& variable, const std::string& value);
    void write(const std::string& file, const std::string& text) const;

    TemporaryFolder folder_;
    std::map<std::string, std::optional<std::string>> before_;
    int programs_ = 0;
    SideProgram daemon_;
    SideProgram manager_;
};

} // namespace tavelo::testing
