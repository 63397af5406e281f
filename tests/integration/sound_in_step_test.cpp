// SPDX-License-Identifier: MIT
// A camera that flashes and a microphone in PipeWire that hears a burst at the same time, in one movie.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <cmath>
#include <optional>
#include <thread>

#include "app/headless_capture.h"
#include "movie_facts.h"
#include "platform/common/standard_capture_session.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/pipewire/burst_microphone.h"
#include "platform/linux/pipewire/pipewire_sounds.h"
#include "platform/linux/pipewire/private_pipewire.h"
#include "support/recorded_diagnostics.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

constexpr std::size_t width = 160;
constexpr std::size_t height = 90;
constexpr auto interval = 40ms;

/// White for the first fifth of each second of the monotonic clock, otherwise black.
class FlashingCamera final : public CaptureDevice, public std::enable_shared_from_this<FlashingCamera> {
public:
    static constexpr const char* plug = "1-4";

    const std::string& uniqueID() const override { return name_; }
    const std::string& localizedName() const override { return name_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::string place() const override { return plug; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        error = {};
        return std::make_unique<Input>(shared_from_this());
    }

private:
    class Input final : public CaptureDeviceInput {
    public:
        explicit Input(std::shared_ptr<CaptureDevice> device) : device_(std::move(device)) {}
        ~Input() override { Input::stop(); }
        std::shared_ptr<CaptureDevice> device() const override { return device_; }
        void start(FrameSink& sink) override {
            stopping_ = false;
            thread_ = std::thread([this, &sink] { run(sink); });
        }
        void stop() override {
            stopping_ = true;
            if (thread_.joinable()) thread_.join();
        }

    private:
        void run(FrameSink& sink) {
            Clock::time_point time(std::chrono::ceil<std::chrono::seconds>(Clock::now().time_since_epoch()));
            for (; !stopping_; time += interval) {
                std::this_thread::sleep_until(time);
                const auto inSecond = time.time_since_epoch() % std::chrono::seconds(1);
                auto frame = PixelBuffer::create(PixelFormat::bgra32, width, height);
                {
                    const auto lock = frame->lock();
                    std::fill_n(frame->baseAddress(), frame->bytesPerRow() * height,
                                std::uint8_t(inSecond < 200ms ? 255 : 0));
                }
                sink.consume({frame, MediaTime::fromNanoseconds(time.time_since_epoch())});
            }
        }

        const std::shared_ptr<CaptureDevice> device_;
        std::atomic<bool> stopping_ = false;
        std::thread thread_;
    };

    const std::string name_ = "0x0000000100000001";
};

class FlashingPlatform final : public CapturePlatform {
public:
    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType) override { return {camera_}; }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    void addObserver(CaptureDeviceObserver*) override {}
    void removeObserver(CaptureDeviceObserver*) override {}

private:
    const std::shared_ptr<CaptureDevice> camera_ = std::make_shared<FlashingCamera>();
};

/// Where the bright or loud parts begin, in seconds.
std::vector<double> flashesOf(const std::filesystem::path& movie) {
    const DecodedPictures decoded = decode(movie);
    const auto packets = packetsOf(movie);
    EXPECT_EQ(decoded.pictures.size(), packets.size());
    std::vector<double> times;
    for (const MoviePacket& packet : packets)
        times.push_back(packet.time);
    std::ranges::sort(times);
    std::vector<double> flashes;
    bool wasBright = true; // one that began before the movie does not count
    for (std::size_t i = 0; i < decoded.pictures.size(); ++i) {
        const bool isBright = decoded.at(i, int(width) / 2, int(height) / 2).green > 128;
        if (isBright && !wasBright) flashes.push_back(times[i]);
        wasBright = isBright;
    }
    return flashes;
}

std::vector<double> burstsOf(const std::filesystem::path& movie) {
    const auto sound = decodeSound(movie);
    std::vector<double> bursts;
    std::size_t quiet = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const bool isLoud = std::abs(sound[i]) > 4000;
        if (isLoud && quiet > 9600) bursts.push_back(double(i) / 48000);
        quiet = isLoud ? 0 : quiet + 1;
    }
    return bursts;
}

class SoundInStep : public ::testing::Test {
protected:
    SoundInStep() { pipewire_.start(); }

    struct Outcome {
        int status = -1;
        std::string errors;
    };
    Outcome record(std::chrono::duration<double> length, const std::function<void()>& meanwhile = {}) {
        HeadlessCaptureOptions options;
        options.kind = HeadlessCaptureOptions::Kind::record;
        options.file = movie_.string();
        options.duration = length;
        options.sound = {SoundChoice::Kind::automatic};
        ::testing::internal::CaptureStderr();
        Outcome outcome;
        {
            HeadlessCapture capture(camera_, makeFfmpegAssetWriterPlatform(diagnostics_), options,
                                    RendererChoice::cpu, sounds_);
            QMetaObject::invokeMethod(&capture, &HeadlessCapture::start, Qt::QueuedConnection);
            QTimer watch;
            QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
                if (!meanwhile || !std::filesystem::exists(movie_)) return;
                watch.stop();
                QTimer::singleShot(2500ms, &capture, meanwhile);
            });
            watch.start(10ms);
            outcome.status = QCoreApplication::exec();
        }
        outcome.errors = ::testing::internal::GetCapturedStderr();
        return outcome;
    }
    void plugMicrophone() {
        microphone_.emplace("camera",
                            BurstMicrophone::Properties{
                                {"node.description", "Flashing Camera"},
                                {"device.sysfs.path", "/devices/pci0000:00/usb1/1-4/1-4:1.2/sound/card1"}});
        other_.emplace("other");
        Error error;
        const auto end = Clock::now() + waitLimit;
        while (sounds_->microphones(error).size() < 2 && Clock::now() < end)
            std::this_thread::sleep_for(10ms);
    }
    /// The movie's sound is as long as its pictures.
    void expectWholeMovie() const {
        const auto pictures = packetsOf(movie_);
        const auto sound = packetsOf(movie_, "a:0");
        ASSERT_FALSE(pictures.empty());
        ASSERT_FALSE(sound.empty());
        EXPECT_NEAR(sound.front().time, 0, 0.001);
        EXPECT_NEAR(sound.back().time + sound.back().duration, pictures.back().time, 0.1);
    }

    PrivatePipewire pipewire_;
    TemporaryFolder folder_;
    const std::filesystem::path movie_ = folder_.path() / "movie.mp4";
    RecordedDiagnostics diagnostics_;
    FlashingPlatform camera_;
    std::shared_ptr<SoundPlatform> sounds_ = makePipewireSounds([] { return PipewireSession::open(); });
    std::optional<BurstMicrophone> microphone_;
    std::optional<BurstMicrophone> other_; // which must not be heard in its place
};

TEST_F(SoundInStep, BurstsAreWhereTheFlashesAre) {
    plugMicrophone();
    const Outcome outcome = record(6s);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    expectWholeMovie();
    const auto flashes = flashesOf(movie_);
    const auto bursts = burstsOf(movie_);
    ASSERT_GE(flashes.size(), 4U);
    std::size_t heard = 0;
    for (const double flash : flashes)
        for (const double burst : bursts)
            if (std::abs(burst - flash) < 0.5) {
                ++heard;
                RecordProperty("offset_us_" + std::to_string(heard), int((burst - flash) * 1e6));
                EXPECT_LT(std::abs(burst - flash), 0.04) << "flash at " << flash;
            }
    EXPECT_GE(heard + 1, flashes.size()) << "the last may have been cut off";
}

TEST_F(SoundInStep, TheProgramRecordsTheMicrophoneThatIsNamed) {
    plugMicrophone();
    const std::string program =
        CONTROL_PANEL " --virtual-cameras 1 --duration 2.5 --record " + movie_.string();
    EXPECT_EQ(pipewire_.output(program + " --sound 'Flashing Camera' 2>&1"), "");
    const auto bursts = burstsOf(movie_);
    EXPECT_GE(bursts.size(), 1U);
    const std::string wrong = pipewire_.output(program + ".mp4 --sound Flash 2>&1; echo $?");
    EXPECT_THAT(wrong, HasSubstr("not written: there is no microphone Flash (there is: "));
    EXPECT_THAT(wrong, HasSubstr(")\n3\n"));
}

TEST_F(SoundInStep, WithoutADaemonTheProgramSaysThatThereIsNoSound) {
    pipewire_.killManager();
    pipewire_.killDaemon();
    std::filesystem::remove(pipewire_.folder() / "pipewire-0");
    const std::string program =
        CONTROL_PANEL " --virtual-cameras 1 --duration 0.5 --record " + movie_.string();
    EXPECT_EQ(pipewire_.output(program + " --sound auto 2>&1; echo $?"),
              "tavelo-control-panel: " + movie_.string() +
                  ": no sound: PipeWire, which brings the sound, is not there\n0\n");
    EXPECT_GT(decodedPictureCount(movie_), 0U);
}

TEST_F(SoundInStep, AMicrophoneThatIsUnpluggedLeavesAWholeMovie) {
    plugMicrophone();
    const Outcome outcome = record(5s, [this] { microphone_.reset(); });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors,
                HasSubstr(": silent at its end: the microphone Flashing Camera: it was unplugged\n"));
    EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1);
    expectWholeMovie();
    const auto bursts = burstsOf(movie_);
    EXPECT_GE(bursts.size(), 1U);
    EXPECT_LE(bursts.size(), 3U) << "the other microphone is not heard";
}

TEST_F(SoundInStep, ADaemonThatIsKilledLeavesAWholeMovie) {
    plugMicrophone();
    const Outcome outcome = record(5s, [this] { pipewire_.killDaemon(); });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, HasSubstr(": silent at its end: "));
    EXPECT_THAT(outcome.errors, HasSubstr("PipeWire has ended"));
    expectWholeMovie();
}

TEST_F(SoundInStep, WithoutTheCamerasMicrophoneTheMovieIsSilentAndALineSaysSo) {
    other_.emplace("other");
    const Outcome outcome = record(1s);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, HasSubstr(": no sound: the camera has no microphone of its own\n"));
    EXPECT_EQ(factsOf(movie_)["format.nb_streams"], "1");
}

} // namespace
} // namespace tavelo::testing
