// SPDX-License-Identifier: MIT
#include "service/camera_turns.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <optional>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CameraTurnsTest : public ::testing::Test {
protected:
    /// Notes the name when its turn begins, and keeps the turn.
    void wait(const std::string& camera, const std::string& name) {
        turns_->wait(camera, [this, name](CameraTurns::Turn turn) {
            begun_.push_back(name);
            held_.push_back(std::move(turn));
        });
    }

    QObject context_;
    std::vector<std::string> begun_;
    std::vector<CameraTurns::Turn> held_;
    std::optional<CameraTurns> turns_{std::in_place, context_};
};

TEST_F(CameraTurnsTest, TheFirstBeginsAtOnce) {
    wait("a", "first");
    EXPECT_THAT(begun_, ElementsAre("first"));
}

TEST_F(CameraTurnsTest, OthersFollowInTheirOrderOnceTheTurnIsOver) {
    wait("a", "first");
    wait("a", "second");
    wait("a", "third");
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first"));
    held_[0].reset();
    EXPECT_THAT(begun_, ElementsAre("first"))
        << "only from the event loop: who released it may not expect it";
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first", "second"));
    held_[1].reset();
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first", "second", "third"));
}

TEST_F(CameraTurnsTest, NobodyOvertakesTheOneThatIsAboutToBegin) {
    wait("a", "first");
    wait("a", "second");
    held_[0].reset();
    wait("a", "third");
    EXPECT_THAT(begun_, ElementsAre("first"));
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first", "second"));
}

TEST_F(CameraTurnsTest, ATurnLastsAsLongAsItsLastCopy) {
    wait("a", "first");
    wait("a", "second");
    CameraTurns::Turn copy = held_[0];
    held_[0].reset();
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first"));
    copy.reset();
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, ElementsAre("first", "second"));
}

TEST_F(CameraTurnsTest, ACameraThatNobodyHasAnyMoreIsFreeAtOnce) {
    wait("a", "first");
    held_[0].reset();
    wait("a", "second");
    EXPECT_THAT(begun_, ElementsAre("first", "second"));
}

TEST_F(CameraTurnsTest, DifferentCamerasDoNotWaitForEachOther) {
    wait("a", "first");
    wait("b", "other");
    EXPECT_THAT(begun_, ElementsAre("first", "other"));
}

TEST_F(CameraTurnsTest, AfterTheEndNobodyBeginsAndTurnsMayStillBeReleased) {
    wait("a", "first");
    wait("a", "second");
    wait("b", "other");
    wait("b", "next");
    held_[0].reset(); // the second is on its way
    begun_.clear();
    turns_.reset();
    held_.clear();
    QCoreApplication::processEvents();
    EXPECT_THAT(begun_, IsEmpty());
}

} // namespace
} // namespace tavelo
