// SPDX-License-Identifier: MIT
#include "uvc/value_coding.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::int64_t decoded(std::int32_t size, bool isSigned, const Bytes& reply) {
    return ValueFormat::ofSize(size, isSigned)->decode(reply);
}

TEST(ValueFormat, OneByte) {
    EXPECT_EQ(decoded(1, false, {0xFF}), 255);
    EXPECT_EQ(decoded(1, true, {0xFF}), -1);
    EXPECT_EQ(decoded(1, true, {0x7F}), 127);
}

TEST(ValueFormat, TwoBytes) {
    EXPECT_EQ(decoded(2, true, {0x00, 0x80}), -32768);
    EXPECT_EQ(decoded(2, false, {0x00, 0x80}), 32768);
    EXPECT_EQ(decoded(2, true, {0xFF, 0x7F}), 32767);
}

TEST(ValueFormat, FourBytes) {
    EXPECT_EQ(decoded(4, true, {0, 0, 0, 0x80}), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(decoded(4, false, {0, 0, 0, 0x80}), 0x80000000LL);
}

TEST(ValueFormat, EightBytes) {
    const Bytes lowest{0, 0, 0, 0, 0, 0, 0, 0x80};
    EXPECT_EQ(decoded(8, true, lowest), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(decoded(8, false, lowest), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(decoded(8, true, {1, 2, 3, 4, 5, 6, 7, 8}), 0x0807060504030201);
}

TEST(ValueFormat, ShortReplyIsFilledUpWithZeros) {
    EXPECT_EQ(decoded(2, true, {0xFF}), 255);
    EXPECT_EQ(decoded(4, false, {0x10, 0x27}), 10000);
    EXPECT_EQ(decoded(2, true, {}), 0);
}

TEST(ValueFormat, SizesThatNoControlHasReadAsZeroOrTheSign) {
    for (const std::int32_t size : {3, 5, 6, 7}) {
        const Bytes reply(static_cast<std::size_t>(size), 0x7F);
        EXPECT_EQ(decoded(size, false, reply), 0);
        EXPECT_EQ(decoded(size, true, reply), 0);
        const Bytes negative(static_cast<std::size_t>(size), 0xFF);
        EXPECT_EQ(decoded(size, false, negative), 0);
        EXPECT_EQ(decoded(size, true, negative), -1);
    }
    EXPECT_EQ(decoded(0, true, {}), 0);
    EXPECT_EQ(decoded(0, true, Bytes(8, 0xFF)), 0);
}

TEST(ValueFormat, ThereIsNoneForMoreThanEightBytes) {
    EXPECT_FALSE(ValueFormat::ofSize(9, false));
    EXPECT_FALSE(ValueFormat::ofSize(-1, true));
}

TEST(Overlaid, ReplacesTheLowBytesOnly) {
    EXPECT_EQ(overlaid(0x1122334455667788, Bytes{0xAA, 0xBB}), 0x112233445566BBAA);
    EXPECT_EQ(overlaid(-1, Bytes{}), -1);
    EXPECT_EQ(overlaid(0, Bytes(12, 0x01)), 0x0101010101010101);
}

} // namespace
} // namespace tavelo
