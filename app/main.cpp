// SPDX-License-Identifier: MIT
// The program's entry point.
#include <cstdio>
#include <variant>

#include "app/command_line.h"
#include "app/program.h"
#include "version/full_version.h"

int main(int argc, char** argv) {
    const auto parsed = tavelo::parseCommandLine(argc, argv, tavelo::fullVersion());
    if (const auto* exit = std::get_if<tavelo::CommandLineExit>(&parsed)) {
        std::fputs(exit->output.c_str(), stdout);
        std::fputs(exit->error.c_str(), stderr);
        return exit->status;
    }
    return tavelo::runProgram(std::get<tavelo::CommandLine>(parsed), argc, argv);
}
