// SPDX-License-Identifier: MIT
// A file with one line for each class request that a camera answered.
#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>

#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Lines of the form
///
///     TIME CAMERA bmRequestType bRequest wValue wIndex wLength DATA OUTCOME
///
/// TIME is in seconds of the monotonic clock; numbers are hexadecimal except TIME, CAMERA and wLength; DATA
/// is hexadecimal in wire order, or "-"; OUTCOME is "ok", "stall:" and the request error code, or "silence".
/// Each line is in the file when the camera's answer goes out.
///
/// Thread-safe.
class RequestLog {
public:
    /// Appends to the file; isOpen() is false if that is not possible.
    explicit RequestLog(const std::string& path) : file_(path, std::ios::app) {}

    bool isOpen() const { return file_.is_open(); }

    void write(int camera, const RequestRecord& record);

private:
    std::mutex mutex_; // guards file_
    std::ofstream file_;
};

/// The line without its time and its line break.
std::string describeRequest(int camera, const RequestRecord& record);

} // namespace tavelo
