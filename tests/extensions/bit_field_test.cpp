// SPDX-License-Identifier: MIT
#include "extensions/bit_field.h"

#include <gmock/gmock.h>

#include <array>
#include <vector>

namespace tavelo {
namespace {

using ::testing::ElementsAre;

TEST(BitField, AWholeByteIsItsNumber) {
    const std::array<std::uint8_t, 3> bytes{1, 200, 3};
    EXPECT_EQ((BitField{0, 8, false}.valueIn(bytes)), 1);
    EXPECT_EQ((BitField{8, 8, false}.valueIn(bytes)), 200);
    EXPECT_EQ((BitField{8, 8, true}.valueIn(bytes)), -56);
}

TEST(BitField, SeveralBytesHaveTheLeastSignificantOneFirst) {
    const std::array<std::uint8_t, 5> bytes{0xFF, 0x34, 0x12, 0xFE, 0xFF};
    EXPECT_EQ((BitField{8, 16, false}.valueIn(bytes)), 0x1234);
    EXPECT_EQ((BitField{8, 32, true}.valueIn(bytes)), -(0x10000 - 0x1234) - 0x10000);
    EXPECT_EQ((BitField{8, 32, false}.valueIn(bytes)), 0xFFFE1234LL);
}

TEST(BitField, BitsMayReachOverTheEndOfAByte) {
    const std::array<std::uint8_t, 2> bytes{0b1010'0000, 0b0000'0110};
    EXPECT_EQ((BitField{5, 6, false}.valueIn(bytes)), 0b110101);
    EXPECT_EQ((BitField{5, 6, true}.valueIn(bytes)), 0b110101 - 64);
}

TEST(BitField, PuttingAValueKeepsEveryOtherBit) {
    std::array<std::uint8_t, 3> bytes{0xFF, 0xFF, 0xFF};
    BitField{6, 5, false}.put(0b01001, bytes);
    EXPECT_THAT(bytes, ElementsAre(0b0111'1111, 0b1111'1010, 0xFF));
    bytes = {0, 0, 0};
    BitField{6, 5, true}.put(-1, bytes);
    EXPECT_THAT(bytes, ElementsAre(0b1100'0000, 0b0000'0111, 0));
}

TEST(BitField, EachValueComesBackAsItWasPut) {
    for (const BitField field : {BitField{0, 1, false}, BitField{3, 7, true}, BitField{9, 32, true},
                                 BitField{7, 32, false}, BitField{2, 4, true}}) {
        for (const std::int64_t value :
             {field.lowest(), field.lowest() + 1, field.highest() - 1, field.highest()}) {
            std::vector<std::uint8_t> bytes(6, 0x5A);
            field.put(value, bytes);
            EXPECT_EQ(field.valueIn(bytes), value) << field.first << " " << field.count;
        }
    }
}

TEST(BitField, HoldsWhatItsBitsCanHold) {
    const BitField plain{0, 4, false};
    EXPECT_EQ(plain.lowest(), 0);
    EXPECT_EQ(plain.highest(), 15);
    EXPECT_FALSE(plain.holds(-1));
    EXPECT_TRUE(plain.holds(15));
    EXPECT_FALSE(plain.holds(16));
    const BitField withSign{0, 4, true};
    EXPECT_EQ(withSign.lowest(), -8);
    EXPECT_EQ(withSign.highest(), 7);
    EXPECT_EQ((BitField{0, 32, false}.highest()), 4294967295LL);
}

} // namespace
} // namespace tavelo
