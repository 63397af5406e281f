// SPDX-License-Identifier: MIT
// Parses the command line.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/headless_capture_options.h"
#include "platform/backends/backends.h"
#include "video/renderer_choice.h"

namespace tavelo {

struct CommandLine {
    CameraOptions cameras;
    RendererChoice renderer = RendererChoice::automatic;
    bool verbose = false;
    /// A file: write a picture of the window to it once the camera's picture shows, then quit.
    std::optional<std::string> screenshot;
    /// Serve the session bus, and show the window only when asked.
    bool service = false;
    /// Share the picture with other programs.
    bool share = false;
    /// Show the manual instead of the window.
    bool manual = false;
    /// A still or a movie to take instead of showing the window.
    std::optional<HeadlessCaptureOptions> headlessCapture;
    /// The names of the options that the user gave.
    std::vector<std::string> given;
};

/// What to print, and the exit status, if the program ends after parsing.
struct CommandLineExit {
    int status = 0;
    std::string output; ///< for the standard output stream
    std::string error;  ///< for the standard error stream
};

/// Needs no display.  Help and version give status 0, a wrong option or value 2.
/// @param version what --version prints after the program's name
std::variant<CommandLine, CommandLineExit> parseCommandLine(int argc, const char* const* argv,
                                                            const std::string& version);

/// The message for a start while a panel is running, which ignores the options given now.  Empty if none
/// was given.
std::string ignoredOptionsLine(const CommandLine& commandLine);

} // namespace tavelo
