// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_transfer.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/linux/usb/device/libusb_errors.h"

namespace tavelo {
namespace {

struct FreeTransfer {
    void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
};

class LibusbTransfer final : public UsbTransfer {
public:
    LibusbTransfer(libusb_device_handle* handle, const UsbTransferShape& shape, UsbTransferListener& listener)
        : shape_(shape),
          listener_(listener),
          transfer_(libusb_alloc_transfer(shape.isochronous ? int(shape.packets) : 0)),
          bytes_(shape.length()),
          packets_(shape.isochronous ? shape.packets : 1) {
        if (!transfer_) return;
        const int length = int(bytes_.size());
        if (shape.isochronous) {
            libusb_fill_iso_transfer(transfer_.get(), handle, shape.endpoint, bytes_.data(), length,
                                     int(shape.packets), ended, this, 0);
            libusb_set_iso_packet_lengths(transfer_.get(), shape.packetSize);
        } else {
            libusb_fill_bulk_transfer(transfer_.get(), handle, shape.endpoint, bytes_.data(), length, ended,
                                      this, 0);
        }
    }

    bool isMade() const { return transfer_ != nullptr; }

    ErrorCode submit() override { return errorCodeOf(libusb_submit_transfer(transfer_.get())); }
    void cancel() override { libusb_cancel_transfer(transfer_.get()); }

private:
    static void LIBUSB_CALL ended(libusb_transfer* transfer) {
        static_cast<LibusbTransfer*>(transfer->user_data)->tell();
    }

    void tell() {
        const bool whole = transfer_->status == LIBUSB_TRANSFER_COMPLETED;
        if (!shape_.isochronous) {
            const auto size = std::size_t(std::max(transfer_->actual_length, 0));
            packets_[0] = {std::span(bytes_).first(std::min(size, bytes_.size())), !whole};
        }
        for (std::size_t i = 0; shape_.isochronous && i < packets_.size(); ++i) {
            const libusb_iso_packet_descriptor& told = transfer_->iso_packet_desc[i];
            const std::size_t size = std::min(told.actual_length, shape_.packetSize);
            packets_[i] = {std::span(bytes_).subspan(i * shape_.packetSize, size),
                           !whole || told.status != LIBUSB_TRANSFER_COMPLETED};
        }
        listener_.transferEnded(*this, errorCodeOf(transfer_->status), packets_);
    }

    const UsbTransferShape shape_;
    UsbTransferListener& listener_;
    const std::unique_ptr<libusb_transfer, FreeTransfer> transfer_;
    std::vector<std::uint8_t> bytes_;
    std::vector<UsbPacket> packets_;
};

} // namespace

std::unique_ptr<UsbTransfer> makeLibusbTransfer(libusb_device_handle* handle, const UsbTransferShape& shape,
                                                UsbTransferListener& listener) {
    auto transfer = std::make_unique<LibusbTransfer>(handle, shape, listener);
    if (!transfer->isMade()) return nullptr;
    return transfer;
}

} // namespace tavelo
