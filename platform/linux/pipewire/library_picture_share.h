// SPDX-License-Identifier: MIT
// Shares pictures as a camera of PipeWire's.
#pragma once

#include <memory>
#include <string>

#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/picture_share.h"

namespace tavelo {

/// The camera comes back when the daemon does.
std::shared_ptr<PictureShare> makePipewirePictureShare(std::shared_ptr<PipewireSession> session,
                                                       const std::string& cameraName);

} // namespace tavelo
