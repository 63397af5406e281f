// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/device_connection.h"

#include <algorithm>
#include <span>
#include <utility>

#include "platform/uvc/little_endian.h"

namespace tavelo::usbip {
namespace {

UsbSetup decodeSetup(const std::array<std::uint8_t, 8>& bytes) {
    return {bytes[0], bytes[1], wordAt(bytes, 2), wordAt(bytes, 4), wordAt(bytes, 6)};
}

} // namespace

DeviceConnection::DeviceConnection(StreamSocket& socket, std::shared_ptr<UsbGadget> gadget)
    : socket_(socket),
      gadget_(std::move(gadget)),
      layout_(layoutOf(gadget_->configurationDescriptor())),
      ledger_(socket),
      scheduler_(*gadget_, layout_, ledger_),
      control_("usbip.control") {
    deconfigure();
}

// Waiting control transfers find the ledger closed and do not reach the device.
DeviceConnection::~DeviceConnection() {
    ledger_.close();
    control_.sync([this] { deconfigure(); });
}

bool DeviceConnection::serveCommand() {
    UrbHeader header{};
    if (!socket_.read(header)) return false;
    const std::optional<Command> command = decodeCommand(header);
    if (!command) return false;
    if (const auto* submitted = std::get_if<SubmitCommand>(&*command)) return submit(*submitted);
    unlink(std::get<UnlinkCommand>(*command));
    return true;
}

bool DeviceConnection::submit(const SubmitCommand& command) {
    std::vector<std::uint8_t> out(command.in ? 0 : command.bufferLength);
    if (!socket_.read(out)) return false;
    std::optional<std::vector<IsoPacket>> packets = readPackets(command.packetCount);
    if (!packets || !ledger_.open(command.sequence)) return false;
    if (command.endpoint == 0)
        control_.async([this, command, data = std::move(out)] { answerControl(command, data); });
    else
        scheduler_.submit(command, std::move(*packets));
    return true;
}

std::optional<std::vector<IsoPacket>> DeviceConnection::readPackets(std::uint32_t count) {
    std::vector<IsoPacket> packets;
    if (count == 0) return packets;
    std::vector<std::uint8_t> bytes(count * isoPacketSize);
    if (!socket_.read(bytes)) return std::nullopt;
    packets.reserve(count);
    for (std::size_t at = 0; at < bytes.size(); at += isoPacketSize)
        packets.push_back(decodeIsoPacket(std::span(bytes).subspan(at).first<isoPacketSize>()));
    return packets;
}

// The ledger first, so that a transfer in the scheduler's hands is not queued again.
void DeviceConnection::unlink(const UnlinkCommand& command) {
    ledger_.unlink(command);
    scheduler_.forget(command.target);
}

void DeviceConnection::answerControl(const SubmitCommand& command, const std::vector<std::uint8_t>& out) {
    if (!ledger_.isOpen(command.sequence)) return;
    const UsbReply reply = gadget_->control(decodeSetup(command.setup), out);
    if (reply.kind == UsbReplyKind::silence) return; // the client times out and unlinks it
    if (reply.kind == UsbReplyKind::stall) {
        ledger_.answer({.sequence = command.sequence, .status = UrbStatus::stalled});
        return;
    }
    const std::size_t delivered = std::min<std::size_t>(reply.data.size(), command.bufferLength);
    const std::size_t moved = command.in ? delivered : out.size();
    const auto data = command.in ? std::span(reply.data).first(delivered) : std::span<const std::uint8_t>();
    ledger_.answer({.sequence = command.sequence, .actualLength = static_cast<std::uint32_t>(moved)}, data);
}

// A device that leaves its bus loses its configuration; this request replaces the bus reset, which happens on
// the client's side only.
void DeviceConnection::deconfigure() {
    constexpr std::uint8_t setConfiguration = 9;
    gadget_->control({.bRequest = setConfiguration}, {});
}

} // namespace tavelo::usbip
