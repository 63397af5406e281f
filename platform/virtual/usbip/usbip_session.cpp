// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/usbip_session.h"

#include <array>
#include <chrono>
#include <utility>

#include "platform/virtual/usbip/device_connection.h"

namespace tavelo::usbip {
namespace {

/// A client that connects and sends nothing must not hold a connection forever.
constexpr std::chrono::seconds operationLimit{10};
/// The same for a client that stops reading in the middle of an answer.
constexpr std::chrono::seconds writeLimit{30};

} // namespace

UsbipSession::UsbipSession(FileDescriptor connection, DeviceDirectory& directory)
    : socket_(std::move(connection)),
      directory_(directory) {}

void UsbipSession::run() {
    socket_.limitReads(operationLimit);
    socket_.limitWrites(writeLimit);
    serveOperation();
    socket_.shutdown();
}

void UsbipSession::serveOperation() {
    std::array<std::uint8_t, operationHeaderSize> bytes{};
    if (!socket_.read(bytes)) return;
    const OperationHeader header = decodeOperation(bytes);
    if (header.version != protocolVersion) return;
    if (header.code == requestDeviceList)
        socket_.write({encodeDeviceList(directory_.exportedDevices())});
    else if (header.code == requestImport)
        serveImport();
}

void UsbipSession::serveImport() {
    std::array<std::uint8_t, busIdSize> bytes{};
    if (!socket_.read(bytes)) return;
    const std::string busId = decodeBusId(bytes);
    const DeviceDirectory::Claim claim = directory_.claim(busId, *this);
    if (claim.status != OperationStatus::ok) {
        socket_.write({encodeImportReply(claim.status, nullptr)});
        return;
    }
    const ExportedDevice device = describe(*claim.gadget, busId);
    if (socket_.write({encodeImportReply(OperationStatus::ok, &device)})) {
        socket_.limitReads(std::chrono::milliseconds(0));
        serveTransfers(claim.gadget);
    }
    directory_.release(busId, *this);
}

void UsbipSession::serveTransfers(const std::shared_ptr<UsbGadget>& gadget) {
    DeviceConnection connection(socket_, gadget);
    while (connection.serveCommand()) {
    }
    // Tell the client at once, even if the device is still busy with its last request.
    socket_.shutdown();
}

} // namespace tavelo::usbip
