// SPDX-License-Identifier: MIT
// A video node whose driver answers with a fuzz target's input.
#pragma once

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz_input.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo::fuzz {

/// Each request takes a byte for its outcome.  If that is a success, the bytes of the argument that the
/// kernel writes are replaced: the arguments' own ones, not what they point to.
class FuzzedNode final : public V4l2Node {
public:
    explicit FuzzedNode(FuzzInput& input) : input_(input) {}

    int control(unsigned long request, void* argument) override {
        constexpr std::array failures{EINVAL, EPIPE,  EIO,     EBUSY,  ERANGE,    EACCES,  ENODEV,
                                      EILSEQ, ENOTTY, ENOBUFS, ENOENT, ETIMEDOUT, EBADRQC, ENOSPC};
        if (input_.isEmpty()) return ENODEV;
        const std::uint8_t outcome = input_.byte();
        if (outcome < failures.size()) return failures.at(outcome);
        answer(request, argument);
        return 0;
    }

    /// As long as the driver says, so that a read beyond it is noticed.
    V4l2Mapping map(std::size_t length, std::uint32_t /*offset*/) override {
        if (length > mostMapped) return nullptr;
        const auto memory = std::make_shared<std::vector<std::uint8_t>>(length);
        const auto filled = input_.bytes(std::min<std::size_t>(length, input_.byte()));
        std::ranges::copy(filled, memory->begin());
        return {memory, memory->data()};
    }

    int descriptor() const override { return -1; }

private:
    static constexpr std::size_t mostMapped = 1 << 16;

    void answer(unsigned long request, void* argument);

    FuzzInput& input_;
};

} // namespace tavelo::fuzz
