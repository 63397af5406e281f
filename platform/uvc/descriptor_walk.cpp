// SPDX-License-Identifier: MIT
#include "platform/uvc/descriptor_walk.h"

#include <algorithm>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

namespace {

using Bytes = std::span<const std::uint8_t>;

} // namespace

std::optional<Bytes> takeDescriptor(Bytes& rest) {
    if (rest.size() < 2 || rest[0] < 2 || rest[0] > rest.size()) return std::nullopt;
    const Bytes descriptor = rest.first(rest[0]);
    rest = rest.subspan(rest[0]);
    return descriptor;
}

Bytes countedBytes(Bytes descriptor, std::size_t countAt) {
    if (descriptor.size() <= countAt) return {};
    const Bytes after = descriptor.subspan(countAt + 1);
    return after.first(std::min<std::size_t>(descriptor[countAt], after.size()));
}

bool UsbInterfaceDescriptor::isVideoControl() const {
    return interfaceClass == uvc::videoClass && interfaceSubClass == uvc::controlSubClass;
}

bool UsbInterfaceDescriptor::isVideoStreaming() const {
    return interfaceClass == uvc::videoClass && interfaceSubClass == uvc::streamingSubClass;
}

std::optional<UsbInterfaceDescriptor> asInterface(Bytes descriptor) {
    if (descriptor.size() < 9 || descriptor[1] != uvc::interfaceType) return std::nullopt;
    return UsbInterfaceDescriptor{descriptor[2], descriptor[3], descriptor[5], descriptor[6], descriptor[7]};
}

} // namespace tavelo
