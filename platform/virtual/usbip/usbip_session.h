// SPDX-License-Identifier: MIT
// One client's connection to the USB/IP server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/usbip/stream_socket.h"
#include "platform/virtual/usbip/usbip_protocol.h"

namespace tavelo::usbip {

class UsbipSession;

/// The devices that sessions can import.  Thread-safe.
class DeviceDirectory {
public:
    virtual ~DeviceDirectory() = default;

    virtual std::vector<ExportedDevice> exportedDevices() const = 0;

    struct Claim {
        OperationStatus status = OperationStatus::error;
        std::shared_ptr<UsbGadget> gadget; ///< null unless the status is ok
    };
    /// Reserves a device for one session, until release().
    virtual Claim claim(const std::string& busId, UsbipSession& session) = 0;
    virtual void release(const std::string& busId, UsbipSession& session) = 0;
};

/// Serves one client connection.
///
///     operation --device list--> end
///     operation --import, granted--> transfers --connection closed, protocol broken, shutdown()--> end
///
/// Invalid bytes end the connection, since what follows cannot be parsed.
class UsbipSession {
public:
    /// @param directory must outlive the session
    UsbipSession(FileDescriptor connection, DeviceDirectory& directory);

    /// Serves the connection; returns when it has ended.  Call it once, on a thread of its own.
    void run();

    /// Ends the connection; thread-safe.  A client sees its device unplugged.
    void shutdown() { socket_.shutdown(); }

private:
    void serveOperation();
    void serveImport();
    void serveTransfers(const std::shared_ptr<UsbGadget>& gadget);

    StreamSocket socket_;
    DeviceDirectory& directory_;
};

} // namespace tavelo::usbip
