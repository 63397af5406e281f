// SPDX-License-Identifier: MIT
// The program, from its command line to its exit status.
#pragma once

#include "app/command_line.h"

namespace tavelo {

/// Creates the parts, connects them and runs the event loop.
/// @return the exit status
int runProgram(const CommandLine& commandLine, int& argc, char** argv);

} // namespace tavelo
