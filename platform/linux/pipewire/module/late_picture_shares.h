// SPDX-License-Identifier: MIT
// Shared pictures, for which PipeWire is loaded when the first one is shared.
#pragma once

#include <memory>

#include "platform/linux/pipewire/module/late_pipewire.h"
#include "platform/picture_share.h"

namespace tavelo {

/// Never null.
std::shared_ptr<PictureSharePlatform> makeLatePictureShares(std::shared_ptr<LatePipewire> pipewire);

} // namespace tavelo
