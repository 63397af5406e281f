// SPDX-License-Identifier: MIT
#include "platform/uvc/extension_units.h"

#include <algorithm>

#include "platform/uvc/descriptor_walk.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t guidAt = 4;
constexpr std::size_t sourcesAt = 21;

// Bit n stands for selector n + 1; there is no selector above 255.
std::bitset<256> selectorsOf(Bytes map) {
    std::bitset<256> selectors;
    for (std::size_t bit = 0; bit < std::min<std::size_t>(8 * map.size(), 255); ++bit)
        selectors[bit + 1] = (map[bit / 8] >> bit % 8 & 1) != 0;
    return selectors;
}

} // namespace

std::optional<ExtensionUnit> asExtensionUnit(Bytes descriptor) {
    if (descriptor.size() <= sourcesAt || descriptor[2] != uvc::extensionUnit || descriptor[3] == 0)
        return std::nullopt;
    const std::size_t mapAt = sourcesAt + 1 + descriptor[sourcesAt];
    const Bytes map = countedBytes(descriptor, mapAt);
    if (descriptor.size() <= mapAt || map.size() < descriptor[mapAt]) return std::nullopt;
    ExtensionUnit unit{descriptor[3], {}, selectorsOf(map)};
    std::ranges::copy(descriptor.subspan(guidAt, unit.guid.size()), unit.guid.begin());
    return unit;
}

std::vector<ExtensionUnit> extensionUnitsOf(std::span<const Bytes> descriptors) {
    std::vector<ExtensionUnit> units;
    std::bitset<256> seen; // a hostile camera lists one identifier thousands of times
    for (const Bytes descriptor : descriptors) {
        const auto unit = asExtensionUnit(descriptor);
        if (!unit || seen[unit->id]) continue;
        seen.set(unit->id);
        units.push_back(*unit);
    }
    return units;
}

} // namespace tavelo
