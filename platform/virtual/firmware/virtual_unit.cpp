// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/virtual_unit.h"

#include <utility>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The range of a whole value, byte for byte.
struct Range {
    Bytes least;
    Bytes most;
    Bytes step;
    Bytes factory;
};

constexpr std::uint8_t lamp = 1;
constexpr std::uint8_t fieldOfView = 2;
constexpr std::uint8_t tone = 3;
constexpr int mostWarmth = 10;

std::uint8_t toneByte(int warmth, bool isHigh) {
    return static_cast<std::uint8_t>((static_cast<unsigned>(warmth) & 0x1FU) << 1U | (isHigh ? 1U : 0U));
}

int warmthOf(std::uint8_t byte) {
    const int bits = byte >> 1U & 0x1F;
    return bits >= 16 ? bits - 32 : bits;
}

Range rangeOf(std::uint8_t selector) {
    switch (selector) {
        case lamp:
            return {{0, 1}, {2, 200}, {1, 1}, {0, 10}};
        case fieldOfView:
            return {{0}, {2}, {1}, {0}};
        default:
            return {{toneByte(-mostWarmth, false)}, {toneByte(mostWarmth, true)}, {toneByte(1, true)}, {0}};
    }
}

bool accepts(std::uint8_t selector, std::span<const std::uint8_t> bytes) {
    if (selector == tone) return warmthOf(bytes[0]) >= -mostWarmth && warmthOf(bytes[0]) <= mostWarmth;
    const Range range = rangeOf(selector);
    for (std::size_t i = 0; i < range.least.size(); ++i)
        if (bytes[i] < range.least[i] || bytes[i] > range.most[i]) return false;
    return true;
}

} // namespace

ControlResult VirtualUnit::read(std::uint8_t selector, UvcRequest request) const {
    if (!lists(selector)) return ControlResult::stall(uvc::errorInvalidControl);
    const Bytes& value = values_[selector - 1U];
    Range range = rangeOf(selector);
    switch (request) {
        case UvcRequest::getInfo:
            return ControlResult::done({uvc::infoGet | uvc::infoSet});
        case UvcRequest::getLen:
            return ControlResult::done({static_cast<std::uint8_t>(value.size()), 0});
        case UvcRequest::getCur:
            return ControlResult::done(value);
        case UvcRequest::getMin:
            return ControlResult::done(std::move(range.least));
        case UvcRequest::getMax:
            return ControlResult::done(std::move(range.most));
        case UvcRequest::getRes:
            return ControlResult::done(std::move(range.step));
        case UvcRequest::getDef:
            return ControlResult::done(std::move(range.factory));
        default:
            return ControlResult::stall(uvc::errorInvalidRequest);
    }
}

ControlResult VirtualUnit::write(std::uint8_t selector, std::span<const std::uint8_t> bytes) {
    if (!lists(selector)) return ControlResult::stall(uvc::errorInvalidControl);
    Bytes& value = values_[selector - 1U];
    if (bytes.size() < value.size()) return ControlResult::stall(uvc::errorUnknown);
    if (!accepts(selector, bytes)) return ControlResult::stall(uvc::errorOutOfRange);
    value.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(value.size()));
    return ControlResult::done();
}

} // namespace tavelo
