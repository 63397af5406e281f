// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/format_search.h"

#include <algorithm>
#include <cmath>

namespace tavelo {
namespace {

// A camera rounds to what its clock can do; a larger difference is another rate.
constexpr double sameRate = 0.9;

std::uint32_t unitsOf(FrameInterval interval) {
    const double seconds = double(interval.numerator) / interval.denominator;
    return std::uint32_t(std::clamp(std::round(seconds * intervalUnits), 1.0, 4e9));
}

bool matches(const OfferedMode& mode, const FormatChoice& choice) {
    return mode.format == choice.format && mode.size == choice.size;
}

} // namespace

FormatSearch::FormatSearch(const std::vector<UvcFrameOffer>& offers, const CaptureFormatRequest& request)
    : request_(request) {
    for (const UvcFrameOffer& offer : offers)
        entries_.push_back({&offer, {offer.format, offer.size, offer.intervals}, false});
}

std::optional<FormatSearch::Proposal> FormatSearch::best() const {
    std::vector<OfferedMode> modes;
    for (const Entry& entry : entries_)
        modes.push_back(entry.mode);
    const auto ranked = rankFormats(modes, request_);
    if (ranked.empty()) return std::nullopt;
    const FormatChoice& choice = ranked.front();
    const auto entry =
        std::ranges::find_if(entries_, [&](const Entry& each) { return matches(each.mode, choice); });
    const bool known = choice.interval.framesPerSecond() > 0;
    return Proposal{entry->offer, known ? unitsOf(choice.interval) : entry->offer->defaultInterval,
                    choice.bytesPerSecond()};
}

void FormatSearch::refused(const Proposal& proposal) {
    std::erase_if(entries_, [&](const Entry& entry) { return entry.offer == proposal.offer; });
}

// Other offers are compared by the rate at which they would be proposed.
void FormatSearch::tooHeavy(const Proposal& proposal) {
    refused(proposal);
    std::erase_if(entries_, [&](const Entry& entry) {
        const auto ranked = rankFormats(std::span(&entry.mode, 1), request_);
        return !ranked.empty() && ranked.front().bytesPerSecond() >= proposal.bytesPerSecond;
    });
}

bool FormatSearch::accepts(const Proposal& proposal, std::uint32_t interval) {
    if (interval == 0 || proposal.interval == 0) return true;
    if (double(proposal.interval) / interval >= sameRate) return true;
    const auto entry = std::ranges::find(entries_, proposal.offer, &Entry::offer);
    if (entry == entries_.end() || entry->answered) return true;
    const FrameInterval answered{interval, intervalUnits};
    entry->mode.intervals = {{answered, answered}};
    entry->answered = true;
    return best()->offer == proposal.offer;
}

} // namespace tavelo
