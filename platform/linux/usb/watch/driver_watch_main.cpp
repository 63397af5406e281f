// SPDX-License-Identifier: MIT
// tavelo-driver-watch: waits for the end of the process that took a camera and, if that process could not
// give the camera back, asks the kernel's driver to take it.
//
// Usage: tavelo-driver-watch /dev/bus/usb/BUS/DEVICE INTERFACE
// Standard input: a byte means that the camera was given back; an end without one, that it was not.

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "platform/linux/usb/watch/driver_repair.h"

namespace tavelo {
namespace {

bool toldThatAllIsWell() {
    char byte = 0;
    ssize_t count = 0;
    do {
        count = ::read(STDIN_FILENO, &byte, 1);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}

int watch(const char* node, std::uint8_t interface) {
    ::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0);
    [[maybe_unused]] const int moved = ::chdir("/"); // keeps no file system from being unmounted
    // Now, while this is still the same device and we may open it.
    const int device = ::open(node, O_RDWR | O_CLOEXEC);
    if (toldThatAllIsWell()) return 0;
    return device >= 0 && giveToDriver(device, interface) ? 0 : 1;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    std::uint8_t interface = 0;
    if (argc != 3) return 2;
    const char* const end = argv[2] + std::strlen(argv[2]);
    const auto [stopped, error] = std::from_chars(argv[2], end, interface);
    if (error != std::errc() || stopped != end) return 2;
    return tavelo::watch(argv[1], interface);
}
