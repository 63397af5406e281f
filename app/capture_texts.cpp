// SPDX-License-Identifier: MIT
#include "app/capture_texts.h"

#include <array>
#include <charconv>

#include "video/kt_display_view.h"

namespace tavelo {

Error streamTrouble(const KTDisplayView& view, CaptureDevice& camera) {
    if (const auto input = view.videoCaptureDeviceInput()) return input->trouble();
    Error error; // no input could be made, and the view does not report why
    camera.makeInput(error);
    return error;
}

bool cameraIsUnavailable(const KTDisplayView& view) {
    const auto input = view.videoCaptureDeviceInput();
    const ErrorCode code = input ? input->trouble().code : ErrorCode::invalid;
    return !input || code == ErrorCode::busy || code == ErrorCode::denied;
}

std::string noPictureReason(const Error& trouble) {
    if (trouble.text.empty()) return "the camera delivers no picture";
    if (trouble.code == ErrorCode::busy) return "the camera is " + trouble.text;
    return "the camera delivers no picture: " + trouble.text;
}

std::string stateOfUnfinishedFile(const Error& error) {
    if (!error.kept) return "not written";
    std::array<char, 32> seconds{};
    const char* const end =
        std::to_chars(seconds.begin(), seconds.end(), error.kept->count(), std::chars_format::fixed, 1).ptr;
    return "kept the first " + std::string(seconds.data(), static_cast<std::size_t>(end - seconds.data())) +
           " s";
}

} // namespace tavelo
