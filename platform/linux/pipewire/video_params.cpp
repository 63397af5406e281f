// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/video_params.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

#include <algorithm>

#include "platform/common/frame_bounds.h"

namespace tavelo {
namespace {

struct NamedFormat {
    Fourcc ours;
    std::uint32_t theirs;
};

// Those that need the least work first.
constexpr std::array rawFormats{
    NamedFormat{fourcc::yuyv, SPA_VIDEO_FORMAT_YUY2},  NamedFormat{fourcc::uyvy, SPA_VIDEO_FORMAT_UYVY},
    NamedFormat{fourcc::nv12, SPA_VIDEO_FORMAT_NV12},  NamedFormat{fourcc::i420, SPA_VIDEO_FORMAT_I420},
    NamedFormat{fourcc::grey, SPA_VIDEO_FORMAT_GRAY8},
};

/// 0 if it is none of ours.
Fourcc rawFormatOf(std::uint32_t theirs) {
    const auto* const found = std::ranges::find(rawFormats, theirs, &NamedFormat::theirs);
    return found != rawFormats.end() ? found->ours : 0;
}

/// One object of the library's, built into memory that is large enough.
class ObjectBuilder {
public:
    ObjectBuilder(std::span<std::uint64_t> memory, std::uint32_t type, std::uint32_t id) {
        spa_pod_builder_init(&builder_, memory.data(), std::uint32_t(memory.size_bytes()));
        spa_pod_builder_push_object(&builder_, &object_, type, id);
    }

    void id(std::uint32_t key, std::uint32_t value) {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_id(&builder_, value);
    }
    void number(std::uint32_t key, int value) {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_int(&builder_, value);
    }
    void size(std::uint32_t key, FrameSize value) {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_rectangle(&builder_, value.width, value.height);
    }
    void fraction(std::uint32_t key, std::uint32_t numerator, std::uint32_t denominator) {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_fraction(&builder_, numerator, denominator);
    }

    /// @param values the first is preferred; of a range it is followed by both ends
    template <typename Add>
    void choice(std::uint32_t key, std::uint32_t kind, const Add& addValues) {
        spa_pod_frame frame{};
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
        addValues(builder_);
        spa_pod_builder_pop(&builder_, &frame);
    }

    const spa_pod* built() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &object_)); }

private:
    spa_pod_builder builder_{};
    spa_pod_frame object_{};
};

void addKind(ObjectBuilder& object, Fourcc format) {
    const bool raw = format != fourcc::mjpeg;
    object.id(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
    object.id(SPA_FORMAT_mediaSubtype, raw ? SPA_MEDIA_SUBTYPE_raw : SPA_MEDIA_SUBTYPE_mjpg);
}

void addAnySize(ObjectBuilder& object) {
    object.choice(SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [](spa_pod_builder& builder) {
        spa_pod_builder_rectangle(&builder, 1280, 720);
        spa_pod_builder_rectangle(&builder, 1, 1);
        spa_pod_builder_rectangle(&builder, longestSide, longestSide);
    });
}

/// The values of a property: one, or those of a choice.
template <typename Value>
struct Values {
    std::uint32_t choice = SPA_CHOICE_None;
    std::span<const Value> all;

    bool isRange() const {
        return (choice == SPA_CHOICE_Range || choice == SPA_CHOICE_Step) && all.size() >= 3;
    }
    /// Without the preferred one, which is repeated.
    std::span<const Value> each() const {
        return choice == SPA_CHOICE_Enum && all.size() > 1 ? all.subspan(1)
                                                           : all.first(std::min(all.size(), std::size_t{1}));
    }
};

template <typename Value>
Values<Value> valuesOf(const spa_pod* object, std::uint32_t key, std::uint32_t type) {
    const spa_pod_prop* const property = spa_pod_find_prop(object, nullptr, key);
    if (property == nullptr) return {};
    std::uint32_t count = 0;
    std::uint32_t choice = SPA_CHOICE_None;
    const spa_pod* const values = spa_pod_get_values(&property->value, &count, &choice);
    if (values->type != type || values->size < sizeof(Value)) return {};
    return {choice, {static_cast<const Value*>(SPA_POD_BODY_CONST(values)), count}};
}

/// No format if it is no picture that we can show.
Values<std::uint32_t> kindsOf(const spa_pod* format, bool& isMjpeg) {
    const auto type = valuesOf<std::uint32_t>(format, SPA_FORMAT_mediaType, SPA_TYPE_Id);
    const auto subtype = valuesOf<std::uint32_t>(format, SPA_FORMAT_mediaSubtype, SPA_TYPE_Id);
    isMjpeg = false;
    if (type.all.empty() || type.all.front() != SPA_MEDIA_TYPE_video || subtype.all.empty()) return {};
    isMjpeg = subtype.all.front() == SPA_MEDIA_SUBTYPE_mjpg;
    if (subtype.all.front() != SPA_MEDIA_SUBTYPE_raw) return {};
    return valuesOf<std::uint32_t>(format, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id);
}

std::vector<FrameSize> sizesOf(const spa_pod* entry, const CaptureFormatRequest& request) {
    const auto sizes = valuesOf<spa_rectangle>(entry, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    if (sizes.isRange()) {
        const bool steps = sizes.choice == SPA_CHOICE_Step && sizes.all.size() >= 4;
        const FrameSize step = steps ? FrameSize{sizes.all[3].width, sizes.all[3].height} : FrameSize{};
        return sizesToConsider(
            {{sizes.all[1].width, sizes.all[1].height}, {sizes.all[2].width, sizes.all[2].height}, step},
            request);
    }
    std::vector<FrameSize> result;
    for (const spa_rectangle& size : sizes.each())
        result.push_back({size.width, size.height});
    return result;
}

FrameInterval intervalOf(const spa_fraction& rate) {
    return {rate.denom, rate.num};
}

std::vector<FrameIntervalRange> intervalsOf(const spa_pod* entry) {
    const auto rates = valuesOf<spa_fraction>(entry, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    // A range may begin at no frames at all.
    if (rates.isRange())
        return {{intervalOf(rates.all[2]),
                 rates.all[1].num > 0 ? intervalOf(rates.all[1]) : FrameInterval{1, 1}}};
    std::vector<FrameIntervalRange> result;
    for (const spa_fraction& rate : rates.each())
        if (rate.num > 0) result.push_back({intervalOf(rate), intervalOf(rate)});
    return result;
}

YuvMatrix matrixOf(std::uint32_t theirs) {
    switch (theirs) {
        case SPA_VIDEO_COLOR_MATRIX_BT709:
        case SPA_VIDEO_COLOR_MATRIX_SMPTE240M: // differs from BT.709 by less than the noise of most cameras
            return YuvMatrix::bt709;
        case SPA_VIDEO_COLOR_MATRIX_BT2020:
            return YuvMatrix::bt2020;
        default:
            return YuvMatrix::bt601;
    }
}

} // namespace

VideoParams::Memory& VideoParams::fresh() {
    memory_.push_back(std::make_unique<Memory>());
    return *memory_.back();
}

void VideoParams::addFormat(const FormatChoice& format) {
    ObjectBuilder object(fresh(), SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    addKind(object, format.format);
    const auto* const raw = std::ranges::find(rawFormats, format.format, &NamedFormat::ours);
    if (raw != rawFormats.end()) object.id(SPA_FORMAT_VIDEO_format, raw->theirs);
    object.size(SPA_FORMAT_VIDEO_size, format.size);
    if (format.interval.framesPerSecond() > 0)
        object.fraction(SPA_FORMAT_VIDEO_framerate, format.interval.denominator, format.interval.numerator);
    list_.push_back(object.built());
}

void VideoParams::addAnyFormat() {
    ObjectBuilder raw(fresh(), SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    addKind(raw, fourcc::yuyv);
    raw.choice(SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [](spa_pod_builder& builder) {
        spa_pod_builder_id(&builder, rawFormats.front().theirs);
        for (const NamedFormat& format : rawFormats)
            spa_pod_builder_id(&builder, format.theirs);
    });
    addAnySize(raw);
    list_.push_back(raw.built());
    ObjectBuilder mjpeg(fresh(), SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    addKind(mjpeg, fourcc::mjpeg);
    addAnySize(mjpeg);
    list_.push_back(mjpeg.built());
}

void VideoParams::addBuffers() {
    ObjectBuilder object(fresh(), SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    // One being filled, one waiting, one being converted, and a spare for scheduling delays.
    object.choice(SPA_PARAM_BUFFERS_buffers, SPA_CHOICE_Range, [](spa_pod_builder& builder) {
        for (const int count : {4, 2, 32})
            spa_pod_builder_int(&builder, count);
    });
    object.number(SPA_PARAM_BUFFERS_blocks, 1);
    object.choice(SPA_PARAM_BUFFERS_dataType, SPA_CHOICE_Flags, [](spa_pod_builder& builder) {
        spa_pod_builder_int(&builder, 1 << SPA_DATA_MemFd | 1 << SPA_DATA_DmaBuf | 1 << SPA_DATA_MemPtr);
    });
    list_.push_back(object.built());
}

void VideoParams::addMeta(std::uint32_t type, std::size_t size) {
    ObjectBuilder object(fresh(), SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    object.id(SPA_PARAM_META_type, type);
    object.number(SPA_PARAM_META_size, int(size));
    list_.push_back(object.built());
}

std::optional<FrameFormat> frameFormatOf(const spa_pod* format) {
    bool isMjpeg = false;
    const auto kinds = kindsOf(format, isMjpeg);
    const auto sizes = valuesOf<spa_rectangle>(format, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    const Fourcc kind = isMjpeg ? fourcc::mjpeg : kinds.all.empty() ? 0 : rawFormatOf(kinds.all.front());
    if (kind == 0 || sizes.all.empty()) return std::nullopt;
    const auto range = valuesOf<std::uint32_t>(format, SPA_FORMAT_VIDEO_colorRange, SPA_TYPE_Id);
    const auto matrix = valuesOf<std::uint32_t>(format, SPA_FORMAT_VIDEO_colorMatrix, SPA_TYPE_Id);
    FrameFormat result{kind, {sizes.all.front().width, sizes.all.front().height}};
    if (!matrix.all.empty()) result.matrix = matrixOf(matrix.all.front());
    const std::uint32_t told =
        range.all.empty() ? std::uint32_t{SPA_VIDEO_COLOR_RANGE_UNKNOWN} : range.all.front();
    result.fullRange =
        told == SPA_VIDEO_COLOR_RANGE_UNKNOWN ? kind == fourcc::grey : told == SPA_VIDEO_COLOR_RANGE_0_255;
    if (!isShowable(result.size)) return std::nullopt;
    return result;
}

void addOfferedModes(const spa_pod* entry, const CaptureFormatRequest& request,
                     std::vector<OfferedMode>& modes) {
    bool isMjpeg = false;
    const auto kinds = kindsOf(entry, isMjpeg);
    std::vector<Fourcc> formats;
    if (isMjpeg) formats.push_back(fourcc::mjpeg);
    for (const std::uint32_t kind : kinds.each())
        if (const Fourcc ours = rawFormatOf(kind); ours != 0) formats.push_back(ours);
    for (const Fourcc format : formats)
        for (const FrameSize size : sizesOf(entry, request))
            modes.push_back({format, size, intervalsOf(entry)});
}

} // namespace tavelo
