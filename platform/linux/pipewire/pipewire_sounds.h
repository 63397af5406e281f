// SPDX-License-Identifier: MIT
// The microphones of this session.
#pragma once

#include <functional>
#include <memory>

#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/sound_source.h"

namespace tavelo {

/// @param session makes or shares the connection, or returns null; any thread
std::shared_ptr<SoundPlatform> makePipewireSounds(std::function<std::shared_ptr<PipewireSession>()> session);

} // namespace tavelo
