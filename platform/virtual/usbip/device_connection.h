// SPDX-License-Identifier: MIT
// Serves an imported device: reads the client's commands and executes them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/serial_queue.h"
#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/usbip/gadget_layout.h"
#include "platform/virtual/usbip/stream_socket.h"
#include "platform/virtual/usbip/transfer_scheduler.h"
#include "platform/virtual/usbip/urb_ledger.h"
#include "platform/virtual/usbip/usbip_protocol.h"

namespace tavelo::usbip {

/// Connects a client with a device as long as the connection lasts.
///
/// Three threads: the caller's reads commands, one executes control transfers in order (a device may be
/// slow), one executes the others.
class DeviceConnection {
public:
    /// Resets the device from the state that the previous client left.
    /// @param socket must outlive this object
    DeviceConnection(StreamSocket& socket, std::shared_ptr<UsbGadget> gadget);
    ~DeviceConnection();

    DeviceConnection(const DeviceConnection&) = delete;
    DeviceConnection& operator=(const DeviceConnection&) = delete;

    /// Reads and executes one command; false if the connection has ended.
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
