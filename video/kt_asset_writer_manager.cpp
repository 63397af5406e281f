// SPDX-License-Identifier: MIT
#include "video/kt_asset_writer_manager.h"

namespace tavelo {

void KTAssetWriterManager::recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>&,
                                                                 const MediaTime&) {}

} // namespace tavelo
