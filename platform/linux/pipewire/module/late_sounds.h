// SPDX-License-Identifier: MIT
// Microphones, for which PipeWire's library is loaded when the first movie wants sound.
#pragma once

#include <memory>

#include "platform/linux/pipewire/module/late_pipewire.h"
#include "platform/sound_source.h"

namespace tavelo {

std::shared_ptr<SoundPlatform> makeLateSounds(std::shared_ptr<LatePipewire> pipewire);

} // namespace tavelo
