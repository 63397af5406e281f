// SPDX-License-Identifier: MIT
#include "platform/linux/file_error.h"

#include <system_error>

namespace tavelo {

ErrorCode errorCodeOfErrno(int errorNumber) {
    switch (errorNumber) {
        case 0:
            return ErrorCode::none;
        case EACCES:
        case EPERM:
        case EROFS:
            return ErrorCode::denied;
        case EBUSY:
        case ETXTBSY:
            return ErrorCode::busy;
        case EIO:
        case ENODEV:
        case ENXIO:
        case ESHUTDOWN:
            return ErrorCode::gone;
        case ETIMEDOUT:
        case ETIME:
            return ErrorCode::timeout;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
        case EEXIST:
            return ErrorCode::refused;
        default:
            return ErrorCode::failed;
    }
}

Error fileError(int errorNumber) {
    return {errorCodeOfErrno(errorNumber), std::generic_category().message(errorNumber), "file system"};
}

Error fileError(int errorNumber, const std::string& what) {
    Error error = fileError(errorNumber);
    error.text = what + ": " + error.text;
    return error;
}

} // namespace tavelo
