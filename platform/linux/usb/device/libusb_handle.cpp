// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_handle.h"

#include <fcntl.h>
#include <libusb.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/common/file_descriptor.h"
#include "platform/linux/usb/device/libusb_errors.h"

namespace tavelo {
namespace {

struct FreeTransfer {
    void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
};

class LibusbTransfer final : public UsbTransfer {
public:
    using Made = std::unique_ptr<libusb_transfer, FreeTransfer>;

    LibusbTransfer(Made transfer, libusb_device_handle* handle, const UsbTransferShape& shape,
                   UsbTransferListener& listener)
        : shape_(shape),
          listener_(listener),
          transfer_(std::move(transfer)),
          bytes_(shape.length()),
          packets_(shape.isochronous ? shape.packets : 1) {
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
    const Made transfer_;
    std::vector<std::uint8_t> bytes_;
    std::vector<UsbPacket> packets_;
};

struct CloseHandle {
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};

class LibusbHandle final : public UsbHandle {
public:
    LibusbHandle(libusb_context* context, FileDescriptor node, libusb_device_handle* handle)
        : context_(context),
          node_(std::move(node)),
          handle_(handle) {}

    UsbResult request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                      std::chrono::milliseconds patience) override {
        const int result = libusb_control_transfer(
            handle_.get(), setup.requestType, setup.request, setup.value, setup.index, data.data(),
            static_cast<std::uint16_t>(data.size()), static_cast<unsigned>(patience.count()));
        return {errorCodeOf(result), static_cast<std::size_t>(std::max(result, 0))};
    }

    Error detachKernelDriver(std::uint8_t interface) override {
        return errorOf(libusb_detach_kernel_driver(handle_.get(), interface));
    }
    Error attachKernelDriver(std::uint8_t interface) override {
        return errorOf(libusb_attach_kernel_driver(handle_.get(), interface));
    }
    Error claimInterface(std::uint8_t interface) override {
        return errorOf(libusb_claim_interface(handle_.get(), interface));
    }
    void releaseInterface(std::uint8_t interface) override {
        libusb_release_interface(handle_.get(), interface);
    }

    ErrorCode setAlternate(std::uint8_t interface, std::uint8_t alternate) override {
        return errorCodeOf(libusb_set_interface_alt_setting(handle_.get(), interface, alternate));
    }
    ErrorCode clearHalt(std::uint8_t endpoint) override {
        return errorCodeOf(libusb_clear_halt(handle_.get(), endpoint));
    }

    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                              UsbTransferListener& listener) override {
        LibusbTransfer::Made transfer(libusb_alloc_transfer(shape.isochronous ? int(shape.packets) : 0));
        if (!transfer) return nullptr;
        return std::make_unique<LibusbTransfer>(std::move(transfer), handle_.get(), shape, listener);
    }

    ErrorCode handleEvents(std::chrono::milliseconds atMost) override {
        timeval time{time_t(atMost.count() / 1000), suseconds_t(atMost.count() % 1000 * 1000)};
        const int result = libusb_handle_events_timeout_completed(context_, &time, nullptr);
        return result == LIBUSB_ERROR_INTERRUPTED ? ErrorCode::none : errorCodeOf(result);
    }

private:
    libusb_context* const context_;
    const FileDescriptor node_; // before the handle, which uses it until it is closed
    const std::unique_ptr<libusb_device_handle, CloseHandle> handle_;
};

} // namespace

// Opens the node itself, so that libusb never marks the device as gone.  If an alternate setting is chosen
// of a device marked as gone, libusb 1.0.26 unlocks a lock that it has not taken, and aborts the program
// when the handle is closed.  The kernel reports a missing device all the same.
std::unique_ptr<UsbHandle> openLibusbHandle(libusb_context* context, const UsbAddress& address,
                                            Error& error) {
    FileDescriptor node(::open(address.path().c_str(), O_RDWR | O_CLOEXEC));
    if (!node.isOpen()) {
        error = openErrorOf(errno);
        return nullptr;
    }
    libusb_device_handle* handle = nullptr;
    error = errorOf(libusb_wrap_sys_device(context, node.get(), &handle));
    if (error.code != ErrorCode::none) return nullptr;
    return std::make_unique<LibusbHandle>(context, std::move(node), handle);
}

} // namespace tavelo
