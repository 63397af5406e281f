// SPDX-License-Identifier: MIT
// Finds a format that both the camera and the bus accept.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/usb/stream/streaming_descriptors.h"

namespace tavelo {

/// Proposes one format after another, the best first, and learns from each result.  Terminates: each answer
/// removes something from what is left to propose.  Reentrant.
class FormatSearch {
public:
    /// @param offers must outlive the search
    FormatSearch(const std::vector<UvcFrameOffer>& offers, const CaptureFormatRequest& request);

    struct Proposal {
        const UvcFrameOffer* offer = nullptr;
        std::uint32_t interval = 0; ///< in 100 ns
        double bytesPerSecond = 0;
    };

    /// Nothing if all were refused.
    std::optional<Proposal> best() const;

    /// The camera does not stream this format.
    void refused(const Proposal& proposal);

    /// The bus cannot carry this format; excludes everything at least as heavy.
    void tooHeavy(const Proposal& proposal);

    /// The camera would stream it at that interval.
    /// @return whether it is still the best there is
    bool accepts(const Proposal& proposal, std::uint32_t interval);

private:
    struct Entry {
        const UvcFrameOffer* offer;
        OfferedMode mode;
        bool answered = false; // the camera has told its rate
    };

    const CaptureFormatRequest request_;
    std::vector<Entry> entries_;
};

} // namespace tavelo
