// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/payload_header.h"

#include <gmock/gmock.h>

#include <vector>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(PayloadHeader, ReadsItsFlags) {
    const auto plain = parsePayloadHeader(Bytes{2, 0x80, 9, 9});
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->length, 2U);
    EXPECT_FALSE(plain->frameIdentifier || plain->endOfFrame || plain->error || plain->still);
    EXPECT_TRUE(parsePayloadHeader(Bytes{2, 0x81})->frameIdentifier);
    EXPECT_TRUE(parsePayloadHeader(Bytes{2, 0x82})->endOfFrame);
    EXPECT_TRUE(parsePayloadHeader(Bytes{2, 0xC0})->error);
    EXPECT_TRUE(parsePayloadHeader(Bytes{2, 0xA0})->still);
}

TEST(PayloadHeader, ReadsItsTimes) {
    const auto both = parsePayloadHeader(Bytes{12, 0x8C, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF, 0xFF});
    ASSERT_TRUE(both);
    EXPECT_EQ(both->presentationTime, 0x04030201U);
    EXPECT_EQ(both->sourceClock, 0x08070605U);
    EXPECT_EQ(both->busFrame, 0x07FF);
    const auto clock = parsePayloadHeader(Bytes{8, 0x88, 5, 6, 7, 8, 1, 0});
    EXPECT_FALSE(clock->presentationTime);
    EXPECT_EQ(clock->sourceClock, 0x08070605U);
    EXPECT_EQ(clock->busFrame, 1);
}

TEST(PayloadHeader, TimesThatDoNotFitAreNotThere) {
    const auto header = parsePayloadHeader(Bytes{6, 0x8C, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9});
    ASSERT_TRUE(header);
    EXPECT_EQ(header->length, 6U);
    EXPECT_TRUE(header->presentationTime);
    EXPECT_FALSE(header->sourceClock);
    EXPECT_FALSE(parsePayloadHeader(Bytes{5, 0x84, 1, 2, 3, 4})->presentationTime);
}

TEST(PayloadHeader, BytesThatBeginWithNoneHaveNone) {
    for (const Bytes& bytes :
         {Bytes{}, Bytes{2}, Bytes{0, 0}, Bytes{1, 0x80}, Bytes{3, 0x80}, Bytes{255, 0x80}})
        EXPECT_FALSE(parsePayloadHeader(bytes));
}

} // namespace
} // namespace tavelo
