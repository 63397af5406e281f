// SPDX-License-Identifier: MIT
#include "cli/text_table.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(TextTable, AlignsColumnsAndLeavesNoBlanksAtTheEnd) {
    TextTable table;
    table.add({"A", "LONGER", "B"});
    table.add({"wide", "x", ""});
    EXPECT_EQ(table.text(), "A     LONGER  B\nwide  x\n");
}

TEST(TextTable, CountsCharactersAndNotBytes) {
    TextTable table;
    table.add({"é", "x"});
    table.add({"ab", "y"});
    EXPECT_EQ(table.text(), "é   x\nab  y\n");
}

TEST(TextTable, RowsMayHaveDifferentLengths) {
    TextTable table;
    table.add({"a"});
    table.add({"b", "c"});
    EXPECT_EQ(table.text(), "a\nb  c\n");
}

TEST(TextTable, IsEmptyWithoutRows) {
    EXPECT_EQ(TextTable().text(), "");
}

} // namespace
} // namespace tavelo
