// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_errors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

namespace tavelo::test {
namespace {

TEST(LibusbErrors, AResultIsNoneFromZeroOn) {
    for (const int result : {0, 1, 64}) {
        EXPECT_EQ(errorCodeOf(result), ErrorCode::none);
        EXPECT_EQ(errorOf(result).code, ErrorCode::none);
        EXPECT_TRUE(errorOf(result).text.empty());
    }
}

TEST(LibusbErrors, EveryErrorOfLibusbHasItsWordAndASentence) {
    for (const auto& [result, expected] : {
             std::pair{LIBUSB_ERROR_PIPE, ErrorCode::refused},
             {LIBUSB_ERROR_TIMEOUT, ErrorCode::timeout},
             {LIBUSB_ERROR_NO_DEVICE, ErrorCode::gone},
             {LIBUSB_ERROR_BUSY, ErrorCode::busy},
             {LIBUSB_ERROR_ACCESS, ErrorCode::denied},
             {LIBUSB_ERROR_NOT_FOUND, ErrorCode::invalid},
             {LIBUSB_ERROR_IO, ErrorCode::failed},
             {LIBUSB_ERROR_INVALID_PARAM, ErrorCode::failed},
             {LIBUSB_ERROR_OVERFLOW, ErrorCode::failed},
             {LIBUSB_ERROR_INTERRUPTED, ErrorCode::failed},
             {LIBUSB_ERROR_NO_MEM, ErrorCode::failed},
             {LIBUSB_ERROR_NOT_SUPPORTED, ErrorCode::failed},
             {LIBUSB_ERROR_OTHER, ErrorCode::failed},
         }) {
        EXPECT_EQ(errorCodeOf(int{result}), expected) << result;
        EXPECT_EQ(errorOf(result).code, expected) << result;
        EXPECT_EQ(errorOf(result).text, libusb_strerror(result));
    }
}

TEST(LibusbErrors, EveryEndOfATransferHasItsWord) {
    for (const auto& [status, expected] : {
             std::pair{LIBUSB_TRANSFER_COMPLETED, ErrorCode::none},
             {LIBUSB_TRANSFER_STALL, ErrorCode::refused},
             {LIBUSB_TRANSFER_NO_DEVICE, ErrorCode::gone},
             {LIBUSB_TRANSFER_TIMED_OUT, ErrorCode::timeout},
             {LIBUSB_TRANSFER_ERROR, ErrorCode::failed},
             {LIBUSB_TRANSFER_CANCELLED, ErrorCode::failed},
             {LIBUSB_TRANSFER_OVERFLOW, ErrorCode::failed},
         })
        EXPECT_EQ(errorCodeOf(status), expected) << status;
}

TEST(LibusbErrors, ANodeThatCannotBeOpenedTellsWhy) {
    for (const auto& [error, expected] : {
             std::pair{EACCES, ErrorCode::denied},
             {EPERM, ErrorCode::denied},
             {ENOENT, ErrorCode::gone},
             {ENODEV, ErrorCode::gone},
             {ENXIO, ErrorCode::gone},
             {EBUSY, ErrorCode::busy},
             {EMFILE, ErrorCode::failed},
         }) {
        EXPECT_EQ(openErrorOf(error).code, expected) << error;
        EXPECT_FALSE(openErrorOf(error).text.empty());
    }
}

} // namespace
} // namespace tavelo::test
