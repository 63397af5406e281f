// SPDX-License-Identifier: MIT
// The preview's movie recorder.
#pragma once

#include <memory>

#include "platform/media_time.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Takes the corrected frames while a recording is under way.  Nothing starts one yet, so it is always idle.
/// Thread-bound to the render queue.  Virtual so that a test can watch what the renderer hands over.
class KTAssetWriterManager {
public:
    virtual ~KTAssetWriterManager() = default;

    virtual bool isRecording() const { return false; }

    /// Ignored while idle.  The next draw overwrites the pixels: what is needed after the call must be copied
    /// in it.
    virtual void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                                       const MediaTime& presentationTime);
};

} // namespace tavelo
