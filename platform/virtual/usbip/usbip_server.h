// SPDX-License-Identifier: MIT
// Exports software USB devices to USB/IP clients such as the Linux kernel's vhci-hcd.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/error.h"
#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/usbip/stream_socket.h"
#include "platform/virtual/usbip/usbip_session.h"

namespace tavelo::usbip {

/// A server on 127.0.0.1.  Each device can be imported by one client at a time.
///
/// Thread-safe.  The destructor ends every connection, so that clients see their devices unplugged, and waits
/// until no device is called any more; a device that is busy with a request delays it.
class UsbipServer : private DeviceDirectory {
public:
    /// @param port 0 lets the system choose
    /// @return null with `error` set if the port is not available
    static std::unique_ptr<UsbipServer> listen(std::uint16_t port, Error& error);
    ~UsbipServer() override;

    UsbipServer(const UsbipServer&) = delete;
    UsbipServer& operator=(const UsbipServer&) = delete;

    std::uint16_t port() const;

    /// Exports a device under a name such as "1-1", replacing any device with that name.
    void plug(const std::string& busId, std::shared_ptr<UsbGadget> gadget);

    /// Removes a device and ends its client's connection.  The device may still be called until the
    /// connection has ended.
    void unplug(const std::string& busId);

    /// Whether a client has imported the device.
    bool isImported(const std::string& busId) const;

private:
    struct Slot {
        std::shared_ptr<UsbGadget> gadget;
        UsbipSession* importer = nullptr; ///< null while not imported
    };
    struct Connection {
        explicit Connection(UsbipServer& server, FileDescriptor descriptor)
            : session(std::move(descriptor), server) {}
        UsbipSession session;
        std::atomic<bool> ended{false};
        std::thread thread;
    };

    UsbipServer(FileDescriptor listener, WakePipe pipe);

    std::vector<ExportedDevice> exportedDevices() const override;
    Claim claim(const std::string& busId, UsbipSession& session) override;
    void release(const std::string& busId, UsbipSession& session) override;

    void run();
    void accept();
    void joinEnded();
    void endAll();

    const FileDescriptor listener_;
    const WakePipe pipe_;

    mutable std::mutex mutex_; // guards slots_
    std::map<std::string, Slot> slots_;

    std::atomic<bool> stopping_{false};
    std::list<Connection> connections_; // used by the accepting thread only
    std::thread thread_;                // last: it uses everything above
};

} // namespace tavelo::usbip
