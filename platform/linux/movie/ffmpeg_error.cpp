// SPDX-License-Identifier: MIT
#include "platform/linux/movie/ffmpeg_error.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>

namespace tavelo {
namespace {

// FFmpeg's own codes consist of four letters and are larger than any errno.
constexpr int largestErrno = 4095;

} // namespace

Error ffmpegError(int code, const std::string& what) {
    if (const int number = AVUNERROR(code); number > 0 && number <= largestErrno)
        return fileError(number, what);
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return {ErrorCode::invalid, what + ": " + text.data(), "FFmpeg"};
}

Error movieError(ErrorCode code, const std::string& text) {
    return {code, text, "movie writer"};
}

} // namespace tavelo
