// SPDX-License-Identifier: MIT
#include "app/stderr_diagnostics.h"

#include <cstdio>

namespace tavelo {

void StderrDiagnostics::report(std::string_view device, std::string_view reason) noexcept {
    if (!verbose_) return;
    // One call per line, so that lines of several threads do not mix.
    std::fprintf(stderr, "tavelo-control-panel: %.*s: %.*s\n", static_cast<int>(device.size()), device.data(),
                 static_cast<int>(reason.size()), reason.data());
}

} // namespace tavelo
