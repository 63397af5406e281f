// SPDX-License-Identifier: MIT
#include "platform/uvc/little_endian.h"

#include <gmock/gmock.h>

#include <array>

namespace tavelo {
namespace {

using testing::ElementsAre;

TEST(LittleEndian, ReadsTheLeastSignificantByteFirst) {
    const std::array<std::uint8_t, 9> bytes{1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(littleEndian(bytes), 0x0807060504030201U);
    EXPECT_EQ(littleEndian(bytes, 2, 3), 0x050403U);
    EXPECT_EQ(wordAt(bytes, 1), 0x0302U);
    EXPECT_EQ(doubleWordAt(bytes, 5), 0x09080706U);
}

TEST(LittleEndian, BytesBeyondTheSpanCountAsZero) {
    const std::array<std::uint8_t, 3> bytes{1, 2, 3};
    EXPECT_EQ(littleEndian(bytes), 0x030201U);
    EXPECT_EQ(wordAt(bytes, 2), 3U);
    EXPECT_EQ(doubleWordAt(bytes, 3), 0U);
    EXPECT_EQ(wordAt({}, 1), 0U);
}

TEST(LittleEndian, AppendsAsManyBytesAsAsked) {
    std::vector<std::uint8_t> bytes{0xFF};
    appendLittleEndian(bytes, 0x010203, 2);
    EXPECT_THAT(bytes, ElementsAre(0xFF, 3, 2));
    appendLittleEndian(bytes, 1, 9);
    EXPECT_THAT(bytes, ElementsAre(0xFF, 3, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(LittleEndian, LowAndHighByte) {
    EXPECT_EQ(lowByte(0x123456), 0x56);
    EXPECT_EQ(highByte(0x123456), 0x34);
}

TEST(LittleEndian, WritesTheLowBytes) {
    std::array<std::uint8_t, 2> two{};
    putLittleEndian(~std::uint64_t{0}, two);
    EXPECT_EQ(two, (std::array<std::uint8_t, 2>{0xFF, 0xFF}));
    std::array<std::uint8_t, 1> one{};
    putLittleEndian(300, one);
    EXPECT_EQ(one[0], 0x2C);
    std::array<std::uint8_t, 9> nine{};
    putLittleEndian(~std::uint64_t{0}, nine);
    EXPECT_EQ(nine[7], 0xFF);
    EXPECT_EQ(nine[8], 0x00);
}

TEST(LittleEndian, OfAnIntegerEveryByteCountsAndTheLastOneHoldsTheSign) {
    const std::array<std::uint8_t, 3> bytes{1, 2, 0xFF};
    EXPECT_EQ(integerOf(bytes, false), 0xFF0201);
    EXPECT_EQ(integerOf(bytes, true), -0x10000 + 0x0201);
    EXPECT_EQ(integerOf(std::span(bytes).first(2), true), 0x0201);
    EXPECT_EQ(integerOf({}, true), 0);
}

} // namespace
} // namespace tavelo
