// SPDX-License-Identifier: MIT
// Sends requests to a virtual camera like a host.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

class FirmwareClient {
public:
    explicit FirmwareClient(VirtualCameraFirmware& firmware) : firmware_(firmware) {}

    std::uint16_t indexOf(ControlAddress address) const {
        const auto& model = firmware_.model();
        const std::uint8_t entity =
            address.entity == UvcEntity::cameraTerminal ? model.terminalID : model.unitID;
        return static_cast<std::uint16_t>(entity << 8 | model.controlInterface());
    }

    UsbReply get(UvcRequest request, ControlAddress address, std::uint16_t length = 64) {
        return firmware_.control(
            {uvc::classInterfaceIn, codeOf(request), static_cast<std::uint16_t>(address.selector << 8),
             indexOf(address), length},
            {});
    }

    UsbReply set(ControlAddress address, std::span<const std::uint8_t> bytes) {
        return firmware_.control({uvc::classInterfaceOut, codeOf(UvcRequest::setCur),
                                  static_cast<std::uint16_t>(address.selector << 8), indexOf(address),
                                  static_cast<std::uint16_t>(bytes.size())},
                                 bytes);
    }

    UsbReply set(ControlAddress address, std::int64_t value, std::size_t size) {
        std::vector<std::uint8_t> bytes;
        appendLittleEndian(bytes, static_cast<std::uint64_t>(value), size);
        return set(address, bytes);
    }

    /// In the control's own size.
    UsbReply set(ControlAddress address, std::int64_t value) {
        return set(address, value, firmwareControl(address)->size);
    }

    /// The reply as a number; sign-extended if the control is signed.
    std::int64_t number(UvcRequest request, ControlAddress address) {
        const UsbReply reply = get(request, address);
        std::uint64_t raw = littleEndian(reply.data);
        const std::size_t bits = 8 * reply.data.size();
        if (firmwareControl(address)->isSigned && bits > 0 && bits < 64 && (raw >> (bits - 1) & 1U) != 0)
            raw |= ~std::uint64_t{0} << bits;
        return static_cast<std::int64_t>(raw);
    }

    /// Reads the request error code control.
    std::uint8_t errorCode() {
        const UsbReply reply =
            firmware_.control({uvc::classInterfaceIn, codeOf(UvcRequest::getCur),
                               uvc::requestErrorCodeControl << 8, firmware_.model().controlInterface(), 1},
                              {});
        return reply.data.size() == 1 ? reply.data[0] : std::uint8_t{0xEE};
    }

private:
    VirtualCameraFirmware& firmware_;
};

} // namespace tavelo
