// SPDX-License-Identifier: MIT
#include "extensions/extension_control.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(Titles, ALanguageWithoutATitleShowsTheEnglishOne) {
    const Titles titles{{"de", "Lampe"}, {"en", "Lamp"}};
    EXPECT_EQ(titleIn(titles, "de"), "Lampe");
    EXPECT_EQ(titleIn(titles, "en"), "Lamp");
    EXPECT_EQ(titleIn(titles, "fr"), "Lamp");
    EXPECT_EQ(titleIn({}, "fr"), "");
}

} // namespace
} // namespace tavelo
