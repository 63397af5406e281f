// SPDX-License-Identifier: MIT
#include "process/stderr_diagnostics.h"

#include "process/error_line.h"

namespace tavelo {

void StderrDiagnostics::report(std::string_view device, std::string_view reason) noexcept {
    if (verbose_) printErrorLine(device, reason);
}

} // namespace tavelo
