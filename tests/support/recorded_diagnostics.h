// SPDX-License-Identifier: MIT
// Records reported lines.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/diagnostics.h"

namespace tavelo::test {

/// Thread-safe.
class RecordedDiagnostics final : public Diagnostics {
public:
    void report(std::string_view device, std::string_view reason) noexcept override {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::string(device) + ": " + std::string(reason));
    }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_; // guards lines_
    std::vector<std::string> lines_;
};

} // namespace tavelo::test
