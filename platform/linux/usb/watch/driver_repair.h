// SPDX-License-Identifier: MIT
// Gets a kernel driver for an interface that a dead process had claimed.
#pragma once

#include <cstdint>

namespace tavelo {

/// Waits until nobody holds the interface through usbfs (a dying process may close this file late), then
/// lets the kernel look for a driver.  Gives up after ten seconds: somebody else took it.  Reentrant.
/// @param device a descriptor of the device's usbfs node, open for writing
/// @return whether a driver has the interface
bool giveToDriver(int device, std::uint8_t interface);

} // namespace tavelo
