// SPDX-License-Identifier: MIT
// The formats of a shared camera, in PipeWire's words.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include <spa/pod/pod.h>

#include "platform/linux/pictures/shared_picture.h"
#include "platform/linux/pipewire/camera_rate.h"

namespace tavelo {

/// What a shared camera offers.
struct ShareOffer {
    FrameSize size; ///< both sides even
    FrameRate rate;

    friend bool operator==(const ShareOffer&, const ShareOffer&) = default;
};

/// Parameters of a stream, and the memory that they are in.
class ShareParameters {
public:
    /// The formats to choose from, the cheapest first: one for each layout.
    explicit ShareParameters(const ShareOffer& offer);
    /// Of buffers for a format that was chosen.
    explicit ShareParameters(const SharedLayout& layout);
    ShareParameters(const ShareParameters&) = delete;
    ShareParameters& operator=(const ShareParameters&) = delete;

    std::span<const spa_pod*> pods() { return std::span(pods_).first(count_); }

private:
    alignas(8) std::array<std::uint8_t, 2048> memory_{};
    std::array<const spa_pod*, 4> pods_{};
    std::size_t count_ = 0;
};

/// Nothing if the format is none that was offered.
std::optional<SharedLayout> layoutOf(const spa_pod& format);

} // namespace tavelo
