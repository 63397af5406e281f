// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/video_params.h"

#include <gmock/gmock.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>

namespace tavelo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool operator==(const FrameIntervalRange& a, const FrameIntervalRange& b) {
    return a.shortest == b.shortest && a.longest == b.longest;
}

/// An entry of a node's list, as the library builds it.
class Entry {
public:
    explicit Entry(std::uint32_t subtype = SPA_MEDIA_SUBTYPE_raw, std::uint32_t type = SPA_MEDIA_TYPE_video) {
        spa_pod_builder_init(&builder_, memory_.data(), std::uint32_t(sizeof memory_));
        spa_pod_builder_push_object(&builder_, &object_, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        id(SPA_FORMAT_mediaType, type);
        id(SPA_FORMAT_mediaSubtype, subtype);
    }

    Entry& id(std::uint32_t key, std::uint32_t value) {
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_id(&builder_, value);
        return *this;
    }
    Entry& ids(std::uint32_t key, std::initializer_list<std::uint32_t> values) {
        return choice(key, SPA_CHOICE_Enum, [&] {
            for (const std::uint32_t value : values)
                spa_pod_builder_id(&builder_, value);
        });
    }
    Entry& size(std::uint32_t width, std::uint32_t height) {
        spa_pod_builder_prop(&builder_, SPA_FORMAT_VIDEO_size, 0);
        spa_pod_builder_rectangle(&builder_, width, height);
        return *this;
    }
    Entry& sizes(std::uint32_t kind, std::initializer_list<FrameSize> values) {
        return choice(SPA_FORMAT_VIDEO_size, kind, [&] {
            for (const FrameSize& value : values)
                spa_pod_builder_rectangle(&builder_, value.width, value.height);
        });
    }
    Entry& rates(std::uint32_t kind, std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> values) {
        return choice(SPA_FORMAT_VIDEO_framerate, kind, [&] {
            for (const auto& [numerator, denominator] : values)
                spa_pod_builder_fraction(&builder_, numerator, denominator);
        });
    }
    const spa_pod* built() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder_, &object_)); }

private:
    template <typename Add>
    Entry& choice(std::uint32_t key, std::uint32_t kind, const Add& add) {
        spa_pod_frame frame{};
        spa_pod_builder_prop(&builder_, key, 0);
        spa_pod_builder_push_choice(&builder_, &frame, kind, 0);
        add();
        spa_pod_builder_pop(&builder_, &frame);
        return *this;
    }

    std::array<std::uint64_t, 256> memory_{};
    spa_pod_builder builder_{};
    spa_pod_frame object_{};
};

std::vector<OfferedMode> modesOf(Entry& entry) {
    std::vector<OfferedMode> modes;
    addOfferedModes(entry.built(), {}, modes);
    return modes;
}

TEST(VideoParams, AnEntryOfACameraIsAModeWithItsRates) {
    Entry entry;
    entry.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2).size(640, 480);
    entry.rates(SPA_CHOICE_Enum, {{30, 1}, {30, 1}, {15, 2}});
    const auto modes = modesOf(entry);
    ASSERT_EQ(modes.size(), 1U);
    EXPECT_EQ(modes[0].format, fourcc::yuyv);
    EXPECT_EQ(modes[0].size, (FrameSize{640, 480}));
    ASSERT_EQ(modes[0].intervals.size(), 2U);
    EXPECT_TRUE((modes[0].intervals[0] == FrameIntervalRange{{1, 30}, {1, 30}}));
    EXPECT_TRUE((modes[0].intervals[1] == FrameIntervalRange{{2, 15}, {2, 15}}));
}

TEST(VideoParams, EachKnownFormatOfAListIsAModeOfItsOwn) {
    Entry entry;
    entry.ids(SPA_FORMAT_VIDEO_format,
              {SPA_VIDEO_FORMAT_NV12, SPA_VIDEO_FORMAT_NV12, SPA_VIDEO_FORMAT_RGBA, SPA_VIDEO_FORMAT_UYVY,
               SPA_VIDEO_FORMAT_I420, SPA_VIDEO_FORMAT_GRAY8});
    entry.size(64, 48);
    std::vector<Fourcc> formats;
    for (const OfferedMode& mode : modesOf(entry))
        formats.push_back(mode.format);
    EXPECT_THAT(formats, ElementsAre(fourcc::nv12, fourcc::uyvy, fourcc::i420, fourcc::grey));
}

TEST(VideoParams, ARangeOfRatesThatBeginsAtNoneBeginsAtOne) {
    Entry entry(SPA_MEDIA_SUBTYPE_mjpg);
    entry.size(64, 48).rates(SPA_CHOICE_Range, {{25, 1}, {0, 1}, {60, 1}});
    const auto modes = modesOf(entry);
    ASSERT_EQ(modes.size(), 1U);
    EXPECT_EQ(modes[0].format, fourcc::mjpeg);
    ASSERT_EQ(modes[0].intervals.size(), 1U);
    EXPECT_TRUE((modes[0].intervals[0] == FrameIntervalRange{{1, 60}, {1, 1}}));
}

TEST(VideoParams, ARangeOfSizesOffersCommonOnes) {
    Entry entry;
    entry.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2);
    entry.sizes(SPA_CHOICE_Range, {{320, 240}, {160, 120}, {1000, 1000}});
    std::vector<FrameSize> sizes;
    for (const OfferedMode& mode : modesOf(entry))
        sizes.push_back(mode.size);
    EXPECT_THAT(sizes,
                ::testing::IsSupersetOf({FrameSize{640, 480}, FrameSize{1000, 1000}, FrameSize{160, 120}}));
    EXPECT_THAT(sizes, ::testing::Each(::testing::Field(&FrameSize::width, ::testing::Le(1000U))));
}

TEST(VideoParams, SoundAndOtherCompressionsOfferNothing) {
    Entry sound(SPA_MEDIA_SUBTYPE_raw, SPA_MEDIA_TYPE_audio);
    sound.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_YUY2).size(64, 48);
    EXPECT_THAT(modesOf(sound), IsEmpty());
    Entry h264(SPA_MEDIA_SUBTYPE_h264);
    h264.size(64, 48);
    EXPECT_THAT(modesOf(h264), IsEmpty());
    EXPECT_EQ(frameFormatOf(h264.built()), std::nullopt);
}

TEST(VideoParams, ReadsTheColoursOfAFormat) {
    const auto formatWith = [](std::uint32_t range, std::uint32_t matrix) {
        Entry entry;
        entry.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_NV12).size(64, 48);
        entry.id(SPA_FORMAT_VIDEO_colorRange, range).id(SPA_FORMAT_VIDEO_colorMatrix, matrix);
        return frameFormatOf(entry.built()).value_or(FrameFormat());
    };
    const FrameFormat full = formatWith(SPA_VIDEO_COLOR_RANGE_0_255, SPA_VIDEO_COLOR_MATRIX_BT709);
    EXPECT_EQ(full, (FrameFormat{fourcc::nv12, {64, 48}, 0, YuvMatrix::bt709, true}));
    const FrameFormat limited = formatWith(SPA_VIDEO_COLOR_RANGE_16_235, SPA_VIDEO_COLOR_MATRIX_BT2020);
    EXPECT_EQ(limited, (FrameFormat{fourcc::nv12, {64, 48}, 0, YuvMatrix::bt2020, false}));
    EXPECT_EQ(formatWith(SPA_VIDEO_COLOR_RANGE_UNKNOWN, SPA_VIDEO_COLOR_MATRIX_UNKNOWN),
              (FrameFormat{fourcc::nv12, {64, 48}}));
}

TEST(VideoParams, GreyIsInFullRangeUnlessItIsSaidNotToBe) {
    Entry grey;
    grey.id(SPA_FORMAT_VIDEO_format, SPA_VIDEO_FORMAT_GRAY8).size(64, 48);
    EXPECT_TRUE(frameFormatOf(grey.built())->fullRange);
}

TEST(VideoParams, AFormatTooLargeOrWithoutASizeIsNone) {
    Entry large(SPA_MEDIA_SUBTYPE_mjpg);
    large.size(100000, 100000);
    EXPECT_EQ(frameFormatOf(large.built()), std::nullopt);
    Entry none(SPA_MEDIA_SUBTYPE_mjpg);
    EXPECT_EQ(frameFormatOf(none.built()), std::nullopt);
}

TEST(VideoParams, WhatIsProposedIsUnderstoodAsTheSame) {
    VideoParams params;
    const FormatChoice choice{fourcc::uyvy, {640, 360}, {2, 15}};
    params.addFormat(choice);
    params.addFormat({fourcc::mjpeg, {64, 48}, {}});
    std::vector<OfferedMode> modes;
    for (const spa_pod* entry : params.list())
        addOfferedModes(entry, {}, modes);
    ASSERT_EQ(modes.size(), 2U);
    EXPECT_EQ(modes[0].format, choice.format);
    EXPECT_EQ(modes[0].size, choice.size);
    ASSERT_EQ(modes[0].intervals.size(), 1U);
    EXPECT_EQ(modes[0].intervals[0].shortest, choice.interval);
    EXPECT_EQ(modes[1].format, fourcc::mjpeg);
    EXPECT_THAT(modes[1].intervals, IsEmpty());
}

} // namespace
} // namespace tavelo::testing
