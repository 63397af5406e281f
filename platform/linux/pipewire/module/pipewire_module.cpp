// SPDX-License-Identifier: MIT
#include <string_view>
#include <type_traits>

#include "platform/linux/pipewire/library_platform.h"
#include "platform/linux/pipewire/module/pipewire_platform.h"

// A result could not be returned: a function with C's name may not return a class.
extern "C" __attribute__((visibility("default"))) void taveloMakePipewire(
    const char* version, tavelo::Diagnostics& diagnostics, const tavelo::AskForPipewire& ask,
    std::shared_ptr<tavelo::PipewirePlatform>& made) {
    if (std::string_view(version) == TAVELO_VERSION) made = tavelo::makePipewirePlatform(diagnostics, ask);
}

static_assert(std::is_same_v<decltype(taveloMakePipewire), tavelo::PipewireModuleFunction>);
