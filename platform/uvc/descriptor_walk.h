// SPDX-License-Identifier: MIT
// Takes a sequence of USB descriptors apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tavelo {

// Descriptors come from the device and are hostile input: every function here accepts any bytes and reads
// nothing outside its span.  All are reentrant.

/// Removes the descriptor at the front of `rest`; it has two bytes or more.  Nothing if none fits: the walk
/// ends there, since the start of the next one is unknown.
std::optional<std::span<const std::uint8_t>> takeDescriptor(std::span<const std::uint8_t>& rest);

/// The bytes after a byte that counts them, as many of them as there are.
std::span<const std::uint8_t> countedBytes(std::span<const std::uint8_t> descriptor, std::size_t countAt);

/// An interface descriptor (one alternate setting of one interface).
struct UsbInterfaceDescriptor {
    std::uint8_t number = 0;
    std::uint8_t alternateSetting = 0;
    std::uint8_t interfaceClass = 0;
    std::uint8_t interfaceSubClass = 0;
    std::uint8_t interfaceProtocol = 0;

    /// The interface that receives the class's control requests.
    bool isVideoControl() const;
    bool isVideoStreaming() const;

    friend bool operator==(const UsbInterfaceDescriptor&, const UsbInterfaceDescriptor&) = default;
};

/// Nothing if the descriptor is of another type or too short.
std::optional<UsbInterfaceDescriptor> asInterface(std::span<const std::uint8_t> descriptor);

} // namespace tavelo
