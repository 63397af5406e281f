// SPDX-License-Identifier: MIT
// What the program uses of PipeWire, made with libpipewire.
#pragma once

#include <memory>

#include "platform/diagnostics.h"
#include "platform/linux/pipewire/module/pipewire_platform.h"

namespace tavelo {

/// @param diagnostics must outlive what is made
std::shared_ptr<PipewirePlatform> makePipewirePlatform(Diagnostics& diagnostics, AskForPipewire ask = {});

} // namespace tavelo
