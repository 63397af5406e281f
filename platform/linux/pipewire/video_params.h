// SPDX-License-Identifier: MIT
// Picture formats in PipeWire's words and in ours.
#pragma once

#include <spa/pod/pod.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_format.h"

namespace tavelo {

/// Parameters for the library, which copies what it is given.
class VideoParams {
public:
    /// A format that a stream takes: exactly this one.
    void addFormat(const FormatChoice& format);
    /// Every format that we can show, in any size and at any rate.
    void addAnyFormat();
    /// The buffers that a stream takes: whole frames, in memory that can be mapped.
    void addBuffers();
    /// What must come with each buffer.
    void addMeta(std::uint32_t type, std::size_t size);

    std::vector<const spa_pod*>& list() { return list_; }

private:
    using Memory = std::array<std::uint64_t, 64>; // more than any of these needs

    Memory& fresh();

    std::vector<std::unique_ptr<Memory>> memory_;
    std::vector<const spa_pod*> list_;
};

/// The format that a stream was given; nothing if it is none that we can show.
std::optional<FrameFormat> frameFormatOf(const spa_pod* format);

/// Adds what one entry of a node's list of formats offers.
void addOfferedModes(const spa_pod* entry, const CaptureFormatRequest& request,
                     std::vector<OfferedMode>& modes);

} // namespace tavelo
