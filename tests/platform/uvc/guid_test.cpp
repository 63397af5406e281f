// SPDX-License-Identifier: MIT
#include "platform/uvc/guid.h"

#include <gmock/gmock.h>

namespace tavelo {
namespace {

constexpr Guid counting{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 255};
constexpr std::string_view countingText = "03020100-0504-0706-0809-0a0b0c0d0eff";

TEST(Guid, TheFirstThreeGroupsAreNumbersWithTheLeastSignificantByteFirst) {
    EXPECT_EQ(guidText(counting), countingText);
    EXPECT_EQ(guidOf(countingText), counting);
}

TEST(Guid, CapitalLettersAreReadToo) {
    EXPECT_EQ(guidOf("03020100-0504-0706-0809-0A0B0C0D0EFF"), counting);
}

TEST(Guid, AnyOtherTextIsNone) {
    for (const std::string_view text :
         {"", "03020100", "03020100-0504-0706-0809-0a0b0c0d0ef", "03020100-0504-0706-0809-0a0b0c0d0eff0",
          "03020100-0504-0706-0809-0a0b0c0d0eff ", "030201000504-0706-0809-0a0b0c0d0eff",
          "0302-01000504-0706-0809-0a0b0c0d0eff", "03020100-0504-0706-0809-0a0b0c0d0efg",
          "-3020100-0504-0706-0809-0a0b0c0d0eff", "03020100-0504-0706-08090a0b0c0d0eff",
          "0x020100-0504-0706-0809-0a0b0c0d0eff", "{3020100-0504-0706-0809-0a0b0c0d0eff"})
        EXPECT_FALSE(guidOf(text)) << text;
    for (std::size_t length = 0; length < countingText.size(); ++length)
        EXPECT_FALSE(guidOf(countingText.substr(0, length))) << length;
}

} // namespace
} // namespace tavelo
