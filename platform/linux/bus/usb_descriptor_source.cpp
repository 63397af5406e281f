// SPDX-License-Identifier: MIT
#include "platform/linux/bus/usb_descriptor_source.h"

#include <span>
#include <vector>

#include "platform/linux/bus/libusb_handles.h"
#include "platform/uvc/little_endian.h"

namespace tavelo {

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes deviceBytes(const libusb_device_descriptor& from) {
    return {from.bLength,
            from.bDescriptorType,
            lowByte(from.bcdUSB),
            highByte(from.bcdUSB),
            from.bDeviceClass,
            from.bDeviceSubClass,
            from.bDeviceProtocol,
            from.bMaxPacketSize0,
            lowByte(from.idVendor),
            highByte(from.idVendor),
            lowByte(from.idProduct),
            highByte(from.idProduct),
            lowByte(from.bcdDevice),
            highByte(from.bcdDevice),
            from.iManufacturer,
            from.iProduct,
            from.iSerialNumber,
            from.bNumConfigurations};
}

void append(Bytes& bytes, const unsigned char* extra, int length) {
    if (extra != nullptr && length > 0) bytes.insert(bytes.end(), extra, extra + length);
}

// libusb splits up the configuration; this restores the bytes that the descriptor parser reads, with the
// class's own descriptors byte for byte.  Endpoints are left out.
Bytes configurationBytes(const libusb_config_descriptor& from) {
    Bytes bytes{from.bLength,
                from.bDescriptorType,
                lowByte(from.wTotalLength),
                highByte(from.wTotalLength),
                from.bNumInterfaces,
                from.bConfigurationValue,
                from.iConfiguration,
                from.bmAttributes,
                from.MaxPower};
    append(bytes, from.extra, from.extra_length);
    for (const libusb_interface& interface : std::span(from.interface, from.bNumInterfaces)) {
        if (interface.altsetting == nullptr || interface.num_altsetting <= 0) continue;
        for (const libusb_interface_descriptor& setting :
             std::span(interface.altsetting, static_cast<std::size_t>(interface.num_altsetting))) {
            bytes.insert(bytes.end(),
                         {std::uint8_t{9}, setting.bDescriptorType, setting.bInterfaceNumber,
                          setting.bAlternateSetting, setting.bNumEndpoints, setting.bInterfaceClass,
                          setting.bInterfaceSubClass, setting.bInterfaceProtocol, setting.iInterface});
            append(bytes, setting.extra, setting.extra_length);
        }
    }
    return bytes;
}

class LibusbDescriptorSource final : public UsbDescriptorSource {
public:
    explicit LibusbDescriptorSource(LibusbContext context) : context_(std::move(context)) {}

    UsbDescriptorSnapshot snapshot() override {
        UsbDescriptorSnapshot found;
        const LibusbDeviceList list(context_.get());
        for (libusb_device* device : list.devices()) {
            libusb_device_descriptor descriptor{};
            if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS) continue;
            UsbDescriptors descriptors{deviceBytes(descriptor), {}};
            libusb_config_descriptor* active = nullptr;
            if (libusb_get_active_config_descriptor(device, &active) == LIBUSB_SUCCESS) {
                const LibusbConfiguration configuration(active);
                descriptors.configuration = configurationBytes(*configuration);
            }
            found[{libusb_get_bus_number(device), libusb_get_device_address(device)}] =
                std::move(descriptors);
        }
        return found;
    }

private:
    LibusbContext context_;
};

} // namespace

std::unique_ptr<UsbDescriptorSource> makeLibusbDescriptorSource() {
    libusb_context* context = nullptr;
    if (libusb_init(&context) != LIBUSB_SUCCESS) return nullptr;
    return std::make_unique<LibusbDescriptorSource>(LibusbContext(context));
}

} // namespace tavelo
