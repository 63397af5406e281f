// SPDX-License-Identifier: MIT
#include "uvc/keyed_archive.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavelo {
namespace {

TEST(KeyedArchive, GivesBackWhatWasWritten) {
    KeyedArchive archive;
    archive.encodeText("Zoom", "text");
    archive.encodeBool(true, "flag");
    archive.encodeInt64(std::numeric_limits<std::int64_t>::min(), "number");
    EXPECT_EQ(archive.decodeText("text"), "Zoom");
    EXPECT_TRUE(archive.decodeBool("flag"));
    EXPECT_EQ(archive.decodeInt64("number"), std::numeric_limits<std::int64_t>::min());
}

TEST(KeyedArchive, LaterValueOfAKeyWins) {
    KeyedArchive archive;
    archive.encodeInt64(1, "number");
    archive.encodeInt64(2, "number");
    EXPECT_EQ(archive.decodeInt64("number"), 2);
}

TEST(KeyedArchive, AbsentKeysAndOtherTypesReadAsNothing) {
    KeyedArchive archive;
    archive.encodeText("7", "value");
    EXPECT_EQ(archive.decodeInt64("value"), 0);
    EXPECT_FALSE(archive.decodeBool("value"));
    EXPECT_EQ(archive.decodeText("absent"), "");
}

} // namespace
} // namespace tavelo
