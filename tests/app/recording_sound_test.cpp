// SPDX-License-Identifier: MIT
#include "app/recording_sound.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <thread>

#include "fake_asset_writer.h"
#include "support/fake_sounds.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using testing::FakeSounds;
using ::testing::IsEmpty;
using testing::waitLimit;
using Kind = SoundChoice::Kind;

class RecordingSoundTest : public ::testing::Test {
protected:
    RecordingSoundTest() {
        sounds_->list = {{"built-in", "Built-in Audio", ""}, {"camera", "Camera", "1-4"}};
    }

    RecordingSound::Request request(const SoundChoice& choice) const { return {sounds_, choice, "1-4"}; }

    static void awaitOpen(const RecordingSound& sound) {
        const auto end = std::chrono::steady_clock::now() + waitLimit;
        while (sound.isOpening() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        ASSERT_FALSE(sound.isOpening());
    }

    void startRecorder() {
        renderQueue_.sync([this] {
            recorder_->startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
                frame_, "movie.mp4", AudioSettings(), {});
        });
    }
    void feedFrame(std::chrono::nanoseconds time) {
        renderQueue_.sync([&] {
            recorder_->recordPixelBufferWithPresentationTime(frame_, MediaTime::fromNanoseconds(time));
        });
    }
    /// The times of the pieces that the writer got since the last call, in seconds.
    std::vector<int> written() {
        renderQueue_.sync([] {});
        std::vector<int> seconds;
        for (const std::string& call : script_.take())
            if (call.starts_with("audio append "))
                seconds.push_back(int(std::stoll(call.substr(13)) / std::nano::den));
        return seconds;
    }

    std::shared_ptr<FakeSounds> sounds_ = std::make_shared<FakeSounds>();
    testing::WriterScript script_;
    SerialQueue renderQueue_{"render"};
    std::shared_ptr<KTAssetWriterManager> recorder_ =
        std::make_shared<KTAssetWriterManager>(std::make_shared<testing::FakeAssetWriterPlatform>(script_));
    std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(16);
    std::shared_ptr<PixelBuffer> frame_ = std::make_shared<PixelBuffer>(
        PixelFormat::bgra32, 2, 2, std::vector<PixelBuffer::Plane>{{bytes_.data(), 2, 2, 8}}, nullptr);
};

TEST_F(RecordingSoundTest, WithoutAChoiceNoMicrophoneIsTouched) {
    const RecordingSound sound(request({Kind::off}));
    EXPECT_FALSE(sound.isOpening());
    EXPECT_EQ(sound.settings(), std::nullopt);
    EXPECT_EQ(sound.error().code, ErrorCode::none);
    EXPECT_FALSE(sound.isRequired());
    EXPECT_THAT(sounds_->opened(), IsEmpty());
}

TEST_F(RecordingSoundTest, AutomaticOpensTheCamerasMicrophone) {
    const RecordingSound sound(request({Kind::automatic}));
    awaitOpen(sound);
    EXPECT_THAT(sounds_->opened(), ElementsAre("camera"));
    ASSERT_TRUE(sound.settings());
    EXPECT_EQ(sound.settings()->channels, 1U);
    EXPECT_EQ(sound.error().code, ErrorCode::none);
}

TEST_F(RecordingSoundTest, ANameOpensThatMicrophone) {
    const RecordingSound sound(request({Kind::named, "Built-in Audio"}));
    awaitOpen(sound);
    EXPECT_THAT(sounds_->opened(), ElementsAre("built-in"));
    EXPECT_TRUE(sound.isRequired());
}

TEST_F(RecordingSoundTest, WhatIsMissingIsSaid) {
    const auto errorOf = [](const RecordingSound::Request& asked) {
        const RecordingSound sound(asked);
        awaitOpen(sound);
        EXPECT_EQ(sound.settings(), std::nullopt);
        return sound.error().text;
    };
    EXPECT_EQ(errorOf({sounds_, {Kind::automatic}, "1-5"}), "the camera has no microphone of its own");
    EXPECT_EQ(errorOf({nullptr, {Kind::automatic}, "1-4"}), "no sound can be recorded here");
    sounds_->openError = {ErrorCode::busy, "it is in use"};
    EXPECT_EQ(errorOf(request({Kind::automatic})), "it is in use");
    sounds_->listError = {ErrorCode::failed, "there is no service"};
    EXPECT_EQ(errorOf(request({Kind::named, "camera"})), "there is no service");
}

TEST_F(RecordingSoundTest, ASlowServiceHoldsNobody) {
    sounds_->hang(true);
    const RecordingSound sound(request({Kind::automatic}));
    EXPECT_TRUE(sound.isOpening());
    sounds_->hang(false);
    awaitOpen(sound);
    EXPECT_TRUE(sound.settings());
}

TEST_F(RecordingSoundTest, SoundGoesToTheRecorderOnceTheMovieHasBegun) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    startRecorder();
    sound.begin(renderQueue_, recorder_);
    feedFrame(5s);
    sounds_->feed(6s);
    sounds_->feed(7s);
    EXPECT_THAT(written(), ElementsAre(6, 7));
    sound.end();
    EXPECT_FALSE(sounds_->isRunning());
    sounds_->feed(8s);
    EXPECT_THAT(written(), IsEmpty());
}

TEST_F(RecordingSoundTest, SoundFromBeforeTheFirstPictureIsNotLost) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    sounds_->feed(3s);
    startRecorder();
    sound.begin(renderQueue_, recorder_);
    sounds_->feed(4s);
    EXPECT_THAT(written(), IsEmpty());
    feedFrame(2s); // captured before that sound, but it reached the recorder later
    sounds_->feed(5s);
    EXPECT_THAT(written(), ElementsAre(3, 4, 5)) << "the writer cuts off what is too early";
}

TEST_F(RecordingSoundTest, SoundBeforeTheMovieDoesNotPileUp) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    for (int second = 1; second <= 500; ++second)
        sounds_->feed(std::chrono::seconds(second));
    startRecorder();
    sound.begin(renderQueue_, recorder_);
    feedFrame(1s);
    sounds_->feed(501s);
    const auto times = written();
    EXPECT_EQ(times.size(), 65U);
    EXPECT_EQ(times.front(), 437) << "the latest is kept";
    EXPECT_EQ(times.back(), 501);
}

TEST_F(RecordingSoundTest, ARenderQueueThatStandsStillDoesNotPileUpSound) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    startRecorder();
    feedFrame(1s);
    sound.begin(renderQueue_, recorder_);
    std::promise<void> go;
    renderQueue_.async([&, wait = go.get_future().share()] { wait.wait(); });
    for (int second = 1; second <= 1000; ++second)
        sounds_->feed(std::chrono::seconds(second));
    go.set_value();
    EXPECT_EQ(written().size(), 256U);
    sounds_->feed(2000s);
    EXPECT_THAT(written(), ElementsAre(2000)) << "it goes on";
}

TEST_F(RecordingSoundTest, AMicrophoneThatIsGoneIsReported) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    startRecorder();
    sound.begin(renderQueue_, recorder_);
    feedFrame(1s);
    sounds_->feed(2s);
    EXPECT_EQ(sound.lossReason(), "");
    sounds_->lose("it was unplugged");
    EXPECT_EQ(sound.lossReason(), "it was unplugged");
    EXPECT_TRUE(recorder_->isRecording()) << "the movie goes on";
}

TEST_F(RecordingSoundTest, AMicrophoneThatSaysNothingIsReported) {
    RecordingSound sound(request({Kind::automatic}));
    ASSERT_TRUE(sounds_->awaitRunning());
    EXPECT_EQ(sound.lossReason(), "no sound came from the microphone");
    sounds_->feed(2s);
    EXPECT_EQ(sound.lossReason(), "");
}

TEST_F(RecordingSoundTest, DestructionStopsTheMicrophone) {
    {
        RecordingSound sound(request({Kind::automatic}));
        ASSERT_TRUE(sounds_->awaitRunning());
        sound.begin(renderQueue_, recorder_);
    }
    EXPECT_FALSE(sounds_->isRunning());
}

} // namespace
} // namespace tavelo
