// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_sounds.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/linux/pipewire/burst_microphone.h"
#include "platform/linux/pipewire/private_pipewire.h"
#include "platform/linux/pipewire/process_facts.h"
#include "platform/linux/pipewire/sound_card.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Notes the bursts that come, and the end.
class Listener final : public SoundSink {
public:
    void consume(const SampleBuffer& sound) override {
        const std::lock_guard lock(mutex_);
        ++pieces_;
        const AudioBuffer& audio = *sound.audioBuffer;
        EXPECT_EQ(audio.sampleRate, 48000U);
        EXPECT_EQ(audio.channels, 2U);
        const nanoseconds start(sound.presentationTimeStamp.value);
        for (std::size_t i = 0; i < audio.frameCount(); ++i) {
            const bool loud = std::abs(audio.samples[i * 2]) > 4000;
            EXPECT_EQ(audio.samples[i * 2], audio.samples[i * 2 + 1]);
            const nanoseconds at = start + nanoseconds(std::int64_t(i) * std::nano::den / 48000);
            if (loud && at - lastLoud_ > 300ms) bursts_.push_back(at);
            if (loud) lastLoud_ = at;
        }
        changed_.notify_all();
    }
    void didEnd(const Error& reason) override {
        const std::lock_guard lock(mutex_);
        ends_.push_back(reason.text);
        changed_.notify_all();
    }

    [[nodiscard]] bool awaitBursts(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [&] { return bursts_.size() >= count; });
    }
    [[nodiscard]] bool awaitEnd() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [&] { return !ends_.empty(); });
    }
    std::vector<nanoseconds> bursts() const {
        const std::lock_guard lock(mutex_);
        return bursts_;
    }
    std::vector<std::string> ends() const {
        const std::lock_guard lock(mutex_);
        return ends_;
    }
    int pieces() const {
        const std::lock_guard lock(mutex_);
        return pieces_;
    }

private:
    mutable std::mutex mutex_; // guards the others
    std::condition_variable changed_;
    int pieces_ = 0;
    nanoseconds lastLoud_{};
    std::vector<nanoseconds> bursts_;
    std::vector<std::string> ends_;
};

class PipewireSoundsTest : public ::testing::Test {
protected:
    static std::shared_ptr<SoundPlatform> sounds() {
        return makePipewireSounds([] { return PipewireSession::open(); });
    }

    std::unique_ptr<SoundInput> open(const std::string& name) {
        Error error;
        auto input = sounds_->open({name, "", ""}, error);
        EXPECT_NE(input, nullptr) << error.text;
        return input;
    }
    std::vector<std::string> names() {
        Error error;
        std::vector<std::string> found;
        for (const Microphone& each : sounds_->microphones(error))
            found.push_back(each.name);
        EXPECT_EQ(error.code, ErrorCode::none) << error.text;
        std::ranges::sort(found); // nodes come in any order
        return found;
    }
    template <typename Condition>
    [[nodiscard]] static bool within(const Condition& condition) {
        const auto end = std::chrono::steady_clock::now() + waitLimit;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(5ms);
        }
        return true;
    }
    /// A node is listed once the daemon has heard of it.
    [[nodiscard]] bool awaitNames(const std::vector<std::string>& expected) {
        return within([&] { return names() == expected; });
    }

    PrivatePipewire pipewire_;
    std::shared_ptr<SoundPlatform> sounds_ = sounds();
    Listener listener_;
};

TEST_F(PipewireSoundsTest, WithoutADaemonThereIsNothing) {
    EXPECT_FALSE(sounds_->mayHaveMicrophones());
    Error error;
    EXPECT_THAT(sounds_->microphones(error), IsEmpty());
    EXPECT_EQ(error.code, ErrorCode::failed);
    EXPECT_THAT(error.text, HasSubstr("PipeWire"));
    Error other;
    EXPECT_EQ(sounds_->open({"camera", "", ""}, other), nullptr);
    EXPECT_EQ(other.text, error.text);
}

TEST_F(PipewireSoundsTest, MicrophonesHaveNamesDescriptionsAndTheirPlace) {
    pipewire_.startDaemon();
    EXPECT_TRUE(sounds_->mayHaveMicrophones());
    EXPECT_THAT(names(), IsEmpty());
    const BurstMicrophone camera(
        "alsa.camera",
        {{"node.description", "Camera"},
         {"device.sysfs.path", "/devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.2/sound/card7"}});
    const BurstMicrophone other("alsa.other");
    const BurstMicrophone loudspeaker("loudspeaker", {{"media.class", "Audio/Sink"}});
    const BurstMicrophone video("video", {{"media.class", "Video/Source"}});
    ASSERT_TRUE(awaitNames({"alsa.camera", "alsa.other"}));
    Error error;
    auto found = sounds_->microphones(error);
    ASSERT_EQ(found.size(), 2U);
    std::ranges::sort(found, {}, &Microphone::name);
    EXPECT_EQ(found[0].description, "Camera");
    EXPECT_EQ(found[0].place, "1-4");
    EXPECT_EQ(found[1].place, "");
}

// With ALSA, the microphone's node only names its sound card, and the card says where it is plugged in.
TEST_F(PipewireSoundsTest, AMicrophoneIsWhereItsSoundCardIs) {
    pipewire_.startDaemon();
    const auto card = [](const char* port) {
        return SoundCard({{"media.class", "Audio/Device"},
                          {"device.sysfs.path", std::string("/devices/pci0000:00/0000:00:14.0/usb1/") + port +
                                                    '/' + port + ":1.0/sound/card1"}});
    };
    const SoundCard first = card("1-3");
    const SoundCard second = card("1-7");
    const SoundCard noCard({{"media.class", "Video/Device"}, {"device.sysfs.path", "/devices/usb1/1-5"}});
    ASSERT_TRUE(within([&] { return !first.id().empty() && !second.id().empty() && !noCard.id().empty(); }));
    const BurstMicrophone camera("camera", {{"device.id", second.id()}});
    const BurstMicrophone headset("headset", {{"device.id", first.id()}});
    const BurstMicrophone own("own", {{"device.id", first.id()}, {"device.sysfs.path", "/devices/usb1/1-2"}});
    const BurstMicrophone other("other", {{"device.id", noCard.id()}});
    ASSERT_TRUE(awaitNames({"camera", "headset", "other", "own"}));
    Error error;
    std::map<std::string, std::string> places;
    for (const Microphone& each : sounds_->microphones(error))
        places[each.name] = each.place;
    EXPECT_EQ(places, (std::map<std::string, std::string>{
                          {"camera", "1-7"}, {"headset", "1-3"}, {"other", ""}, {"own", "1-2"}}));
}

TEST_F(PipewireSoundsTest, SoundHasTheTimeAtWhichItWasCaptured) {
    pipewire_.start();
    const BurstMicrophone microphone("camera");
    const BurstMicrophone other("other"); // the session manager's default may be either
    ASSERT_TRUE(awaitNames({"camera", "other"}));
    const auto input = open("camera");
    input->start(listener_);
    ASSERT_TRUE(listener_.awaitBursts(4));
    input->stop();
    const auto bursts = listener_.bursts();
    for (std::size_t i = 1; i < bursts.size(); ++i) // the first may have begun before us
        EXPECT_LT(std::abs(std::remainder(std::chrono::duration<double>(bursts[i]).count(), 1.0)), 0.005)
            << i;
    EXPECT_THAT(listener_.ends(), IsEmpty());
}

TEST_F(PipewireSoundsTest, AMicrophoneThatIsUnpluggedEndsWithAReason) {
    pipewire_.start();
    std::optional<BurstMicrophone> microphone;
    microphone.emplace("camera", BurstMicrophone::Properties{{"node.description", "My Camera"}});
    const BurstMicrophone other("other");
    ASSERT_TRUE(awaitNames({"camera", "other"}));
    const auto input = open("camera");
    input->start(listener_);
    ASSERT_TRUE(listener_.awaitBursts(1));
    microphone.reset();
    ASSERT_TRUE(listener_.awaitEnd());
    EXPECT_TRUE(within([&] {
        return pipewire_.output("pw-dump").find("tavelo-movie-sound") == std::string::npos;
    })) << "no other microphone can take its place";
    input->stop();
    EXPECT_THAT(listener_.ends(), ElementsAre("the microphone My Camera: it was unplugged"));
}

TEST_F(PipewireSoundsTest, ADaemonThatIsKilledEndsTheSound) {
    pipewire_.start();
    const BurstMicrophone microphone("camera");
    ASSERT_TRUE(awaitNames({"camera"}));
    const auto input = open("camera");
    input->start(listener_);
    ASSERT_TRUE(listener_.awaitBursts(1));
    pipewire_.killDaemon();
    ASSERT_TRUE(listener_.awaitEnd());
    input->stop();
    ASSERT_EQ(listener_.ends().size(), 1U);
    EXPECT_THAT(listener_.ends()[0], HasSubstr("PipeWire has ended"));
    Error error;
    EXPECT_THAT(sounds_->microphones(error), IsEmpty());
    EXPECT_EQ(error.code, ErrorCode::failed);
}

TEST_F(PipewireSoundsTest, AMicrophoneThatIsGoneCannotBeOpened) {
    pipewire_.startDaemon();
    Error error;
    EXPECT_EQ(sounds_->open({"camera", "", ""}, error), nullptr);
    EXPECT_EQ(error.code, ErrorCode::gone);
    EXPECT_THAT(error.text, HasSubstr("camera"));
}

TEST_F(PipewireSoundsTest, OpeningAndClosingLeavesNothingBehind) {
    pipewire_.start();
    const BurstMicrophone microphone("camera");
    ASSERT_TRUE(awaitNames({"camera"}));
    const auto once = [this] {
        const auto input = open("camera");
        input->start(listener_);
        const int before = listener_.pieces();
        EXPECT_TRUE(within([&] { return listener_.pieces() > before; }));
    };
    once();
    const auto descriptors = openDescriptors();
    const auto threads = runningThreads();
    for (int i = 0; i < 20; ++i)
        once();
    // The daemon takes back the last stream's memory from the microphone a little later.
    EXPECT_TRUE(within([&] { return openDescriptors() <= descriptors; })) << openDescriptors();
    EXPECT_TRUE(within([&] { return runningThreads() <= threads; })) << runningThreads();
    EXPECT_THAT(listener_.ends(), IsEmpty());
}

} // namespace
} // namespace tavelo::testing
