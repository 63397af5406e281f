// SPDX-License-Identifier: MIT
// Takes a fuzz target's input apart.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo::fuzz {

/// Hands out the input from its start.  At the end everything is 0 or empty, so that any input is complete.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

    bool isEmpty() const { return left_.empty(); }
    std::span<const std::uint8_t> rest() { return bytes(left_.size()); }
    std::string_view restText() { return textOf(rest()); }

    std::uint8_t byte() {
        const auto taken = bytes(1);
        return taken.empty() ? std::uint8_t{0} : taken.front();
    }

    /// Least significant byte first.
    std::uint32_t number(std::size_t size = 4) {
        std::uint32_t value = 0;
        const auto taken = bytes(size);
        for (std::size_t i = 0; i < taken.size(); ++i)
            value |= std::uint32_t{taken[i]} << 8 * i;
        return value;
    }

    /// Fewer if there are no more.
    std::span<const std::uint8_t> bytes(std::size_t count) {
        const auto taken = left_.first(std::min(count, left_.size()));
        left_ = left_.subspan(taken.size());
        return taken;
    }

    /// Up to the next zero byte, which is skipped.
    std::string_view text() {
        const auto end = std::ranges::find(left_, std::uint8_t{0});
        const auto taken = bytes(static_cast<std::size_t>(end - left_.begin()));
        bytes(1);
        return textOf(taken);
    }

    /// The rest as texts that end with zero bytes.
    std::vector<std::string> texts(std::size_t most) {
        std::vector<std::string> found;
        while (!isEmpty() && found.size() < most)
            found.emplace_back(text());
        return found;
    }

private:
    static std::string_view textOf(std::span<const std::uint8_t> bytes) {
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    std::span<const std::uint8_t> left_;
};

} // namespace tavelo::fuzz
