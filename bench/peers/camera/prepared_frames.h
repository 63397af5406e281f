// SPDX-License-Identifier: MIT
// The frames of one mode, made before anybody looks.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "bench/peers/link/camera_mode.h"

namespace tavelo::bench {

/// A scene that moves to and fro, with a camera's noise and the frame's number: frameCodes frames in the
/// mode's format, one after the other.  Immutable, thread-safe.
class PreparedFrames {
public:
    explicit PreparedFrames(CameraMode mode);

    /// With the size of its largest frame.
    const CameraMode& mode() const { return mode_; }
    std::span<const std::uint8_t> frame(std::uint32_t sequence) const;

private:
    CameraMode mode_;
    std::vector<std::vector<std::uint8_t>> frames_;
};

} // namespace tavelo::bench
