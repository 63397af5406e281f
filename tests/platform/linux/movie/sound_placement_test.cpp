// SPDX-License-Identifier: MIT
#include "platform/linux/movie/sound_placement.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace tavelo::testing {
namespace {

constexpr double rate = 48000;
constexpr double piece = 1024;

/// A microphone whose clock is off by a share, and whose times jitter; and the movie that it ends up in.
class Recording {
public:
    explicit Recording(double drift, double jitterSeconds = 0, double frames = piece)
        : drift_(drift),
          jitter_(-jitterSeconds, jitterSeconds),
          frames_(frames) {}

    /// The microphone's next piece.
    SoundPlacement::Step next() {
        const double start = begin_ + double(count_++) * frames_ * (1 + drift_);
        const double measured = start + jitter_(random_) * rate;
        const auto step = placement_.place(measured, frames_, std::llround(end_));
        if (step.silence > 0 || step.skipped > 0) ++corrections;
        end_ += double(step.silence);
        worst = std::max(worst, std::abs(end_ - (start + double(step.skipped))) / rate);
        const double left = std::max(0.0, frames_ - double(step.skipped));
        end_ += left * (1 + step.stretch);
        if (count_ > 1) worstChange = std::max(worstChange, std::abs(step.stretch - stretch));
        stretch = step.stretch;
        worstStretch = std::max(worstStretch, std::abs(stretch));
        return step;
    }
    void pass(double seconds) {
        for (double time = 0; time < seconds; time += frames_ / rate)
            next();
    }
    /// Sound is lost.
    void gap(double seconds) { begin_ += seconds * rate; }

    int corrections = 0; ///< silence or cuts
    double worst = 0;    ///< distance from where the sound belongs, in seconds
    double worstStretch = 0;
    double worstChange = 0; ///< of the stretch, from one piece to the next
    double stretch = 0;     ///< the last

private:
    const double drift_;
    std::uniform_real_distribution<double> jitter_;
    const double frames_;
    std::mt19937 random_{1};
    double begin_ = 0;
    long count_ = 0;
    double end_ = 0;
    SoundPlacement placement_{rate};
};

struct Clock {
    double drift;
    double jitter; ///< in seconds, either way
};
class SoundPlacementClocks : public ::testing::TestWithParam<Clock> {};

TEST_P(SoundPlacementClocks, TenMinutesStayInStepAndNoStepIsHeard) {
    Recording run(GetParam().drift, GetParam().jitter);
    run.pass(600);
    EXPECT_LT(run.worst, 0.015);
    // Silence before the first piece, whose time jitters too, is the only correction.
    EXPECT_LE(run.corrections, 1);
    EXPECT_LT(run.worstStretch, 0.001) << "half a comma";
    EXPECT_LT(run.worstChange, 0.00003);
    EXPECT_NEAR(run.stretch, GetParam().drift, 0.0003) << "the drift is known in the end";
}

INSTANTIATE_TEST_SUITE_P(Drifts, SoundPlacementClocks,
                         ::testing::Values(Clock{0, 0}, Clock{200e-6, 0}, Clock{-200e-6, 0},
                                           Clock{200e-6, 0.01}, Clock{-200e-6, 0.01}, Clock{500e-6, 0.005}));

TEST(SoundPlacement, DriftIsFollowedWithinThreeMilliseconds) {
    Recording run(200e-6);
    run.pass(600);
    EXPECT_LT(run.worst, 0.003);
    EXPECT_NEAR(run.stretch, 200e-6, 5e-6);
}

TEST(SoundPlacement, ExactTimesChangeNothing) {
    SoundPlacement placement(rate);
    for (int i = 0; i < 1000; ++i) {
        const auto step = placement.place(i * piece, piece, std::llround(i * piece));
        EXPECT_EQ(step.silence, 0);
        EXPECT_EQ(step.skipped, 0);
        EXPECT_EQ(step.stretch, 0);
    }
}

TEST(SoundPlacement, FirstSoundIsPutExactlyIntoItsPlace) {
    SoundPlacement late(rate);
    EXPECT_EQ(late.place(100, piece, 0).silence, 100);
    SoundPlacement early(rate);
    const auto step = early.place(-100, piece, 0);
    EXPECT_EQ(step.silence, 0);
    EXPECT_EQ(step.skipped, 100);
}

TEST(SoundPlacement, SoundBeforeTheMovieIsLeftOutUntilSomeOfItBelongsIntoIt) {
    SoundPlacement placement(rate);
    EXPECT_EQ(placement.place(-3000, piece, 0).skipped, 3000) << "the whole piece";
    EXPECT_EQ(placement.place(-3000 + piece, piece, 0).skipped, 1976);
    EXPECT_EQ(placement.place(-3000 + 2 * piece, piece, 0).skipped, 952);
    const auto next = placement.place(-3000 + 3 * piece, piece, 72);
    EXPECT_EQ(next.skipped, 0);
    EXPECT_EQ(next.silence, 0);
}

TEST(SoundPlacement, AGapBecomesSilenceOfItsLengthAtOnce) {
    Recording run(200e-6, 0.002);
    run.pass(120);
    run.corrections = 0;
    run.gap(0.5);
    EXPECT_NEAR(double(run.next().silence), 0.5 * rate, 0.01 * rate);
    EXPECT_NEAR(run.stretch, 200e-6, 100e-6) << "the drift is still known";
    run.pass(60);
    EXPECT_EQ(run.corrections, 1);
    EXPECT_LT(run.worst, 0.015);
}

TEST(SoundPlacement, ACorrectionEndsWhatWasBeingPutRightSlowly) {
    SoundPlacement placement(rate);
    placement.place(0, piece, 0);
    const double late = 0.02 * rate;
    SoundPlacement::Step step;
    for (int i = 1; i < 150; ++i)
        step = placement.place(i * piece + late, piece, std::llround(i * piece));
    EXPECT_GT(step.stretch, 0.001);
    step = placement.place(200 * piece, piece, std::llround(150 * piece));
    EXPECT_GT(step.silence, 0);
    EXPECT_LT(step.stretch, 0.0002);
}

TEST(SoundPlacement, WhatIsOffByLittleIsNotCorrectedSuddenly) {
    Recording run(0);
    run.pass(10);
    run.corrections = 0;
    run.gap(SoundPlacement::tolerance * 0.9);
    run.pass(300);
    EXPECT_EQ(run.corrections, 0);
    EXPECT_LT(run.worstStretch, SoundPlacement::mostStretch + 1e-9);
    EXPECT_LT(run.worst, SoundPlacement::tolerance);
    EXPECT_NEAR(run.stretch, 0, 100e-6);
}

TEST(SoundPlacement, OverlapIsCutOff) {
    SoundPlacement placement(rate);
    placement.place(0, 4800, 0);
    const auto part = placement.place(2400, 4800, 4800);
    EXPECT_EQ(part.skipped, 2400);
    EXPECT_EQ(part.silence, 0);
    EXPECT_GE(placement.place(0, 2400, 7200).skipped, 2400) << "all of it";
}

TEST(SoundPlacement, AClockThatIsFarOffStaysInStepByCorrections) {
    Recording run(0.01);
    run.pass(60);
    EXPECT_LT(run.worst, 0.03);
    EXPECT_GT(run.corrections, 5);
    EXPECT_LE(run.worstStretch, SoundPlacement::mostStretch + 1e-9);
}

TEST(SoundPlacement, LongPiecesStayInStepToo) {
    Recording run(200e-6, 0.005, 96000);
    run.pass(600);
    EXPECT_LT(run.worst, 0.015);
    EXPECT_LE(run.corrections, 1);
}

} // namespace
} // namespace tavelo::testing
