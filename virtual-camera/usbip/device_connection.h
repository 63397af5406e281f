// SPDX-License-Identifier: MIT
// An imported device: reads the client's commands and has them carried out.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/serial_queue.h"
#include "virtual-camera/firmware/usb_gadget.h"
#include "virtual-camera/usbip/gadget_layout.h"
#include "virtual-camera/usbip/stream_socket.h"
#include "virtual-camera/usbip/transfer_scheduler.h"
#include "virtual-camera/usbip/urb_ledger.h"
#include "virtual-camera/usbip/usbip_protocol.h"

namespace tavelo::usbip {

/// Joins a client with a device as long as the connection stands.
///
/// Three threads: the caller's reads commands, one answers control transfers one after another (a device may
/// take its time), one carries out the others.
class DeviceConnection {
public:
    /// Takes the device out of whatever state the client before left it in.
    /// @param socket must outlive this object
    DeviceConnection(StreamSocket& socket, std::shared_ptr<UsbGadget> gadget);
    ~DeviceConnection();

    DeviceConnection(const DeviceConnection&) = delete;
    DeviceConnection& operator=(const DeviceConnection&) = delete;

    /// Reads and carries out one command; false where the connection is at its end.
    bool serveCommand();

private:
    bool submit(const SubmitCommand& command);
    std::optional<std::vector<IsoPacket>> readPackets(std::uint32_t count);
    void unlink(const UnlinkCommand& command);
    void answerControl(const SubmitCommand& command, const std::vector<std::uint8_t>& out);
    void deconfigure();

    StreamSocket& socket_;
    const std::shared_ptr<UsbGadget> gadget_;
    const GadgetLayout layout_;
    UrbLedger ledger_;
    TransferScheduler scheduler_;
    SerialQueue control_;
};

} // namespace tavelo::usbip
