// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/streaming_descriptors.h"

#include <gmock/gmock.h>

#include <random>

#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "streaming_bytes.h"

namespace tavelo {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t fps30 = 333'333;
constexpr std::uint32_t fps15 = 666'666;

// A streaming interface, number 1, around the descriptors given.
UvcStreamingInterface read(const Bytes& descriptors) {
    return streamingInterfaceOf(join({setting(1, 0), inputHeader(), descriptors}), 1);
}

std::vector<std::uint32_t> packetSizes(const UvcStreamingInterface& interface) {
    std::vector<std::uint32_t> sizes;
    for (const UvcStreamSetting& setting : interface.settings)
        sizes.push_back(setting.packetSize);
    return sizes;
}

std::vector<std::uint32_t> intervalsOf(const UvcFrameOffer& offer) {
    std::vector<std::uint32_t> units;
    for (const FrameIntervalRange& range : offer.intervals)
        units.push_back(range.shortest.numerator);
    return units;
}

TEST(StreamingDescriptors, ReadsTheVirtualCamera) {
    const VirtualCameraModel model = virtualCameraModel(1);
    const auto interface = streamingInterfaceOf(makeConfigurationDescriptor(model), 1);
    EXPECT_EQ(interface.version, 0x0110);
    ASSERT_EQ(interface.offers.size(), model.offers.size());
    const UvcFrameOffer& first = interface.offers.front();
    EXPECT_EQ(first.formatIndex, 1);
    EXPECT_EQ(first.frameIndex, 1);
    EXPECT_EQ(first.format, fourcc::yuyv);
    EXPECT_EQ(first.size.width, 640U);
    EXPECT_EQ(first.size.height, 480U);
    EXPECT_EQ(first.maxFrameSize, 614'400U);
    EXPECT_EQ(first.defaultInterval, fps30);
    EXPECT_THAT(intervalsOf(first), ElementsAre(fps30, fps15));
    const UvcFrameOffer& last = interface.offers.back();
    EXPECT_EQ(last.formatIndex, 2);
    EXPECT_EQ(last.frameIndex, 4);
    EXPECT_EQ(last.format, fourcc::mjpeg);
    EXPECT_EQ(last.size.width, 1920U);
    EXPECT_THAT(packetSizes(interface), ElementsAre(192, 512, 1024, 2048, 3072));
    EXPECT_EQ(interface.settings.back().alternate, 5);
    EXPECT_EQ(interface.settings.back().endpoint, 0x81);
}

TEST(StreamingDescriptors, ReadsABulkCamera) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.transport = StreamTransport::bulk;
    const auto interface = streamingInterfaceOf(makeConfigurationDescriptor(model), 1);
    ASSERT_THAT(interface.settings, SizeIs(1));
    EXPECT_EQ(interface.settings.front().kind, UvcEndpointKind::bulk);
    EXPECT_EQ(interface.settings.front().alternate, 0);
    EXPECT_EQ(interface.settings.front().packetSize, 512U);
}

TEST(StreamingDescriptors, KnowsTheFormatsThatCanBeConverted) {
    struct Case {
        std::string_view code;
        Fourcc expected;
    };
    for (const auto& [code, expected] :
         {Case{"YUY2", fourcc::yuyv}, Case{"UYVY", fourcc::uyvy}, Case{"NV12", fourcc::nv12},
          Case{"I420", fourcc::i420}, Case{"Y800", fourcc::grey}, Case{"Y8  ", fourcc::grey},
          Case{std::string_view("2\0\0\0", 4), fourcc::grey}}) {
        const auto interface = read(join({rawFormat(1, code), frame(5, 1, 64, 48, 1, {fps30})}));
        ASSERT_THAT(interface.offers, SizeIs(1)) << code;
        EXPECT_EQ(interface.offers.front().format, expected) << code;
    }
    const Bytes infrared{0x02, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    const auto interface =
        read(join({rawFormat(1, std::string_view("2\0\0\0", 4), infrared), frame(5, 1, 64, 48, 1, {fps30})}));
    ASSERT_THAT(interface.offers, SizeIs(1));
    EXPECT_EQ(interface.offers.front().format, fourcc::grey);
}

TEST(StreamingDescriptors, PassesOverWhatCannotBeConverted) {
    const auto frames = frame(5, 1, 64, 48, 1, {fps30});
    EXPECT_THAT(read(join({rawFormat(1, "Y16 "), frames})).offers, IsEmpty());
    EXPECT_THAT(read(join({rawFormat(1, "YUY2", Bytes(12, 7)), frames})).offers, IsEmpty());
    // A frame-based format in between: its frames and the invalid ones after it must be ignored.
    const Bytes frameBased = descriptor(join({{0x24, 0x10, 2, 1}, Bytes(24, 0)}));
    const auto interface = read(join(
        {rawFormat(1, "YUY2"), frames, frameBased, frames, jpegFormat(3), frame(7, 1, 32, 24, 1, {fps30})}));
    ASSERT_THAT(interface.offers, SizeIs(2));
    EXPECT_EQ(interface.offers[1].formatIndex, 3);
}

TEST(StreamingDescriptors, AFrameOfAnotherKindThanItsFormatIsLeftOut) {
    EXPECT_THAT(read(join({rawFormat(1, "YUY2"), frame(7, 1, 64, 48, 1, {fps30})})).offers, IsEmpty());
    EXPECT_THAT(read(frame(5, 1, 64, 48, 1, {fps30})).offers, IsEmpty()) << "no format at all";
}

TEST(StreamingDescriptors, IntervalsMayBeARange) {
    const auto interface =
        read(join({jpegFormat(1), frame(7, 1, 64, 48, 0, {fps30, 2'000'000, 10}), colours(4)}));
    ASSERT_THAT(interface.offers, SizeIs(1));
    ASSERT_THAT(interface.offers.front().intervals, SizeIs(1));
    EXPECT_EQ(interface.offers.front().intervals.front().shortest.numerator, fps30);
    EXPECT_EQ(interface.offers.front().intervals.front().longest.numerator, 2'000'000U);
}

TEST(StreamingDescriptors, ALyingCountOfIntervalsIsCutToWhatIsThere) {
    const auto many = read(join({jpegFormat(1), frame(7, 1, 64, 48, 200, {fps30, 0, fps15})}));
    EXPECT_THAT(intervalsOf(many.offers.at(0)), ElementsAre(fps30, fps15)) << "an interval of 0 is none";
    const auto shortest = read(join({jpegFormat(1), frame(7, 1, 64, 48, 1, {1})}));
    EXPECT_THAT(intervalsOf(shortest.offers.at(0)), ElementsAre(1));
    const auto none = read(join({jpegFormat(1), frame(7, 1, 64, 48, 0, {fps30})}));
    EXPECT_THAT(none.offers.at(0).intervals, IsEmpty());
    const auto reversed = read(join({jpegFormat(1), frame(7, 1, 64, 48, 0, {fps15, fps30, 1})}));
    EXPECT_THAT(reversed.offers.at(0).intervals, IsEmpty());
}

TEST(StreamingDescriptors, FramesWithoutASizeOrCutOffAreLeftOut) {
    Bytes cut = frame(7, 1, 64, 48, 1, {fps30});
    cut.resize(20);
    cut[0] = 20;
    EXPECT_THAT(read(join({jpegFormat(1), cut})).offers, IsEmpty());
    EXPECT_THAT(read(join({jpegFormat(1), frame(7, 1, 0, 48, 1, {fps30})})).offers, IsEmpty());
}

TEST(StreamingDescriptors, OmitsSizesThatCannotBeShown) {
    const auto found = read(join({rawFormat(1, "YUY2"), frame(5, 1, 65535, 65535, 1, {333'333}),
                                  frame(5, 2, 16384, 16384, 1, {333'333}),
                                  frame(5, 3, 1, 16385, 1, {333'333}), frame(5, 4, 640, 480, 1, {333'333})}));
    ASSERT_EQ(found.offers.size(), 1U);
    EXPECT_EQ(found.offers.front().frameIndex, 4);
}

TEST(StreamingDescriptors, TheMatrixBelongsToTheFormatBeforeIt) {
    const auto frames = frame(5, 1, 64, 48, 1, {fps30});
    const auto interface = read(join({rawFormat(1, "YUY2"), frames, frames, colours(1), rawFormat(2, "NV12"),
                                      frames, colours(4), rawFormat(3, "UYVY"), frames}));
    ASSERT_THAT(interface.offers, SizeIs(4));
    EXPECT_EQ(interface.offers[0].matrix, YuvMatrix::bt709);
    EXPECT_EQ(interface.offers[1].matrix, YuvMatrix::bt709);
    EXPECT_EQ(interface.offers[2].matrix, YuvMatrix::bt601);
    EXPECT_EQ(interface.offers[3].matrix, YuvMatrix::bt601) << "not told";
}

TEST(StreamingDescriptors, EndpointsOfOtherKindsAndDirectionsAreNotForPictures) {
    const auto interface = read(join({endpoint(0x01, 1, 512), endpoint(0x81, 3, 16), endpoint(0x81, 1, 0),
                                      setting(1, 1), endpoint(0x81, 0x05, 0x1400)}));
    ASSERT_THAT(interface.settings, SizeIs(1));
    EXPECT_EQ(interface.settings.front().packetSize, 3072U);
    EXPECT_EQ(interface.settings.front().alternate, 1);
}

TEST(StreamingDescriptors, TheEndpointOfStillPicturesIsNotTheStreams) {
    const auto interface = read(join({endpoint(0x82, 2, 512), endpoint(0x81, 2, 512)}));
    ASSERT_THAT(interface.settings, SizeIs(1));
    EXPECT_EQ(interface.settings.front().endpoint, 0x81);
}

TEST(StreamingDescriptors, AHeaderThatIsCutOffNamesItsEndpointIfThatIsThere) {
    const auto endpoints = [](std::size_t length) {
        Bytes header = inputHeader();
        header.resize(length);
        header[0] = std::uint8_t(length);
        const auto interface = streamingInterfaceOf(
            join({setting(1, 0), header, endpoint(0x82, 2, 512), endpoint(0x81, 2, 512)}), 1);
        std::vector<int> found;
        for (const UvcStreamSetting& each : interface.settings)
            found.push_back(each.endpoint);
        return found;
    };
    EXPECT_THAT(endpoints(7), ElementsAre(0x81));
    EXPECT_THAT(endpoints(6), ElementsAre(0x82, 0x81));
}

TEST(StreamingDescriptors, AHeaderThatNamesNoEndpointThereIsNotBelieved) {
    const auto interface =
        streamingInterfaceOf(join({setting(1, 0), inputHeader(0x8A), endpoint(0x81, 2, 512)}), 1);
    EXPECT_THAT(interface.settings, SizeIs(1));
}

TEST(StreamingDescriptors, ASuperSpeedCompanionTellsWhatAnIntervalCarries) {
    const auto found =
        read(join({setting(1, 1), endpoint(0x81, 5, 1024), companion(0xB000), setting(1, 2),
                   endpoint(0x81, 5, 1024), companion(7), endpoint(0x81, 2, 1024), companion(0xFFFF)}));
    EXPECT_THAT(packetSizes(found), ElementsAre(0xB000, 1024, 1024));
}

TEST(StreamingDescriptors, ASuperSpeedPlusCompanionTellsIfItIsMore) {
    const auto found =
        read(join({setting(1, 1), endpoint(0x81, 5, 1024), companion(1), plusCompanion(0x17000),
                   setting(1, 2), endpoint(0x81, 5, 1024), plusCompanion(0x18001), setting(1, 3),
                   endpoint(0x81, 5, 1024), descriptor({0x31, 0, 0, 0, 0x40, 1})}));
    EXPECT_THAT(packetSizes(found), ElementsAre(0x17000, 0x18000, 1024)) << "at most sixteen bursts";
}

TEST(StreamingDescriptors, ACompanionBelongsToNoEndpointOfAnEarlierSetting) {
    const auto found = read(join(
        {setting(1, 1), endpoint(0x81, 5, 1024), setting(1, 2), companion(0xB000), endpoint(0x81, 5, 512)}));
    EXPECT_THAT(packetSizes(found), ElementsAre(1024, 512));
}

TEST(StreamingDescriptors, TheFirstOfEqualSettingsIsTaken) {
    const auto found = read(join({setting(1, 1), endpoint(0x81, 5, 1024), setting(1, 2),
                                  endpoint(0x81, 5, 512), setting(1, 3), endpoint(0x81, 5, 512)}));
    ASSERT_NE(settingFor(found, 500), nullptr);
    EXPECT_EQ(settingFor(found, 500)->alternate, 2);
    EXPECT_EQ(settingFor(found, 512)->alternate, 2);
    EXPECT_EQ(settingFor(found, 513)->alternate, 1);
    EXPECT_EQ(settingFor(found, 1025), nullptr);
}

TEST(StreamingDescriptors, OtherInterfacesAreNotOurs) {
    const Bytes first = join({jpegFormat(1), frame(7, 1, 64, 48, 1, {fps30}), endpoint(0x81, 2, 512)});
    const Bytes second = join({jpegFormat(1), frame(7, 1, 32, 24, 1, {fps30}), endpoint(0x83, 2, 512)});
    const Bytes both =
        join({setting(0, 0, 1), controlHeader(0x0100, {1}), setting(1, 0), inputHeader(), first,
              setting(2, 0, 1), controlHeader(0x0150, {3}), setting(3, 0), inputHeader(0x83), second});
    const auto one = streamingInterfaceOf(both, 1);
    EXPECT_EQ(one.version, 0x0100);
    ASSERT_THAT(one.offers, SizeIs(1));
    EXPECT_EQ(one.offers.front().size.width, 64U);
    EXPECT_EQ(one.settings.at(0).endpoint, 0x81);
    const auto three = streamingInterfaceOf(both, 3);
    EXPECT_EQ(three.version, 0x0150);
    ASSERT_THAT(three.offers, SizeIs(1));
    EXPECT_EQ(three.offers.front().size.width, 32U);
    EXPECT_EQ(three.settings.at(0).endpoint, 0x83);
    EXPECT_THAT(streamingInterfaceOf(both, 4).offers, IsEmpty());
}

TEST(StreamingDescriptors, ALengthOfNothingEndsTheWalk) {
    const Bytes good = join({jpegFormat(1), frame(7, 1, 64, 48, 1, {fps30})});
    EXPECT_THAT(read(join({good, {0, 0x24}, good})).offers, SizeIs(1));
    EXPECT_THAT(read(join({good, {1}, good})).offers, SizeIs(1));
    EXPECT_THAT(read(join({good, {200, 0x24, 0x07}})).offers, SizeIs(1));
    EXPECT_THAT(streamingInterfaceOf({}, 1).offers, IsEmpty());
}

TEST(StreamingDescriptors, AnyBytesAreReadWithoutHarm) {
    std::minstd_rand random(7);
    const Bytes whole = makeConfigurationDescriptor(virtualCameraModel(1));
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes = whole;
        for (auto count = random() % 8; count > 0; --count)
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        bytes.resize(random() % 4 == 0 ? random() % bytes.size() : bytes.size());
        bytes.shrink_to_fit(); // so that a sanitizer sees its end
        const auto found = streamingInterfaceOf(bytes, 1);
        for (const UvcFrameOffer& offer : found.offers) {
            EXPECT_NE(offer.format, 0U);
            EXPECT_GT(offer.size.width * offer.size.height, 0U);
        }
        for (const UvcStreamSetting& setting : found.settings) {
            EXPECT_GT(setting.packetSize, 0U);
            EXPECT_LE(setting.packetSize, 0x18000U);
        }
    }
}

TEST(SettingFor, IsTheSmallestThatCarriesThePayload) {
    const auto interface = streamingInterfaceOf(makeConfigurationDescriptor(virtualCameraModel(1)), 1);
    EXPECT_EQ(settingFor(interface, 192)->alternate, 1);
    EXPECT_EQ(settingFor(interface, 193)->alternate, 2);
    EXPECT_EQ(settingFor(interface, 3072)->alternate, 5);
    EXPECT_EQ(settingFor(interface, 3073), nullptr);
    EXPECT_EQ(settingFor(interface, 0)->alternate, 1);
}

TEST(SettingFor, OfABulkCameraIsItsEndpointWhateverThePayload) {
    const auto interface = read(endpoint(0x81, 2, 512));
    EXPECT_EQ(settingFor(interface, 4'000'000)->kind, UvcEndpointKind::bulk);
    EXPECT_EQ(settingFor(UvcStreamingInterface{}, 1), nullptr);
}

} // namespace
} // namespace tavelo
