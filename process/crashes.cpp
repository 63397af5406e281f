// SPDX-License-Identifier: MIT
#include "process/crashes.h"

#include <string>

#include "platform/linux/crash_report.h"
#include "process/error_line.h"

namespace tavelo {

void reportCrashesOf(std::string_view program, std::string_view version) {
    const std::string folder = crashFolder();
    for (const std::string& report : collectCrashReports(folder, program))
        printErrorLine("it crashed; what it was doing is in " + report);
    reportCrashes(folder, program, version);
}

} // namespace tavelo
