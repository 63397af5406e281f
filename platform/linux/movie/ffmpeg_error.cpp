// SPDX-License-Identifier: MIT
#include "platform/linux/movie/ffmpeg_error.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>
#include <cerrno>
#include <system_error>

namespace tavelo {
namespace {

// FFmpeg's own codes consist of four letters and are larger than any errno.
constexpr int largestErrno = 4095;

ErrorCode codeOf(int number) {
    switch (number) {
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
            return ErrorCode::gone;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
        case EEXIST:
            return ErrorCode::refused;
        default:
            return ErrorCode::invalid;
    }
}

} // namespace

Error ffmpegError(int code, const std::string& what) {
    if (const int number = AVUNERROR(code); number > 0 && number <= largestErrno)
        return fileError(number, what);
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return {ErrorCode::invalid, what + ": " + text.data(), "FFmpeg"};
}

Error fileError(int number, const std::string& what) {
    return {codeOf(number), what + ": " + std::generic_category().message(number), "file system"};
}

Error movieError(ErrorCode code, const std::string& text) {
    return {code, text, "movie writer"};
}

} // namespace tavelo
