// SPDX-License-Identifier: MIT
// Writes reported lines to standard error.
#pragma once

#include <cstdio>
#include <string_view>

#include "platform/diagnostics.h"

namespace tavelo::testing {

class StandardErrorDiagnostics final : public Diagnostics {
public:
    void report(std::string_view device, std::string_view reason) noexcept override {
        std::fprintf(stderr, "%.*s: %.*s\n", int(device.size()), device.data(), int(reason.size()),
                     reason.data());
    }
};

} // namespace tavelo::testing
