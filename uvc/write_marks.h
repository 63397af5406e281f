// SPDX-License-Identifier: MIT
// Tells whether a control was written while it was read.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "uvc/control_table.h"

namespace tavelo {

/// Marks for each control of one manager.  Thread-safe.
class WriteMarks {
public:
    /// A write under way.
    class Write {
    public:
        Write(WriteMarks& marks, KTUVCControl control) : mark_(marks.marks_[indexOf(control)]) {}
        ~Write() {
            if (begun_) mark_ -= underWay;
        }
        Write(const Write&) = delete;
        Write& operator=(const Write&) = delete;

        /// Call it once.
        void begin() {
            begun_ = true;
            mark_ += begun | underWay;
        }

    private:
        std::atomic<std::uint64_t>& mark_;
        bool begun_ = false;
    };

    /// Another number if a write began since the last call; nothing while one is under way.
    std::optional<std::uint64_t> quiet(KTUVCControl control) const {
        const std::uint64_t mark = marks_[indexOf(control)];
        return mark % begun == 0 ? std::optional(mark) : std::nullopt;
    }

private:
    static constexpr std::uint64_t underWay = 1;
    static constexpr std::uint64_t begun = std::uint64_t{1} << 32;

    /// The writes ever begun in the high half, those under way in the low half.
    std::array<std::atomic<std::uint64_t>, controlCount> marks_{};
};

} // namespace tavelo
