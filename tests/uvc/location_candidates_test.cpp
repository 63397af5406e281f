// SPDX-License-Identifier: MIT
#include "uvc/location_candidates.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(LocationCandidates, ReadsEightSevenAndSixDigits) {
    EXPECT_EQ(locationCandidates("0x142000001bcf2b90"),
              (LocationCandidates{0x14200000, 0x1420000, 0x142000}));
}

TEST(LocationCandidates, ReadsUpperAndLowerCase) {
    EXPECT_EQ(locationCandidates("0xFfFfAaBb1234")[0], 0xFFFFAABBU);
}

TEST(LocationCandidates, StopsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(locationCandidates("0x12-34567"), (LocationCandidates{0x12, 0x12, 0x12}));
    EXPECT_EQ(locationCandidates("0x7"), (LocationCandidates{7, 7, 7}));
}

TEST(LocationCandidates, ReadsTheControlInterfaceBehindTheProduct) {
    const LocationCandidates second = locationCandidates("0x142000001bcf2b900a");
    EXPECT_EQ(second.controlInterface, 10);
    EXPECT_EQ(second[0], 0x14200000U);
    for (const char* text : {"0x142000001bcf2b90", "0x142000001bcf2b900", "0x142000001bcf2b90000",
                             "0x142000001bcf2b90+1", "0x142000001bcf2b90zz", "0x14200001bcf2b9002"})
        EXPECT_EQ(locationCandidates(text).controlInterface, std::nullopt) << text;
}

TEST(LocationCandidates, AnythingElseReadsAsZero) {
    for (const char* text : {"", "0", "0x", "x14200000", "14200000", " 0x14200000", "0X14200000",
                             "0x-1420000", "0x+1420000", "0x 1420000", "camera"})
        EXPECT_EQ(locationCandidates(text), LocationCandidates{}) << text;
    EXPECT_EQ(locationCandidates("0x0x142000"), LocationCandidates{});
}

} // namespace
} // namespace tavelo
