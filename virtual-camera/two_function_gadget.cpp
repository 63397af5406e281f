// SPDX-License-Identifier: MIT
#include "virtual-camera/two_function_gadget.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

constexpr std::size_t headerLength = 9;

// The configuration of the first, followed by the interfaces of the second.
std::vector<std::uint8_t> joined(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) {
    std::vector<std::uint8_t> bytes(first.begin(), first.end());
    const auto further = second.subspan(std::min(headerLength, second.size()));
    bytes.insert(bytes.end(), further.begin(), further.end());
    putLittleEndian(bytes.size(), std::span(bytes).subspan(2, 2));
    bytes[4] = 4; // interfaces
    return bytes;
}

} // namespace

TwoFunctionGadget::TwoFunctionGadget(const std::shared_ptr<VirtualCameraFirmware>& first,
                                     const std::shared_ptr<VirtualCameraFirmware>& second)
    : first_(first),
      second_(second),
      secondModel_(second->model()),
      configuration_(joined(first->configurationDescriptor(), second->configurationDescriptor())) {}

UsbReply TwoFunctionGadget::control(const UsbSetup& setup, std::span<const std::uint8_t> out) {
    const bool standard = (setup.bmRequestType & uvc::typeMask) == 0;
    const bool device = (setup.bmRequestType & uvc::recipientMask) == uvc::recipientDevice;
    if (standard && device && setup.bRequest == uvc::getDescriptor &&
        setup.wValue == uvc::configurationType << 8) {
        const std::size_t length = std::min<std::size_t>(configuration_.size(), setup.wLength);
        UsbReply reply = first_.control(setup, out); // it knows whether the device is still there
        if (reply.kind == UsbReplyKind::done)
            reply.data.assign(configuration_.begin(),
                              configuration_.begin() + static_cast<std::ptrdiff_t>(length));
        return reply;
    }
    if (standard && device && setup.bRequest == uvc::setConfiguration) second_.control(setup, out);
    return concernsSecond(setup) ? second_.control(setup, out) : first_.control(setup, out);
}

std::optional<std::size_t> TwoFunctionGadget::in(std::uint8_t endpoint, std::span<std::uint8_t> packet) {
    return endpoint == secondModel_.streamingEndpoint() ? second_.in(endpoint, packet)
                                                        : first_.in(endpoint, packet);
}

bool TwoFunctionGadget::concernsSecond(const UsbSetup& setup) const {
    const auto index = static_cast<std::uint8_t>(setup.wIndex);
    switch (setup.bmRequestType & uvc::recipientMask) {
        case uvc::recipientInterface:
            return index >= secondModel_.firstInterface;
        case uvc::recipientEndpoint:
            return index == secondModel_.streamingEndpoint();
        default:
            return false;
    }
}

} // namespace tavelo
