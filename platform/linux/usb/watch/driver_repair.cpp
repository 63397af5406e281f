// SPDX-License-Identifier: MIT
#include "platform/linux/usb/watch/driver_repair.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto betweenLooks = 10ms;
constexpr int mostLooks = 1000;

enum class Holder { nobody, usbfs, driver, unknown };

Holder holderOf(int device, std::uint8_t interface) {
    usbdevfs_getdriver asked{};
    asked.interface = interface;
    if (::ioctl(device, USBDEVFS_GETDRIVER, &asked) != 0)
        return errno == ENODATA ? Holder::nobody : Holder::unknown;
    return std::string_view(asked.driver) == "usbfs" ? Holder::usbfs : Holder::driver;
}

bool connect(int device, std::uint8_t interface) {
    usbdevfs_ioctl order{};
    order.ifno = interface;
    order.ioctl_code = USBDEVFS_CONNECT;
    return ::ioctl(device, USBDEVFS_IOCTL, &order) > 0; // the number of drivers that took it
}

} // namespace

bool giveToDriver(int device, std::uint8_t interface) {
    for (int look = 0; look < mostLooks; ++look) {
        switch (holderOf(device, interface)) {
            case Holder::driver:
                return true;
            case Holder::unknown: // the device is gone or invalid
                return false;
            case Holder::nobody:
                if (connect(device, interface)) return true;
                if (errno != EBUSY) return false;
                break;
            case Holder::usbfs:
                break;
        }
        std::this_thread::sleep_for(betweenLooks);
    }
    return false;
}

} // namespace tavelo
