// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/libusb_stream_port.h"

#include <libusb.h>
#include <sys/time.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/uvc/uvc_protocol.h"

namespace tavelo {
namespace {

// Some cameras wake their sensor before they answer a probe or a commit.
constexpr unsigned requestMilliseconds = 5000;

UsbPortStatus statusOf(int error) {
    switch (error) {
        case LIBUSB_SUCCESS:
            return UsbPortStatus::ok;
        case LIBUSB_ERROR_PIPE:
            return UsbPortStatus::stalled;
        case LIBUSB_ERROR_TIMEOUT:
            return UsbPortStatus::timedOut;
        case LIBUSB_ERROR_NO_DEVICE:
            return UsbPortStatus::gone;
        case LIBUSB_ERROR_BUSY:
            return UsbPortStatus::busy;
        case LIBUSB_ERROR_ACCESS:
            return UsbPortStatus::denied;
        default:
            return UsbPortStatus::failed;
    }
}

UsbPortStatus statusOf(libusb_transfer_status status) {
    switch (status) {
        case LIBUSB_TRANSFER_COMPLETED:
            return UsbPortStatus::ok;
        case LIBUSB_TRANSFER_STALL:
            return UsbPortStatus::stalled;
        case LIBUSB_TRANSFER_NO_DEVICE:
            return UsbPortStatus::gone;
        case LIBUSB_TRANSFER_TIMED_OUT:
            return UsbPortStatus::timedOut;
        default:
            return UsbPortStatus::failed;
    }
}

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

    UsbPortStatus submit() override { return statusOf(libusb_submit_transfer(transfer_.get())); }
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
        listener_.transferEnded(*this, statusOf(transfer_->status), packets_);
    }

    const UsbTransferShape shape_;
    UsbTransferListener& listener_;
    const std::unique_ptr<libusb_transfer, FreeTransfer> transfer_;
    std::vector<std::uint8_t> bytes_;
    std::vector<UsbPacket> packets_;
};

class LibusbStreamPort final : public UsbStreamPort {
public:
    explicit LibusbStreamPort(UsbStreamAccess access) : access_(std::move(access)) {}

    UsbPortStatus request(const UsbStreamRequest& request, std::size_t& done) override {
        const bool in = (request.code & uvc::directionIn) != 0;
        const int result = libusb_control_transfer(
            access_.handle, in ? uvc::classInterfaceIn : uvc::classInterfaceOut, request.code,
            static_cast<std::uint16_t>(request.selector << 8U), access_.streamingInterface,
            request.data.data(), static_cast<std::uint16_t>(request.data.size()), requestMilliseconds);
        done = std::size_t(std::max(result, 0));
        return statusOf(std::min(result, 0));
    }

    UsbPortStatus setAlternate(std::uint8_t alternate) override {
        return statusOf(
            libusb_set_interface_alt_setting(access_.handle, access_.streamingInterface, alternate));
    }

    UsbPortStatus clearHalt(std::uint8_t endpoint) override {
        return statusOf(libusb_clear_halt(access_.handle, endpoint));
    }

    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                              UsbTransferListener& listener) override {
        auto transfer = std::make_unique<LibusbTransfer>(access_.handle, shape, listener);
        if (!transfer->isMade()) return nullptr;
        return transfer;
    }

    UsbPortStatus handleEvents(std::chrono::milliseconds atMost) override {
        timeval time{time_t(atMost.count() / 1000), suseconds_t(atMost.count() % 1000 * 1000)};
        const int result = libusb_handle_events_timeout_completed(access_.context, &time, nullptr);
        return result == LIBUSB_ERROR_INTERRUPTED ? UsbPortStatus::ok : statusOf(result);
    }

private:
    const UsbStreamAccess access_;
};

} // namespace

std::unique_ptr<UsbStreamPort> makeLibusbStreamPort(UsbStreamAccess access) {
    return std::make_unique<LibusbStreamPort>(std::move(access));
}

} // namespace tavelo
