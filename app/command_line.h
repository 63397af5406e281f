// SPDX-License-Identifier: MIT
// What the program was asked for on its command line.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/errand_request.h"
#include "platform/backends/backends.h"
#include "video/renderer_choice.h"

namespace tavelo {

struct CommandLine {
    BackendOptions backends;
    RendererChoice renderer = RendererChoice::automatic;
    bool verbose = false;
    /// Write a picture of the window here once the camera's picture is in it, then quit.
    std::optional<std::string> screenshot;
    /// Do this instead of showing the window.
    std::optional<ErrandRequest> errand;
    /// The names of the options that the user gave.
    std::vector<std::string> given;
};

/// The program ends here: what to print on which stream, and the exit status.
struct CommandLineExit {
    int status = 0;
    std::string output; ///< for the standard output stream
    std::string error;  ///< for the standard error stream
};

/// Reads the arguments without touching a display.  Help and version end with status 0, a wrong option or
/// value with 2.
std::variant<CommandLine, CommandLineExit> parseCommandLine(int argc, const char* const* argv);

/// What to tell the user if a panel runs already: it ignores the options of a later start.  Empty if none
/// was given.
std::string ignoredOptionsLine(const CommandLine& commandLine);

} // namespace tavelo
