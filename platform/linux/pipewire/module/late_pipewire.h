// SPDX-License-Identifier: MIT
// PipeWire, whose library is loaded when its daemon may be there.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/diagnostics.h"
#include "platform/linux/pipewire/module/pipewire_platform.h"

namespace tavelo {

/// Thread-safe.
class LatePipewire {
public:
    /// @param diagnostics must outlive this object and all that comes from it
    /// @param ask for the connection, if the program cannot connect by itself
    explicit LatePipewire(Diagnostics& diagnostics, AskForPipewire ask = {});
    LatePipewire(Diagnostics& diagnostics, AskForPipewire ask, std::filesystem::path module);

    /// Null if there is no daemon's socket, which takes microseconds to see, or if the module cannot be
    /// loaded, which is reported once.  The first call that finds a socket loads the module, in about 10 ms.
    /// In a sandbox there need not be a socket.
    std::shared_ptr<PipewirePlatform> get();

private:
    Diagnostics& diagnostics_;
    const AskForPipewire ask_;
    const std::filesystem::path module_;
    std::mutex mutex_; // guards the rest
    std::shared_ptr<PipewirePlatform> platform_;
    bool failed_ = false;
};

} // namespace tavelo
