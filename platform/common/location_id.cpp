// SPDX-License-Identifier: MIT
// Builds location identifiers out of hardware paths and ports.
#include "platform/common/location_id.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <numeric>
#include <set>

namespace tavelo {

namespace {

constexpr std::uint32_t firstByte = 0x10;
constexpr std::uint32_t byteCount = 0x100 - firstByte;
constexpr std::size_t portDigits = 6;

// FNV-1a: must give the same on every machine and in every version, since profiles are stored under it.
std::uint32_t stableHash(std::span<const std::uint8_t> bytes) {
    std::uint32_t hash = 2166136261U;
    for (const std::uint8_t byte : bytes)
        hash = (hash ^ byte) * 16777619U;
    return hash;
}

std::uint32_t stableHash(std::string_view text) {
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    return stableHash(bytes);
}

// "0000:00:14.0": domain, bus, device, function.
bool isPciFunction(std::string_view component) {
    constexpr std::string_view shape = "hhhh:hh:hh.h";
    // Domains can have more than four digits (a volume controller creates its own).
    if (component.size() < shape.size()) return false;
    const std::size_t domain = component.size() - shape.size();
    for (std::size_t i = 0; i < component.size(); ++i) {
        const char expected = i < domain ? 'h' : shape[i - domain];
        const bool fits = expected == 'h' ? std::isxdigit(static_cast<unsigned char>(component[i])) != 0
                                          : component[i] == expected;
        if (!fits) return false;
    }
    return true;
}

std::size_t depthOf(std::string_view place) {
    return static_cast<std::size_t>(std::ranges::count(place, '/'));
}

std::vector<std::uint8_t> digitsOf(std::span<const std::uint8_t> ports) {
    std::vector<std::uint8_t> digits;
    for (const std::uint8_t port : ports) {
        if (port <= 15) {
            digits.push_back(port);
        } else {
            const auto high = static_cast<std::uint8_t>(port >> 4);
            const auto low = static_cast<std::uint8_t>(port & 15);
            digits.insert(digits.end(), {std::uint8_t{0}, high, low});
        }
    }
    return digits;
}

} // namespace

std::string rootHubPlace(std::string_view controllerPath, std::size_t ordinal) {
    std::string place;
    while (!controllerPath.empty()) {
        const std::size_t slash = std::min(controllerPath.find('/'), controllerPath.size());
        std::string_view component = controllerPath.substr(0, slash);
        controllerPath.remove_prefix(std::min(slash + 1, controllerPath.size()));
        if (isPciFunction(component)) component.remove_prefix(component.rfind(':') + 1);
        if (!place.empty()) place += '/';
        place += component;
    }
    if (ordinal > 0) place += '#' + std::to_string(ordinal);
    return place;
}

std::vector<std::uint8_t> rootHubBytes(std::span<const std::string> places) {
    std::vector<std::size_t> order(places.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, [&](std::size_t a, std::size_t b) {
        const std::size_t depthA = depthOf(places[a]);
        const std::size_t depthB = depthOf(places[b]);
        return depthA != depthB ? depthA < depthB : places[a] < places[b];
    });
    std::vector<std::uint8_t> bytes(places.size());
    std::set<std::uint32_t> taken;
    for (const std::size_t index : order) {
        std::uint32_t slot = stableHash(places[index]) % byteCount;
        // Past 240 root hubs bytes repeat, and the search must still end.
        for (std::uint32_t tries = 0; tries < byteCount && taken.contains(slot); ++tries)
            slot = (slot + 1) % byteCount;
        taken.insert(slot);
        bytes[index] = static_cast<std::uint8_t>(firstByte + slot);
    }
    return bytes;
}

std::uint32_t locationIdentifier(std::uint8_t rootHub, std::span<const std::uint8_t> ports) {
    const std::uint32_t top = std::uint32_t{rootHub} << 24;
    const std::vector<std::uint8_t> digits = digitsOf(ports);
    // Ports count from 1; with a 0 among them the end of the path would be ambiguous.
    const bool plain = digits.size() <= portDigits && std::ranges::find(ports, 0) == ports.end();
    if (!plain) return top | (stableHash(ports) % 0xFFFF + 1);
    std::uint32_t location = top;
    for (std::size_t i = 0; i < digits.size(); ++i)
        location |= std::uint32_t{digits[i]} << (20 - 4 * i);
    return location;
}

std::string captureIdentifier(std::uint32_t location, std::uint16_t vendor, std::uint16_t product,
                              std::optional<std::uint8_t> interfaceNumber) {
    std::array<char, 24> text{};
    const int length = interfaceNumber
                           ? std::snprintf(text.data(), text.size(), "0x%08x%04x%04x%02x", location,
                                           unsigned{vendor}, unsigned{product}, unsigned{*interfaceNumber})
                           : std::snprintf(text.data(), text.size(), "0x%08x%04x%04x", location,
                                           unsigned{vendor}, unsigned{product});
    return {text.data(), static_cast<std::size_t>(length)};
}

} // namespace tavelo
