// SPDX-License-Identifier: MIT
// A recorder that stops by itself.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "video/kt_asset_writer_manager.h"

namespace tavelo {

/// Records so many seconds of the camera's own time: the frames from the first one on that lie within them.
/// Threads as the recorder's.
class TimedRecorder final : public KTAssetWriterManager {
public:
    /// @param duration absent: until somebody stops it
    TimedRecorder(std::shared_ptr<AssetWriterPlatform> platform,
                  std::optional<std::chrono::duration<double>> duration);

    void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) override;

private:
    const std::optional<std::chrono::duration<double>> duration_;
    std::optional<double> begin_; // in seconds of the capture clock, as
    double last_ = 0;             // the last frame's time
};

} // namespace tavelo
