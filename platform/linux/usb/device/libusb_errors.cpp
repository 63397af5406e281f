// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_errors.h"

#include <cerrno>

namespace tavelo {

ErrorCode errorCodeOf(int result) {
    if (result >= 0) return ErrorCode::none;
    switch (result) {
        case LIBUSB_ERROR_PIPE:
            return ErrorCode::refused;
        case LIBUSB_ERROR_TIMEOUT:
            return ErrorCode::timeout;
        case LIBUSB_ERROR_NO_DEVICE:
            return ErrorCode::gone;
        case LIBUSB_ERROR_BUSY:
            return ErrorCode::busy;
        case LIBUSB_ERROR_ACCESS:
            return ErrorCode::denied;
        case LIBUSB_ERROR_NOT_FOUND:
            return ErrorCode::invalid;
        default:
            return ErrorCode::failed;
    }
}

ErrorCode errorCodeOf(libusb_transfer_status status) {
    switch (status) {
        case LIBUSB_TRANSFER_COMPLETED:
            return ErrorCode::none;
        case LIBUSB_TRANSFER_STALL:
            return ErrorCode::refused;
        case LIBUSB_TRANSFER_NO_DEVICE:
            return ErrorCode::gone;
        case LIBUSB_TRANSFER_TIMED_OUT:
            return ErrorCode::timeout;
        default:
            return ErrorCode::failed;
    }
}

Error errorOf(int result) {
    if (result >= 0) return {};
    return {errorCodeOf(result), libusb_strerror(result)};
}

Error openErrorOf(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return errorOf(LIBUSB_ERROR_ACCESS);
        case ENOENT:
        case ENODEV:
        case ENXIO:
            return errorOf(LIBUSB_ERROR_NO_DEVICE);
        case EBUSY:
            return errorOf(LIBUSB_ERROR_BUSY);
        default:
            return errorOf(LIBUSB_ERROR_IO);
    }
}

} // namespace tavelo
