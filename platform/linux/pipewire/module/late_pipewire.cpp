// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/module/late_pipewire.h"

#include <string>
#include <utility>

#include "platform/linux/late_module.h"
#include "platform/linux/pipewire/module/pipewire_socket.h"

namespace tavelo {

LatePipewire::LatePipewire(Diagnostics& diagnostics, AskForPipewire ask)
    : LatePipewire(diagnostics, std::move(ask), moduleFile(pipewireModuleFile)) {}

LatePipewire::LatePipewire(Diagnostics& diagnostics, AskForPipewire ask, std::filesystem::path module)
    : diagnostics_(diagnostics),
      ask_(std::move(ask)),
      module_(std::move(module)) {}

std::shared_ptr<PipewirePlatform> LatePipewire::get() {
    const std::lock_guard lock(mutex_);
    if (platform_ || failed_ || (!ask_ && !pipewireMayRun())) return platform_;
    std::string reason;
    if (void* const function = loadModule(module_, pipewireModuleFunction, reason); function != nullptr) {
        reinterpret_cast<PipewireModuleFunction*>(function)(TAVELO_VERSION, diagnostics_, ask_, platform_);
        if (!platform_) reason = otherVersionText(module_);
    }
    failed_ = !platform_;
    if (failed_) diagnostics_.report("PipeWire", "not used: " + reason);
    return platform_;
}

} // namespace tavelo
