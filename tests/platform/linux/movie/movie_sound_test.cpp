// SPDX-License-Identifier: MIT
// The sound track of a movie.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "movie_fixture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class MovieSoundTest : public MovieTest {
protected:
    static constexpr double loud = 8000;

    static std::shared_ptr<AudioBuffer> tone(std::uint32_t rate, std::uint32_t channels, nanoseconds length) {
        auto sound = std::make_shared<AudioBuffer>();
        sound->sampleRate = rate;
        sound->channels = channels;
        const auto frames = std::size_t(double(rate) * std::chrono::duration<double>(length).count());
        for (std::size_t i = 0; i < frames; ++i)
            for (std::uint32_t channel = 0; channel < channels; ++channel)
                sound->samples.push_back(std::int16_t(
                    std::lround(loud * std::sin(2 * std::numbers::pi * 440 * double(i) / double(rate)))));
        return sound;
    }

    bool append(const std::shared_ptr<AudioBuffer>& sound, nanoseconds time) {
        awaitReady(*audio_);
        return audio_->appendSampleBuffer({nullptr, at(time), sound});
    }

    void recordTwoSecondsWithoutPictures() {
        start(std::nullopt, AudioSettings{48000, 1, {}});
        for (int i = 0; i < 20; ++i)
            ASSERT_TRUE(append(tone(48000, 1, 100ms), i * 100ms));
        EXPECT_EQ(finish(), AssetWriterStatus::completed);
    }

    /// Root mean square between two times of the decoded sound.
    static double loudness(const std::vector<std::int16_t>& samples, nanoseconds from, nanoseconds to) {
        const auto place = [](nanoseconds time) {
            return std::size_t(48000 * std::chrono::duration<double>(time).count());
        };
        double sum = 0;
        for (std::size_t i = place(from); i < place(to); ++i)
            sum += double(samples.at(i)) * samples.at(i);
        return std::sqrt(sum / double(place(to) - place(from)));
    }
};

TEST_F(MovieSoundTest, TrackIsAacOfTheCallersSettings) {
    start(videoSettings(160, 90), AudioSettings{44100, 1, 96000});
    appendPictures(30, 160, 90);
    ASSERT_TRUE(append(tone(44100, 1, 1s), 0ns));
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    const auto facts = factsOf(path_);
    EXPECT_EQ(facts.at("format.nb_streams"), "2");
    EXPECT_EQ(facts.at("streams.stream.1.codec_name"), "aac");
    EXPECT_EQ(facts.at("streams.stream.1.sample_rate"), "44100");
    EXPECT_EQ(facts.at("streams.stream.1.channels"), "1");
    EXPECT_NEAR(std::stod(facts.at("streams.stream.1.duration")), 1.0, 0.05);
    EXPECT_NEAR(std::stod(facts.at("format.duration")), 1.0, 0.05);
    EXPECT_NEAR(loudness(decodeSound(path_), 100ms, 900ms), loud / std::numbers::sqrt2, loud / 20);
}

TEST_F(MovieSoundTest, TrackWithoutSamplesIsATrackOfTheFinishedMovie) {
    start(videoSettings(160, 90), AudioSettings{48000, 2, 128000});
    appendPictures(30, 160, 90);
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    const auto facts = factsOf(path_);
    EXPECT_EQ(facts.at("format.nb_streams"), "2");
    EXPECT_EQ(facts.at("streams.stream.1.codec_name"), "aac");
    EXPECT_EQ(facts.at("streams.stream.1.sample_rate"), "48000");
    EXPECT_EQ(facts.at("streams.stream.1.channels"), "2");
    EXPECT_TRUE(packetsOf(path_, "a:0").empty());
    EXPECT_NEAR(std::stod(facts.at("format.duration")), 1.0, 0.002);
    EXPECT_EQ(decode(path_).pictures.size(), 30U);
    // An ordinary movie: index first, no fragments.
    EXPECT_THAT(boxesOf(path_), ElementsAre("ftyp", "moov", "free", "free", "mdat"));
}

TEST_F(MovieSoundTest, WithoutSettingsThereIsNoTrack) {
    start(videoSettings(160, 90), std::nullopt);
    appendPictures(5, 160, 90);
    finish();
    EXPECT_EQ(factsOf(path_).at("format.nb_streams"), "1");
}

TEST_F(MovieSoundTest, SoundOfAnotherRateAndNumberOfChannelsIsConverted) {
    start(videoSettings(160, 90), AudioSettings{48000, 2, {}});
    appendPictures(30, 160, 90);
    ASSERT_TRUE(append(tone(16000, 1, 500ms), 0ns));
    ASSERT_TRUE(append(tone(44100, 2, 500ms), 500ms));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto sound = decodeSound(path_);
    EXPECT_NEAR(double(sound.size()), 48000, 2500);
    EXPECT_NEAR(loudness(sound, 100ms, 400ms), loud / 2, loud / 20); // mono sound spread over two channels
    EXPECT_NEAR(loudness(sound, 600ms, 900ms), loud / std::numbers::sqrt2, loud / 20);
}

TEST_F(MovieSoundTest, SoundStandsWhereItWasCaptured) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    appendPictures(60, 160, 90);
    ASSERT_TRUE(append(tone(48000, 1, 300ms), 500ms));
    ASSERT_TRUE(append(tone(48000, 1, 300ms), 1500ms));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    // Players take no notice of gaps, so the track has none.
    const auto packets = packetsOf(path_, "a:0");
    ASSERT_FALSE(packets.empty());
    EXPECT_NEAR(packets.front().time, 0, 0.001);
    for (std::size_t i = 1; i < packets.size(); ++i)
        EXPECT_NEAR(packets[i].time, packets[i - 1].time + 1024.0 / 48000, 0.0001);
    const auto sound = decodeSound(path_);
    const double full = loud / std::numbers::sqrt2;
    EXPECT_LT(loudness(sound, 0ms, 490ms), full / 50);
    EXPECT_NEAR(loudness(sound, 505ms, 795ms), full, full / 10);
    EXPECT_LT(loudness(sound, 810ms, 1490ms), full / 50);
    EXPECT_NEAR(loudness(sound, 1505ms, 1795ms), full, full / 10);
}

TEST_F(MovieSoundTest, SoundThatEndsEarlyIsFollowedBySilenceToTheEnd) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    ASSERT_TRUE(MovieTest::append(makeMovingPicture(160, 90, 0), 0ns));
    ASSERT_TRUE(append(tone(48000, 1, 300ms), 0ns));
    for (int i = 1; i < 150; ++i)
        ASSERT_TRUE(MovieTest::append(makeMovingPicture(160, 90, i), i * frameInterval));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto packets = packetsOf(path_, "a:0");
    ASSERT_FALSE(packets.empty());
    EXPECT_NEAR(packets.back().time + packets.back().duration, 149 / 30.0, 0.03);
    const auto sound = decodeSound(path_);
    EXPECT_GT(loudness(sound, 5ms, 290ms), loud / 2);
    EXPECT_LT(loudness(sound, 310ms, 4900ms), loud / 100);
}

TEST_F(MovieSoundTest, SilenceIsInTheMovieWhileItIsRecorded) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    ASSERT_TRUE(append(tone(48000, 1, 100ms), 0ns));
    for (int i = 0; i < 150; ++i)
        ASSERT_TRUE(MovieTest::append(makeMovingPicture(160, 90, i), i * frameInterval));
    // The microphone speaks again: all but the last second before it is silent already, and stays.
    ASSERT_TRUE(append(tone(48000, 1, 4s), 1s));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto sound = decodeSound(path_);
    EXPECT_LT(loudness(sound, 110ms, 3900ms), loud / 100);
    EXPECT_GT(loudness(sound, 4000ms, 4900ms), loud / 2);
}

TEST_F(MovieSoundTest, SoundOfAClockThatDriftsStaysInStep) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    ASSERT_TRUE(MovieTest::append(makeMovingPicture(160, 90), 0ns));
    // 20 ms of its clock last 20.01 ms.  Each second begins with a burst.
    constexpr int pieces = 60 * 50;
    const auto burst = tone(48000, 1, 20ms);
    const auto silence = std::make_shared<AudioBuffer>(AudioBuffer{48000, 1, std::vector<std::int16_t>(960)});
    for (int i = 0; i < pieces; ++i)
        ASSERT_TRUE(append(i % 50 < 5 ? burst : silence, i * 20'010'000ns));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto sound = decodeSound(path_);
    EXPECT_NEAR(double(sound.size()) / 48000, pieces * 0.02001, 0.05);
    for (int second = 0; second < 60; ++second) {
        const auto expected = std::size_t(second * 50 * 0.02001 * 48000);
        const auto from = sound.begin() + std::ptrdiff_t(expected > 4800 ? expected - 4800 : 0);
        const auto onset = std::find_if(from, sound.end(), [](std::int16_t each) { return each > 2000; });
        EXPECT_NEAR(double(onset - sound.begin()) / 48000, double(expected) / 48000, 0.012) << second;
    }
}

TEST_F(MovieSoundTest, SoundBeforeTheSessionIsCutOff) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    appendPictures(30, 160, 90);
    ASSERT_TRUE(append(tone(48000, 1, 300ms), -400ms));
    ASSERT_TRUE(append(tone(48000, 1, 300ms), -100ms));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto packets = packetsOf(path_, "a:0");
    ASSERT_FALSE(packets.empty());
    EXPECT_NEAR(packets.front().time, 0, 0.001);
    const auto sound = decodeSound(path_);
    EXPECT_GT(loudness(sound, 5ms, 190ms), loud / 2);
    EXPECT_LT(loudness(sound, 210ms, 900ms), loud / 100);
}

TEST_F(MovieSoundTest, SoundThatOverlapsWithEarlierSoundIsCutOff) {
    start(videoSettings(160, 90), AudioSettings{48000, 1, {}});
    appendPictures(30, 160, 90);
    ASSERT_TRUE(append(tone(48000, 1, 400ms), 0ns));
    ASSERT_TRUE(append(tone(48000, 1, 400ms), 200ms));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    const auto sound = decodeSound(path_);
    EXPECT_GT(loudness(sound, 5ms, 590ms), loud / 2);
    EXPECT_LT(loudness(sound, 610ms, 900ms), loud / 100);
}

TEST_F(MovieSoundTest, SoundAloneIsAMovieToo) {
    recordTwoSecondsWithoutPictures();
    constexpr std::size_t packet = 1024; // the last one is filled with silence
    const std::size_t samples = decodeSound(path_).size();
    EXPECT_GE(samples, 96000U) << "nothing is left in the encoder";
    EXPECT_LE(samples, 96000U + packet);
}

TEST_F(MovieSoundTest, SoundAloneIsWrittenTwiceASecond) {
    keepFragments();
    recordTwoSecondsWithoutPictures();
    EXPECT_THAT(samplesOfFragments(path_), ::testing::ElementsAre(24, 24, 24, 22))
        << "packets of 1024 samples";
}

TEST_F(MovieSoundTest, TheLastSamplesAreInTheMovieToo) {
    start(std::nullopt, AudioSettings{48000, 1, {}});
    constexpr std::size_t samples = 10 * 1024 + 8;
    ASSERT_TRUE(append(tone(48000, 1, nanoseconds(std::nano::den * samples / 48000 + 1)), 0ns));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
    EXPECT_GE(decodeSound(path_).size(), samples);
}

TEST_F(MovieSoundTest, IndexOfThousandsOfUnevenFramesAmongSoundFitsInFront) {
    start(videoSettings(64, 36), AudioSettings{48000, 2, {}});
    const auto sound = tone(48000, 2, frameInterval);
    const auto picture = makeMovingPicture(64, 36);
    for (int i = 0; i < 3000; ++i) {
        ASSERT_TRUE(MovieTest::append(picture, i * frameInterval + (i * 7919 % 1000) * 10us));
        ASSERT_TRUE(append(sound, i * frameInterval));
    }
    EXPECT_EQ(finish(), AssetWriterStatus::completed) << writer_->error().text;
    EXPECT_EQ(diagnostics_.lines().size(), 1U); // only the encoder's line; finishing reported nothing
    EXPECT_THAT(boxesOf(path_), ElementsAre("ftyp", "moov", "free", "free", "mdat"));
    EXPECT_EQ(packetsOf(path_).size(), 3000U);
}

TEST_F(MovieSoundTest, QueueOfSoundHasABound) {
    start(videoSettings(160, 90), AudioSettings{48000, 2, {}});
    const auto sound = tone(48000, 2, 2s);
    int taken = 0;
    while (audio_->isReadyForMoreMediaData() && taken < 2000)
        ASSERT_TRUE(audio_->appendSampleBuffer({nullptr, at(taken++ * 2s), sound}));
    EXPECT_LT(taken, 2000);
    EXPECT_GE(taken, 64);
    appendPictures(3, 160, 90);
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
}

TEST_F(MovieSoundTest, SampleWithoutSoundEndsTheMovie) {
    start(videoSettings(160, 90), AudioSettings());
    appendPictures(3, 160, 90);
    EXPECT_FALSE(audio_->appendSampleBuffer({nullptr, at(1s)}));
    EXPECT_EQ(finish(), AssetWriterStatus::failed);
    EXPECT_EQ(packetsOf(path_).size(), 3U);
}

TEST_F(MovieSoundTest, EmptyPieceOfSoundIsLeftOut) {
    start(videoSettings(160, 90), AudioSettings());
    appendPictures(3, 160, 90);
    EXPECT_TRUE(audio_->appendSampleBuffer({nullptr, at(1s), std::make_shared<AudioBuffer>()}));
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
}

} // namespace
} // namespace tavelo::testing
