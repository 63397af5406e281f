// SPDX-License-Identifier: MIT
// A recorder that stops after a given time.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "video/kt_asset_writer_manager.h"

namespace tavelo {

/// Stops after the given duration, counted from the first frame by the frames' timestamps.  Threads as in
/// KTAssetWriterManager.
class TimedRecorder final : public KTAssetWriterManager {
public:
    /// @param duration absent: record until stopRecord() is called
    TimedRecorder(std::shared_ptr<AssetWriterPlatform> platform,
                  std::optional<std::chrono::duration<double>> duration);

    void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) override;
    void recordCameraFrameWithPresentationTime(const std::shared_ptr<const CameraFrame>& frame,
                                               Mirroring mirroring,
                                               const MediaTime& presentationTime) override;

private:
    bool isOver(const MediaTime& time);

    const std::optional<std::chrono::duration<double>> duration_;
    std::optional<double> begin_; // the first frame's time, in seconds of the capture clock
    double last_ = 0;             // the last frame's time, likewise
};

} // namespace tavelo
