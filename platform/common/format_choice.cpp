// SPDX-License-Identifier: MIT
#include "platform/common/format_choice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

#include "platform/common/frame_bounds.h"

namespace tavelo {
namespace {

constexpr FrameSize defaultBox{1280, 720};
constexpr double defaultRate = 30;
constexpr double smoothRate = 24;
// 24000/1001 and 30000/1001 count as 24 and 30, and intervals are rounded to 100 ns.
constexpr double rateTolerance = 0.005;

struct NamedFormat {
    std::string_view name;
    Fourcc format;
};
constexpr std::array namedFormats{
    NamedFormat{"YUYV", fourcc::yuyv},   NamedFormat{"YUY2", fourcc::yuyv},
    NamedFormat{"UYVY", fourcc::uyvy},   NamedFormat{"NV12", fourcc::nv12},
    NamedFormat{"YU12", fourcc::i420},   NamedFormat{"I420", fourcc::i420},
    NamedFormat{"GREY", fourcc::grey},   NamedFormat{"Y800", fourcc::grey},
    NamedFormat{"MJPG", fourcc::mjpeg},  NamedFormat{"JPEG", fourcc::mjpeg},
    NamedFormat{"MJPEG", fourcc::mjpeg},
};

bool isKnown(Fourcc format) {
    return std::ranges::any_of(namedFormats,
                               [format](const NamedFormat& known) { return known.format == format; });
}

double area(FrameSize size) {
    return double(size.width) * size.height;
}
bool fits(FrameSize size, FrameSize box) {
    return size.width <= box.width && size.height <= box.height;
}

// Colour before grey: a camera with an additional infrared sensor offers both.
int formatRank(Fourcc format) {
    if (format == fourcc::mjpeg) return 1;
    return format == fourcc::grey ? 2 : 0;
}

// The ends of the range and, if it lies between them, the wanted rate.
std::vector<FrameInterval> ratesToConsider(const FrameIntervalRange& range, double wanted) {
    std::vector<FrameInterval> rates{range.shortest};
    if (range.longest == range.shortest) return rates;
    rates.push_back(range.longest);
    if (range.longest.framesPerSecond() < wanted && wanted < range.shortest.framesPerSecond())
        rates.push_back({1000, std::uint32_t(std::lround(wanted * 1000))});
    return rates;
}

// Distance from the wanted rate; without a request, any rate above the default is worse than all below.
std::pair<bool, double> rateDistance(double rate, const CaptureFormatRequest& request) {
    if (request.framesPerSecond) return {false, std::abs(rate - *request.framesPerSecond)};
    const bool above = rate > defaultRate * (1 + rateTolerance);
    return {above, std::abs(rate - defaultRate)};
}

FrameInterval bestInterval(const OfferedMode& mode, const CaptureFormatRequest& request) {
    FrameInterval best;
    for (const FrameIntervalRange& range : mode.intervals) {
        for (const FrameInterval candidate :
             ratesToConsider(range, request.framesPerSecond.value_or(defaultRate))) {
            const double rate = candidate.framesPerSecond();
            if (rate <= 0) continue;
            const bool first = best.framesPerSecond() <= 0;
            if (first || rateDistance(rate, request) < rateDistance(best.framesPerSecond(), request))
                best = candidate;
        }
    }
    return best;
}

/// Smaller is better, member by member.
using Badness = std::tuple<bool, int, double, double, int, std::pair<bool, double>>;

Badness badness(const FormatChoice& choice, const CaptureFormatRequest& request) {
    const FrameSize box = request.size.value_or(defaultBox);
    const bool wrongSize = request.size && choice.size != *request.size;
    const bool fitting = fits(choice.size, box);
    // A camera that does not report its rates usually has one good rate.
    const double told = choice.interval.framesPerSecond();
    const double rate = told > 0 ? told : request.framesPerSecond.value_or(defaultRate);
    const bool smooth = rate >= request.framesPerSecond.value_or(smoothRate) * (1 - rateTolerance);
    const int tier = (smooth ? 0 : 2) + (fitting ? 0 : 1);
    return {wrongSize,
            tier,
            smooth ? 0 : -rate,
            fitting ? -area(choice.size) : area(choice.size),
            formatRank(choice.format),
            rateDistance(rate, request)};
}

} // namespace

std::optional<Fourcc> fourccFromText(std::string_view text) {
    const auto equalsText = [text](const NamedFormat& known) {
        return std::ranges::equal(known.name, text, [](char a, char b) {
            return a == (b >= 'a' && b <= 'z' ? static_cast<char>(b - 'a' + 'A') : b);
        });
    };
    const auto* found = std::ranges::find_if(namedFormats, equalsText);
    if (found == namedFormats.end()) return std::nullopt;
    return found->format;
}

std::string fourccText(Fourcc value) {
    std::string text;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const auto character = static_cast<char>(value >> shift & 0xFFU);
        text += character >= ' ' && character <= '~' ? character : '?';
    }
    return text;
}

double FormatChoice::bytesPerSecond() const {
    double perPixel = 2;
    if (format == fourcc::nv12 || format == fourcc::i420) perPixel = 1.5;
    if (format == fourcc::grey) perPixel = 1;
    if (format == fourcc::mjpeg) perPixel = 0.25;
    const double rate = interval.framesPerSecond();
    return area(size) * perPixel * (rate > 0 ? rate : defaultRate);
}

std::vector<CaptureFormat> captureFormats(std::span<const OfferedMode> offered) {
    std::vector<CaptureFormat> formats;
    for (const OfferedMode& mode : offered) {
        CaptureFormat format{fourccText(mode.format), mode.size, 0};
        for (const FrameIntervalRange& range : mode.intervals)
            format.framesPerSecond = std::max(format.framesPerSecond, range.shortest.framesPerSecond());
        const auto known = std::ranges::find_if(formats, [&format](const CaptureFormat& each) {
            return each.fourcc == format.fourcc && each.size == format.size;
        });
        if (known == formats.end())
            formats.push_back(std::move(format));
        else
            known->framesPerSecond = std::max(known->framesPerSecond, format.framesPerSecond);
    }
    return formats;
}

std::vector<FormatChoice> rankFormats(std::span<const OfferedMode> offered,
                                      const CaptureFormatRequest& request) {
    const auto demanded = request.fourcc ? fourccFromText(*request.fourcc) : std::nullopt;
    const bool offersDemanded = demanded && std::ranges::any_of(offered, [&](const OfferedMode& mode) {
                                    return mode.format == *demanded && isShowable(mode.size);
                                });
    std::vector<FormatChoice> ranked;
    for (const OfferedMode& mode : offered) {
        if (!isKnown(mode.format) || !isShowable(mode.size)) continue;
        if (offersDemanded && mode.format != *demanded) continue;
        ranked.push_back({mode.format, mode.size, bestInterval(mode, request)});
    }
    std::ranges::stable_sort(ranked, [&](const FormatChoice& a, const FormatChoice& b) {
        return badness(a, request) < badness(b, request);
    });
    return ranked;
}

std::vector<FrameSize> sizesToConsider(const FrameSizeRange& range, const CaptureFormatRequest& request) {
    const auto snap = [](std::uint32_t value, std::uint32_t smallest, std::uint32_t largest,
                         std::uint32_t step) {
        const std::uint32_t end = std::max(smallest, std::min(largest, longestSide));
        const std::uint32_t inside = std::clamp(value, smallest, end);
        return inside - (inside - smallest) % std::max(step, 1U);
    };
    std::vector<FrameSize> wanted{defaultBox, {960, 540}, {800, 600},    {640, 480},
                                  {640, 360}, {320, 240}, range.largest, range.smallest};
    if (request.size) wanted.insert(wanted.begin(), *request.size);
    std::vector<FrameSize> sizes;
    for (const FrameSize size : wanted) {
        const FrameSize snapped{
            snap(size.width, range.smallest.width, range.largest.width, range.step.width),
            snap(size.height, range.smallest.height, range.largest.height, range.step.height)};
        const bool known = std::ranges::any_of(sizes, [&](FrameSize other) { return other == snapped; });
        if (!known && isShowable(snapped)) sizes.push_back(snapped);
    }
    return sizes;
}

} // namespace tavelo
