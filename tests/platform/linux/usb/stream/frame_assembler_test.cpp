// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/frame_assembler.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Time = FrameAssembler::Time;

constexpr std::uint8_t fid = 0x01;
constexpr std::uint8_t eof = 0x02;
constexpr std::uint8_t still = 0x20;
constexpr std::uint8_t err = 0x40;

constexpr std::size_t capacity = 16;
constexpr std::size_t wholeFrame = 8;

Bytes payload(std::uint8_t flags, const Bytes& data) {
    Bytes bytes{2, std::uint8_t(0x80 | flags)};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

class AssemblerTest : public testing::Test {
protected:
    AssemblerTest() { mailbox.open(capacity); }

    void give(std::uint8_t flags, const Bytes& data, Time now = Time(1s)) {
        assembler.beginPayload(payload(flags, data), now);
        assembler.endPayload();
        collect();
    }

    // Collects the waiting frame, if any.
    void collect() {
        if (mailbox.wait(Time{}) != FrameMailbox::Event::frame) return;
        const FrameMailbox::Frame& frame = mailbox.reading();
        frames.emplace_back(frame.bytes.begin(), frame.bytes.begin() + std::ptrdiff_t(frame.size));
        times.push_back(frame.time);
    }

    FrameMailbox mailbox;
    FrameAssembler assembler{mailbox, wholeFrame};
    FrameAssembler jpeg{mailbox, 0};
    std::vector<Bytes> frames;
    std::vector<Time> times;
};

TEST_F(AssemblerTest, JoinsTheDataOfAFramesPayloads) {
    give(0, {1, 2, 3});
    give(0, {4, 5, 6});
    EXPECT_THAT(frames, IsEmpty());
    give(eof, {7, 8});
    EXPECT_THAT(frames, ElementsAre(Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(AssemblerTest, AnIdentifierThatTogglesEndsTheFrameBefore) {
    give(0, Bytes(8, 1));
    give(fid, Bytes(8, 2));
    give(0, Bytes(8, 3));
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 1), Bytes(8, 2)));
}

TEST_F(AssemblerTest, EndAndToggleMakeOneFrameNotTwo) {
    give(eof, Bytes(8, 1));
    give(fid | eof, Bytes(8, 2));
    give(eof, Bytes(8, 3));
    EXPECT_EQ(frames.size(), 3U);
    EXPECT_EQ(mailbox.damaged(), 0U);
}

TEST_F(AssemblerTest, AnIdentifierThatNeverTogglesDoesNotMatterIfFramesAreEnded) {
    for (std::uint8_t i = 0; i < 3; ++i) {
        give(fid, Bytes(4, i));
        give(fid | eof, Bytes(4, i));
    }
    EXPECT_EQ(frames.size(), 3U);
}

TEST_F(AssemblerTest, ScrapsAfterTheEndAreNoFrame) {
    give(eof, Bytes(8, 1));
    give(0, {9});
    give(eof, {});
    give(fid | eof, Bytes(8, 2));
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 1), Bytes(8, 2)));
}

TEST_F(AssemblerTest, EmptyPayloadsBetweenFramesCountForNothing) {
    give(eof, Bytes(8, 1));
    for (int i = 0; i < 5; ++i)
        give(0, {});
    for (int i = 0; i < 5; ++i)
        give(fid, {}, Time(5s));
    give(fid, Bytes(4, 2), Time(6s));
    give(fid | eof, Bytes(4, 2), Time(7s));
    EXPECT_EQ(frames.size(), 2U);
    EXPECT_EQ(mailbox.damaged(), 0U);
    EXPECT_EQ(times.back(), Time(6s)) << "the time of the first bytes";
}

TEST_F(AssemblerTest, AFrameThatTheCameraCallsDamagedIsDropped) {
    give(0, Bytes(4, 1));
    give(err, Bytes(4, 1));
    give(eof, {});
    EXPECT_THAT(frames, IsEmpty());
    EXPECT_EQ(mailbox.damaged(), 1U);
    give(fid | eof, Bytes(8, 2));
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 2))) << "the next one is whole again";
    EXPECT_EQ(mailbox.damaged(), 0U);
}

TEST_F(AssemblerTest, ShortFramesAreDropped) {
    give(eof, Bytes(7, 1));
    give(fid, Bytes(7, 1));
    give(0, Bytes(8, 2));
    give(fid, {});
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 2)));
}

TEST_F(AssemblerTest, LongerFramesPassAsFarAsTheBufferGoes) {
    give(eof, Bytes(capacity, 1));
    EXPECT_THAT(frames, ElementsAre(Bytes(capacity, 1)));
    give(fid, Bytes(capacity, 2));
    give(fid | eof, {3});
    EXPECT_EQ(frames.size(), 1U) << "one byte too many";
    give(eof, Bytes(8, 4));
    EXPECT_EQ(frames.size(), 2U);
}

TEST_F(AssemblerTest, BytesLostOnTheBusDamageTheFrameUnderWayAlone) {
    give(0, Bytes(8, 1));
    assembler.lose();
    give(eof, Bytes(4, 1));
    EXPECT_THAT(frames, IsEmpty());
    assembler.lose();
    give(fid | eof, Bytes(8, 2));
    EXPECT_EQ(frames.size(), 1U);
}

TEST_F(AssemblerTest, APayloadWithoutAHeaderDamagesTheFrame) {
    give(0, Bytes(8, 1));
    assembler.beginPayload(Bytes{1, 0x80, 5, 5}, Time{});
    assembler.continuePayload(Bytes(4, 5), Time{});
    assembler.endPayload();
    give(eof, {});
    EXPECT_THAT(frames, IsEmpty());
    EXPECT_EQ(mailbox.damaged(), 1U);
}

TEST_F(AssemblerTest, StillPicturesAreNoFrames) {
    give(0, Bytes(4, 1));
    give(still | eof, Bytes(8, 9));
    give(eof, Bytes(4, 1));
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 1)));
}

TEST_F(AssemblerTest, AJpegPictureBeginsAsOne) {
    const auto give = [this](std::uint8_t flags, const Bytes& data) {
        jpeg.beginPayload(payload(flags, data), Time{});
        jpeg.endPayload();
        collect();
    };
    give(eof, {0xFF, 0xD8, 1});
    give(fid | eof, {0xFF, 0xD9, 1});
    give(eof, {0xFF, 0xD8});
    give(fid | eof, {0xFF});
    EXPECT_THAT(frames, ElementsAre(Bytes{0xFF, 0xD8, 1}));
}

class JoinerTest : public AssemblerTest {
protected:
    void take(PayloadJoiner& joiner, const Bytes& bytes, bool damaged = false) {
        const UsbPacket packet{bytes, damaged};
        joiner.take({&packet, 1}, Time{});
        collect();
    }
};

TEST_F(JoinerTest, EachIsochronousPacketIsAPayload) {
    PayloadJoiner joiner(assembler, {0x81, true, 10, 4}, 10);
    const Bytes first = payload(0, Bytes(4, 1));
    const Bytes last = payload(eof, Bytes(4, 2));
    const std::vector<UsbPacket> packets{{first, false}, {{}, false}, {last, false}, {{}, false}};
    joiner.take(packets, Time{});
    collect();
    EXPECT_THAT(frames, ElementsAre(Bytes{1, 1, 1, 1, 2, 2, 2, 2}));
}

TEST_F(JoinerTest, AnIsochronousPacketLostDamagesItsFrame) {
    PayloadJoiner joiner(assembler, {0x81, true, 10, 1}, 10);
    take(joiner, payload(0, Bytes(8, 1)));
    take(joiner, {}, true);
    take(joiner, payload(eof, Bytes(4, 1)));
    EXPECT_THAT(frames, IsEmpty());
}

TEST_F(JoinerTest, ABulkPayloadGoesOnUntilAShortTransfer) {
    PayloadJoiner joiner(assembler, {0x81, false, 4, 1}, 100);
    take(joiner, payload(eof, {1, 2}));
    take(joiner, {3, 4, 5, 6});
    EXPECT_THAT(frames, IsEmpty());
    take(joiner, {7, 8});
    EXPECT_THAT(frames, ElementsAre(Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    take(joiner, payload(fid, {1, 2}));
    take(joiner, {});
    take(joiner, payload(fid | eof, {3, 4}));
    take(joiner, {5, 6, 7, 8});
    take(joiner, {});
    EXPECT_EQ(frames.size(), 2U);
}

TEST_F(JoinerTest, ABulkPayloadEndsAtTheSizeAgreedOnEvenInATransfersMiddle) {
    PayloadJoiner joiner(assembler, {0x81, false, 8, 1}, 6);
    Bytes stream;
    for (const Bytes& part : {payload(0, {1, 2, 3, 4}), payload(eof, {5, 6, 7, 8}),
                              payload(fid, {1, 1, 1, 1}), payload(fid | eof, {2, 2, 2, 2})})
        stream.insert(stream.end(), part.begin(), part.end());
    for (std::size_t at = 0; at < stream.size(); at += 8)
        take(joiner, {stream.begin() + std::ptrdiff_t(at), stream.begin() + std::ptrdiff_t(at + 8)});
    EXPECT_THAT(frames, ElementsAre(Bytes{1, 2, 3, 4, 5, 6, 7, 8}, Bytes{1, 1, 1, 1, 2, 2, 2, 2}));
}

TEST_F(JoinerTest, ADamagedBulkTransferEndsItsPayloadAndItsFrame) {
    PayloadJoiner joiner(assembler, {0x81, false, 8, 1}, 100);
    take(joiner, payload(0, Bytes(6, 1)), true);
    take(joiner, payload(eof, {1, 1}));
    EXPECT_THAT(frames, IsEmpty());
    take(joiner, payload(fid, Bytes(6, 2)));
    take(joiner, Bytes(2, 2));
    take(joiner, payload(fid | eof, {}));
    EXPECT_THAT(frames, ElementsAre(Bytes(8, 2)));
}

TEST_F(JoinerTest, AnyBytesAreJoinedWithoutHarm) {
    std::minstd_rand random(5);
    for (const bool isochronous : {true, false}) {
        PayloadJoiner joiner(assembler, {0x81, isochronous, 12, 1}, 20);
        for (int i = 0; i < 20000; ++i) {
            Bytes bytes(random() % 13);
            for (std::uint8_t& byte : bytes)
                byte = std::uint8_t(random() % 4 == 0 ? random() : random() % 4);
            take(joiner, bytes, random() % 50 == 0);
        }
    }
    for (const Bytes& frame : frames) {
        EXPECT_GE(frame.size(), wholeFrame);
        EXPECT_LE(frame.size(), capacity);
    }
    EXPECT_FALSE(frames.empty());
}

} // namespace
} // namespace tavelo
