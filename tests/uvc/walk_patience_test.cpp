// SPDX-License-Identifier: MIT
#include "uvc/walk_patience.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

TEST(WalkPatience, RefusalsNeverEndIt) {
    WalkPatience patience;
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(patience.judge(UsbStatus::refused), AfterFailure::goOn);
}

TEST(WalkPatience, ACameraThatIsGoneEndsItAtOnce) {
    EXPECT_EQ(WalkPatience().judge(UsbStatus::gone), AfterFailure::end);
}

TEST(WalkPatience, TheSecondOfAnyOtherFailureEndsIt) {
    for (const UsbStatus failure :
         {UsbStatus::timeout, UsbStatus::denied, UsbStatus::failed, UsbStatus::notOpen}) {
        WalkPatience patience;
        EXPECT_EQ(patience.judge(failure), AfterFailure::afterQuiet);
        EXPECT_EQ(patience.judge(UsbStatus::refused), AfterFailure::goOn);
        EXPECT_EQ(patience.judge(failure), AfterFailure::end);
    }
}

} // namespace
} // namespace tavelo
