// SPDX-License-Identifier: MIT
#include "uvc/walk_patience.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(WalkPatience, RefusalsNeverEndIt) {
    WalkPatience patience;
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(patience.judge(ErrorCode::refused), AfterFailure::goOn);
}

TEST(WalkPatience, ACameraThatIsGoneEndsItAtOnce) {
    EXPECT_EQ(WalkPatience().judge(ErrorCode::gone), AfterFailure::end);
}

TEST(WalkPatience, TheSecondOfAnyOtherFailureEndsIt) {
    for (const ErrorCode failure :
         {ErrorCode::timeout, ErrorCode::denied, ErrorCode::failed, ErrorCode::closed}) {
        WalkPatience patience;
        EXPECT_EQ(patience.judge(failure), AfterFailure::afterQuiet);
        EXPECT_EQ(patience.judge(ErrorCode::refused), AfterFailure::goOn);
        EXPECT_EQ(patience.judge(failure), AfterFailure::end);
    }
}

} // namespace
} // namespace tavelo
