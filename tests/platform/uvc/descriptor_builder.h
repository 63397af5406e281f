// SPDX-License-Identifier: MIT
// Builds valid and invalid camera descriptors byte by byte.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace tavelo::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// Prepends the length.
inline Bytes descriptor(Bytes rest) {
    rest.insert(rest.begin(), static_cast<std::uint8_t>(rest.size() + 1));
    return rest;
}

inline Bytes deviceDescriptor(std::uint16_t vendor = 0x046D, std::uint16_t product = 0x0825) {
    return descriptor({0x01, 0x00, 0x02, 0xEF, 0x02, 0x01, 64, std::uint8_t(vendor & 0xFF),
                       std::uint8_t(vendor >> 8), std::uint8_t(product & 0xFF), std::uint8_t(product >> 8), 0,
                       1, 1, 2, 0, 1});
}

/// A configuration descriptor with the correct total length, followed by the parts.
inline Bytes configuration(std::initializer_list<Bytes> parts, std::uint8_t value = 1) {
    const Bytes body = join(parts);
    const std::size_t total = body.size() + 9;
    return join(
        {descriptor({0x02, std::uint8_t(total & 0xFF), std::uint8_t(total >> 8), 2, value, 0, 0x80, 250}),
         body});
}

inline Bytes interfaceDescriptor(std::uint8_t number, std::uint8_t subclass,
                                 std::uint8_t interfaceClass = 0x0E, std::uint8_t alternate = 0,
                                 std::uint8_t protocol = 0) {
    return descriptor({0x04, number, alternate, 1, interfaceClass, subclass, protocol, 0});
}

inline Bytes videoControl(std::uint8_t number = 0) {
    return interfaceDescriptor(number, 1);
}

/// The video-control header.  Versions differ only in bcdUVC.
inline Bytes header(std::uint16_t version, std::uint16_t totalLength = 100) {
    return descriptor({0x24, 0x01, std::uint8_t(version & 0xFF), std::uint8_t(version >> 8),
                       std::uint8_t(totalLength & 0xFF), std::uint8_t(totalLength >> 8), 0x80, 0x8D, 0x5B, 0,
                       1, 1});
}

inline Bytes cameraTerminal(std::uint8_t id, const Bytes& controls) {
    return descriptor(join(
        {{0x24, 0x02, id, 0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, std::uint8_t(controls.size())}, controls}));
}

/// An input terminal that is not a camera (a composite jack).
inline Bytes otherTerminal(std::uint8_t id) {
    return descriptor({0x24, 0x02, id, 0x01, 0x04, 0, 0});
}

/// @param tail bytes after the map: iProcessing, and bmVideoStandards from version 1.1 on
inline Bytes processingUnit(std::uint8_t id, std::uint8_t source, const Bytes& controls,
                            const Bytes& tail = {0}) {
    return descriptor(join({{0x24, 0x05, id, source, 0, 0, std::uint8_t(controls.size())}, controls, tail}));
}

inline Bytes selectorUnit(std::uint8_t id, const Bytes& sources) {
    return descriptor(join({{0x24, 0x04, id, std::uint8_t(sources.size())}, sources, {0}}));
}

inline Bytes extensionUnit(std::uint8_t id, std::uint8_t source) {
    return descriptor(join({{0x24, 0x06, id}, Bytes(16, 0xAA), {1, 1, source, 1, 0xFF, 0}}));
}

inline Bytes extensionUnit(std::uint8_t id, const Bytes& guid, const Bytes& sources, const Bytes& controls) {
    return descriptor(join({{0x24, 0x06, id},
                            guid,
                            {8, std::uint8_t(sources.size())},
                            sources,
                            {std::uint8_t(controls.size())},
                            controls,
                            {0}}));
}

inline Bytes endpoint() {
    return descriptor({0x05, 0x81, 0x03, 16, 0, 8});
}

/// An ordinary version 1.1 camera with terminal 3, unit 5 and every control in its maps.
inline Bytes ordinaryCamera() {
    return configuration({videoControl(0), header(0x0110), cameraTerminal(3, {0xFF, 0xFF, 0x07}),
                          processingUnit(5, 3, {0xFF, 0x7F}, {0, 0}), endpoint(), interfaceDescriptor(1, 2)});
}

} // namespace tavelo::test
