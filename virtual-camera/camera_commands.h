// SPDX-License-Identifier: MIT
// Orders to the virtual cameras, as lines of text.
#pragma once

#include <string>
#include <string_view>

#include "virtual-camera/served_cameras.h"

namespace tavelo {

/// Executes one order and answers with one line: "ok", followed by values if the order asks for some, or
/// "error" and the reason.  CAMERA counts from 1; CONTROL is a name such as "brightness" or "panTilt" (whose
/// value is two numbers, pan and tilt).  Second video functions count on after the last device and are
/// plugged and unplugged with it.  Faults stay until they are cleared.
///
///     get CAMERA CONTROL                           the camera's own value
///     set CAMERA CONTROL VALUE...                  changes it without the host
///     limits CAMERA CONTROL                        minimum, maximum, step, default
///     stall CAMERA CONTROL [reads|writes] [CODE]   refuses, with a request error code
///     silence CAMERA CONTROL [reads|writes]        does not answer
///     short CAMERA CONTROL BYTES                   reads return only this many bytes
///     delay CAMERA MILLISECONDS [CONTROL]          answers late
///     clear CAMERA                                 ends all faults
///     vanish CAMERA                                unplugs it
///     plug CAMERA                                  plugs it in again, as new
///     status CAMERA                                "gone", "free" or "attached", and the stream that runs
///
/// Thread-safe.
class CameraCommands {
public:
    explicit CameraCommands(ServedCameras& cameras) : cameras_(cameras) {}

    std::string execute(std::string_view line);

private:
    ServedCameras& cameras_;
};

} // namespace tavelo
