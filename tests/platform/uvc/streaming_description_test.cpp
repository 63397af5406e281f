// SPDX-License-Identifier: MIT
#include "platform/uvc/streaming_description.h"

#include <gmock/gmock.h>

#include "descriptor_builder.h"
#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

using test::Bytes;
using test::descriptor;
using test::join;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Bytes inputHeader(std::uint8_t endpoint) {
    return descriptor({0x24, 1, 1, 0, 0, endpoint, 0, 3, 0, 0, 0, 1, 0});
}

Bytes guidFormat(std::uint8_t subtype, std::uint8_t index, std::string_view code) {
    Bytes guid(code.begin(), code.end());
    guid.resize(16, 0);
    return descriptor(join({{0x24, subtype, index, 1}, guid, {16, 1, 0, 0, 0, 0}}));
}

// The size is at `size`, the default interval at `interval`, then the count, and the intervals at `list`;
// all offsets as in the descriptor.
Bytes frameAt(std::uint8_t subtype, std::size_t size, std::size_t interval, std::size_t list,
              std::uint8_t count, const std::vector<std::uint32_t>& intervals) {
    Bytes bytes(list);
    bytes[1] = 0x24;
    bytes[2] = subtype;
    bytes[3] = 4;
    putLittleEndian(640, std::span(bytes).subspan(size, 2));
    putLittleEndian(360, std::span(bytes).subspan(size + 2, 2));
    putLittleEndian(333'333, std::span(bytes).subspan(interval, 4));
    bytes[interval + 4] = count;
    for (const std::uint32_t each : intervals)
        appendLittleEndian(bytes, each, 4);
    bytes[0] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

Bytes endpoint(std::uint8_t address, std::uint8_t attributes, std::uint16_t size) {
    return descriptor({5, address, attributes, lowByte(size), highByte(size), 1});
}

Bytes stream(std::initializer_list<Bytes> parts, std::uint8_t alternate = 0) {
    return join({test::interfaceDescriptor(1, 2, 0x0E, alternate), join(parts)});
}

StreamingDescription described(std::initializer_list<Bytes> parts) {
    return streamingDescription(test::configuration(parts), 1);
}

TEST(StreamingDescription, ReadsFramesOfEveryLayout) {
    struct Case {
        std::uint8_t format;
        const char* name;
        Bytes frame;
    };
    const std::vector<std::uint32_t> intervals{333'333, 666'666};
    const std::vector<Case> cases{
        {0x04, "YUY2", frameAt(0x05, 5, 21, 26, 2, intervals)},
        {0x06, "MJPEG", frameAt(0x07, 5, 21, 26, 2, intervals)},
        {0x13, "H.264", frameAt(0x14, 4, 39, 44, 2, intervals)},
        {0x16, "VP8", frameAt(0x17, 4, 26, 31, 2, intervals)},
    };
    for (const Case& each : cases) {
        const auto found =
            described({stream({inputHeader(0x81), guidFormat(each.format, 3, "YUY2"), each.frame})});
        ASSERT_EQ(found.formats.size(), 1U);
        EXPECT_EQ(found.formats[0].name(), each.name);
        EXPECT_EQ(found.formats[0].index, 3);
        ASSERT_EQ(found.formats[0].frames.size(), 1U) << each.name;
        const DescribedFrame& frame = found.formats[0].frames[0];
        EXPECT_EQ(frame.index, 4);
        EXPECT_EQ(frame.width, 640);
        EXPECT_EQ(frame.height, 360);
        EXPECT_EQ(frame.defaultInterval, 333'333U);
        EXPECT_FALSE(frame.isContinuous);
        EXPECT_THAT(frame.intervals, ElementsAre(333'333, 666'666)) << each.name;
    }
}

TEST(StreamingDescription, AFrameBasedFrameHasItsLineLengthBeforeTheIntervals) {
    Bytes frame = frameAt(0x11, 5, 17, 26, 1, {400'000});
    const auto found = described({stream({guidFormat(0x10, 1, "H264"), frame})});
    ASSERT_EQ(found.formats.at(0).frames.size(), 1U);
    EXPECT_EQ(found.formats[0].name(), "H264");
    const DescribedFrame& read = found.formats[0].frames[0];
    EXPECT_EQ(read.width, 640);
    EXPECT_EQ(read.height, 360);
    EXPECT_EQ(read.defaultInterval, 333'333U);
    EXPECT_FALSE(read.isContinuous);
    EXPECT_THAT(read.intervals, ElementsAre(400'000));
}

TEST(StreamingDescription, ReadsAContinuousRange) {
    const auto found =
        described({stream({guidFormat(0x06, 1, ""), frameAt(0x07, 5, 21, 26, 0, {100'000, 900'000, 1})})});
    EXPECT_TRUE(found.formats.at(0).frames.at(0).isContinuous);
    EXPECT_THAT(found.formats[0].frames[0].intervals, ElementsAre(100'000, 900'000, 1));
}

TEST(StreamingDescription, KeepsOnlyTheIntervalsThatAreThere) {
    const auto found =
        described({stream({guidFormat(0x06, 1, ""), frameAt(0x07, 5, 21, 26, 9, {100'000, 200'000})})});
    EXPECT_THAT(found.formats.at(0).frames.at(0).intervals, ElementsAre(100'000, 200'000));
}

TEST(StreamingDescription, LeavesOutAFrameThatIsCutOffOrHasNoFormat) {
    const auto found = described(
        {stream({frameAt(0x07, 5, 21, 26, 1, {1}), guidFormat(0x06, 1, ""), descriptor(Bytes(20, 0x07))})});
    ASSERT_EQ(found.formats.size(), 1U);
    EXPECT_THAT(found.formats[0].frames, IsEmpty());
}

TEST(StreamingDescription, NamesAnUnknownFormatByItsIdentifier) {
    const auto found = described({stream({guidFormat(0x04, 1, std::string_view("\x32\0\0\0\2", 5))})});
    EXPECT_EQ(found.formats.at(0).name(), "00000032-0002-0000-0000-000000000000");
}

TEST(StreamingDescription, ListsTheSettingsThatCarryVideo) {
    const auto found = described(
        {test::videoControl(0), endpoint(0x87, 3, 16), stream({inputHeader(0x82), endpoint(0x83, 2, 512)}),
         stream({endpoint(0x82, 5, 0x1400)}, 1), stream({endpoint(0x02, 5, 100), endpoint(0x84, 3, 8)}, 2),
         test::interfaceDescriptor(2, 2), endpoint(0x85, 5, 100)});
    EXPECT_EQ(found.endpoint, 0x82);
    ASSERT_EQ(found.settings.size(), 2U);
    EXPECT_EQ(found.settings[0].kind, StreamingEndpointKind::bulk);
    EXPECT_EQ(found.settings[0].bytes, 512U);
    EXPECT_EQ(found.settings[1].alternate, 1);
    EXPECT_EQ(found.settings[1].endpoint, 0x82);
    EXPECT_EQ(found.settings[1].bytes, 3072U);
}

TEST(StreamingDescription, ACompanionWidensAnIsochronousEndpoint) {
    const Bytes companion = descriptor({0x30, 3, 0, 0x00, 0x30});
    auto found = described({stream({endpoint(0x82, 5, 0x0400), companion}, 1)});
    EXPECT_EQ(found.settings.at(0).bytes, 0x3000U);
    found = described({stream({endpoint(0x82, 2, 0x0400), companion}, 1)});
    EXPECT_EQ(found.settings.at(0).bytes, 0x0400U);
    found =
        described({stream({endpoint(0x82, 5, 0x0400), descriptor({0x31, 0, 0, 0x00, 0x00, 0x01, 0x00})}, 1)});
    EXPECT_EQ(found.settings.at(0).bytes, 0x10000U);
    found = described({stream({companion, endpoint(0x82, 5, 0x0400)}, 1)});
    EXPECT_EQ(found.settings.at(0).bytes, 0x0400U);
}

TEST(StreamingDescription, AnyCutIsHarmless) {
    const Bytes whole = test::configuration(
        {stream({inputHeader(0x81), guidFormat(0x04, 1, "YUY2"), frameAt(0x05, 5, 21, 26, 1, {333'333})}),
         stream({endpoint(0x81, 5, 0x0400)}, 1)});
    for (std::size_t length = 0; length <= whole.size(); ++length)
        EXPECT_LE(streamingDescription(std::span(whole).first(length), 1).formats.size(), 1U);
}

} // namespace
} // namespace tavelo
