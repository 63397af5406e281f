// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/share_formats.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/color.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace tavelo {
namespace {

constexpr int bufferCount = 4;
constexpr int fewestBuffers = 2;
constexpr int mostBuffers = 16;

struct OfferedFormat {
    SharedFormat format;
    spa_video_format name;
};

// Movies' planes come straight from the camera's bytes.  Nearly every program takes one of the first three;
// the last is for those that show pictures without converting them.
constexpr std::array<OfferedFormat, 4> formats{{{SharedFormat::nv12, SPA_VIDEO_FORMAT_NV12},
                                                {SharedFormat::i420, SPA_VIDEO_FORMAT_I420},
                                                {SharedFormat::yuy2, SPA_VIDEO_FORMAT_YUY2},
                                                {SharedFormat::bgrx, SPA_VIDEO_FORMAT_BGRx}}};

const spa_pod* addFormat(spa_pod_builder& builder, const OfferedFormat& format, const ShareOffer& offer) {
    const spa_rectangle size{offer.size.width, offer.size.height};
    const spa_fraction rate{offer.rate.numerator, offer.rate.denominator};
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
                        SPA_POD_Id(format.name), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                        SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    if (format.format != SharedFormat::bgrx)
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_colorRange, SPA_POD_Id(SPA_VIDEO_COLOR_RANGE_16_235),
                            SPA_FORMAT_VIDEO_colorMatrix, SPA_POD_Id(SPA_VIDEO_COLOR_MATRIX_BT601), 0);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

} // namespace

ShareParameters::ShareParameters(const ShareOffer& offer) {
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory_.data(), std::uint32_t(memory_.size()));
    for (const OfferedFormat& format : formats)
        pods_[count_++] = addFormat(builder, format, offer);
}

ShareParameters::ShareParameters(const SharedLayout& layout) {
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory_.data(), std::uint32_t(memory_.size()));
    const auto add = [this](void* pod) { pods_[count_++] = static_cast<const spa_pod*>(pod); };
    add(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(bufferCount, fewestBuffers, mostBuffers), SPA_PARAM_BUFFERS_blocks,
        SPA_POD_Int(1), SPA_PARAM_BUFFERS_size, SPA_POD_Int(int(layout.bytes())), SPA_PARAM_BUFFERS_stride,
        SPA_POD_Int(int(layout.bytesPerRow())), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd))));
    add(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
                                   SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
                                   SPA_POD_Int(int(sizeof(spa_meta_header)))));
}

std::optional<SharedLayout> layoutOf(const spa_pod& format) {
    spa_video_info_raw info{};
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (spa_format_parse(&format, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video ||
        subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(&format, &info) < 0)
        return std::nullopt;
    for (const OfferedFormat& known : formats)
        if (known.name == info.format) return SharedLayout{known.format, {info.size.width, info.size.height}};
    return std::nullopt;
}

} // namespace tavelo
