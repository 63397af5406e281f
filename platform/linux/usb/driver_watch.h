// SPDX-License-Identifier: MIT
// A small helper process that gives a camera back to the kernel's driver if we die.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>

#include "platform/common/file_descriptor.h"
#include "platform/linux/usb/device/usb_address.h"

namespace tavelo {

/// The kernel releases what a dying process had claimed, but asks no driver to take it.  So another process
/// waits at the end of a socket: if that closes without a byte, it asks the driver.
///
/// The destructor sends the byte and waits for the process to end, a matter of milliseconds.  Reentrant.
class DriverWatch {
public:
    /// Null if the program cannot be started.
    static std::unique_ptr<DriverWatch> start(const std::filesystem::path& program, const UsbAddress& device,
                                              std::uint8_t controlInterface);

    ~DriverWatch();
    DriverWatch(const DriverWatch&) = delete;
    DriverWatch& operator=(const DriverWatch&) = delete;

    pid_t process() const { return process_; }

private:
    DriverWatch(pid_t process, FileDescriptor word) : process_(process), word_(std::move(word)) {}

    const pid_t process_;
    FileDescriptor word_;
};

/// The path of the watching program: beside this one, or where an installation puts it.  Empty if there is
/// none.
std::filesystem::path driverWatchProgram();

} // namespace tavelo
