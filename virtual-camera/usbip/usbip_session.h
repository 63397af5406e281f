// SPDX-License-Identifier: MIT
// One client's connection to the USB/IP server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "virtual-camera/firmware/usb_gadget.h"
#include "virtual-camera/usbip/stream_socket.h"
#include "virtual-camera/usbip/usbip_protocol.h"

namespace tavelo::usbip {

class UsbipSession;

/// The devices that sessions choose from.  Thread-safe.
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

/// Answers one connection from its first byte to its last.
///
///     operation --device list--> end
///     operation --import, granted--> transfers --connection closed, protocol broken, shutdown()--> end
///
/// Bytes that make no sense end the connection; nothing else could follow them safely.
class UsbipSession {
public:
    /// @param directory must outlive the session
    UsbipSession(FileDescriptor connection, DeviceDirectory& directory);

    /// Serves the connection; returns when it has ended.  To be called once, on a thread for it alone.
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
