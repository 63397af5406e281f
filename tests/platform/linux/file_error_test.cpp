// SPDX-License-Identifier: MIT
#include "platform/linux/file_error.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(FileError, EachErrnoHasOneCode) {
    EXPECT_EQ(errorCodeOfErrno(0), ErrorCode::none);
    for (const int error : {EACCES, EPERM, EROFS})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::denied) << error;
    for (const int error : {EBUSY, ETXTBSY})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::busy) << error;
    for (const int error : {EIO, ENODEV, ENXIO, ESHUTDOWN})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::gone) << error;
    for (const int error : {ETIMEDOUT, ETIME})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::timeout) << error;
    for (const int error : {ENOSPC, EDQUOT, EFBIG, EEXIST})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::refused) << error;
    for (const int error : {EPROTO, EBADF, ENOTTY, EINVAL})
        EXPECT_EQ(errorCodeOfErrno(error), ErrorCode::failed) << error;
}

TEST(FileError, SaysWhatFailedAndWhy) {
    const Error plain = fileError(ENOSPC);
    EXPECT_EQ(plain.code, ErrorCode::refused);
    EXPECT_EQ(plain.text, "No space left on device");
    EXPECT_EQ(plain.domain, "file system");
    EXPECT_EQ(fileError(EACCES, "the file cannot be made").text,
              "the file cannot be made: Permission denied");
    EXPECT_EQ(fileError(EACCES, "the file cannot be made").code, ErrorCode::denied);
}

} // namespace
} // namespace tavelo
