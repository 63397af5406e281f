// SPDX-License-Identifier: MIT
// Soft and hard edges for the virtual camera's picture.
#pragma once

#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/picture/picture_settings.h"

namespace tavelo {

/// Applies focus and sharpness; neutral settings leave the raster alone.
void applyFocus(Raster& raster, const PictureSettings& settings);

} // namespace tavelo
