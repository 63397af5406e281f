// SPDX-License-Identifier: MIT
// Ownership of libusb's objects.
#pragma once

#include <libusb.h>

#include <cstddef>
#include <memory>
#include <span>

namespace tavelo {

struct LibusbRelease {
    void operator()(libusb_context* context) const { libusb_exit(context); }
    void operator()(libusb_config_descriptor* descriptor) const { libusb_free_config_descriptor(descriptor); }
};

using LibusbContext = std::unique_ptr<libusb_context, LibusbRelease>;
using LibusbConfiguration = std::unique_ptr<libusb_config_descriptor, LibusbRelease>;

/// A snapshot of the devices on the bus; empty if they cannot be listed.  Must not outlive the context.
class LibusbDeviceList {
public:
    explicit LibusbDeviceList(libusb_context* context) {
        const ssize_t count = libusb_get_device_list(context, &list_);
        if (count > 0) count_ = static_cast<std::size_t>(count);
    }
    ~LibusbDeviceList() {
        if (list_ != nullptr) libusb_free_device_list(list_, 1);
    }
    LibusbDeviceList(const LibusbDeviceList&) = delete;
    LibusbDeviceList& operator=(const LibusbDeviceList&) = delete;

    std::span<libusb_device* const> devices() const { return {list_, count_}; }

private:
    libusb_device** list_ = nullptr;
    std::size_t count_ = 0;
};

} // namespace tavelo
