// SPDX-License-Identifier: MIT
#include "platform/linux/printable.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(Printable, ControlCharactersBecomeSpacesAndOtherTextStays) {
    EXPECT_EQ(printable("Cam\x1B[2J\x7F\n"), "Cam [2J  ");
    EXPECT_EQ(printable("Kamera \xC3\xBC"), "Kamera \xC3\xBC");
}

TEST(Printable, OnlyAsciiIsLeft) {
    EXPECT_EQ(printableAscii("caf\xC3\xA9\t~ 1"), "caf???~ 1");
}

} // namespace
} // namespace tavelo
