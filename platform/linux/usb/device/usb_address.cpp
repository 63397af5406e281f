// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/usb_address.h"

#include <array>
#include <cstdio>

namespace tavelo {

std::string UsbAddress::path() const {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "/dev/bus/usb/%03u/%03u", unsigned{bus}, unsigned{device});
    return text.data();
}

} // namespace tavelo
