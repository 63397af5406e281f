// SPDX-License-Identifier: MIT
// The way to PipeWire for a program in a sandbox, which cannot connect by itself.
#pragma once

#include <functional>

#include "platform/common/file_descriptor.h"

namespace tavelo {

struct PipewireGrant {
    FileDescriptor remote; ///< a connection; none if there is no grant
    bool refused = false;  ///< the user does not allow the camera, or has not answered yet
};

/// Called on any thread, again and again while there is no connection.  Empty: the program may connect by
/// itself.
using AskForPipewire = std::function<PipewireGrant()>;

} // namespace tavelo
