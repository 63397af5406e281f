// SPDX-License-Identifier: MIT
#include "app/headless_capture.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <map>
#include <thread>

#include "movie_facts.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/virtual/backend.h"
#include "process/qt_main_queue.h"
#include "support/camera_that_falls_silent.h"
#include "support/fake_sounds.h"
#include "support/recorded_diagnostics.h"
#include "video/fake_asset_writer.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

class HeadlessCaptureTest : public ::testing::Test {
protected:
    struct Outcome {
        int status = -1;
        std::string errors;
    };

    std::string file(const char* name) const {
        return folder_.filePath(QString::fromUtf8(name)).toStdString();
    }

    /// Runs the request to its end in the test's event loop.
    Outcome run(const HeadlessCaptureOptions& options,
                const std::function<void(HeadlessCapture&)>& meanwhile = {},
                CapturePlatform* platform = nullptr) {
        ::testing::internal::CaptureStderr();
        Outcome outcome;
        {
            HeadlessCapture capture(platform != nullptr ? *platform : *backend_.capture, writers_, options,
                                    RendererChoice::cpu, sounds_);
            QMetaObject::invokeMethod(&capture, &HeadlessCapture::start, Qt::QueuedConnection);
            if (meanwhile) meanwhile(capture);
            outcome.status = QCoreApplication::exec();
        }
        outcome.errors = ::testing::internal::GetCapturedStderr();
        return outcome;
    }

    /// Runs `action` on the main thread once the movie file exists.
    void onceRecording(const std::string& path, std::function<void()> action) {
        auto* watch = new QTimer(&parent_);
        QObject::connect(watch, &QTimer::timeout, watch, [watch, path, action = std::move(action)] {
            if (!std::filesystem::exists(path)) return;
            watch->stop();
            action();
        });
        watch->start(5ms);
    }

    testing::RecordedDiagnostics diagnostics_;
    QtMainQueue mainQueue_;
    QTemporaryDir folder_;
    VirtualBackend backend_ = makeVirtualBackend(2, {}, mainQueue_);
    std::shared_ptr<AssetWriterPlatform> writers_ = makeFfmpegAssetWriterPlatform(diagnostics_);
    std::shared_ptr<testing::FakeSounds> sounds_ = std::make_shared<testing::FakeSounds>();
    QObject parent_;
};

HeadlessCaptureOptions still(const std::string& path) {
    HeadlessCaptureOptions options;
    options.file = path;
    return options;
}

HeadlessCaptureOptions movie(const std::string& path, std::optional<std::chrono::duration<double>> duration) {
    HeadlessCaptureOptions options;
    options.kind = HeadlessCaptureOptions::Kind::record;
    options.file = path;
    options.duration = duration;
    return options;
}

TEST_F(HeadlessCaptureTest, StillHasTheCamerasSizeAndCanBeMirrored) {
    const Outcome outcome = run(still(file("still.png")));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    const QImage picture(QString::fromStdString(file("still.png")));
    EXPECT_EQ(picture.size(), QSize(1280, 720));

    HeadlessCaptureOptions mirrored = still(file("mirrored.png"));
    mirrored.mirror = true;
    EXPECT_EQ(run(mirrored).status, 0);
    const QImage mirror(QString::fromStdString(file("mirrored.png")));
    // The virtual camera's corners differ from each other.
    EXPECT_EQ(mirror.pixelColor(5, 5), picture.pixelColor(1274, 5));
    EXPECT_EQ(mirror.pixelColor(1274, 5), picture.pixelColor(5, 5));
    EXPECT_NE(picture.pixelColor(5, 5), picture.pixelColor(1274, 5));
}

TEST_F(HeadlessCaptureTest, CameraIsChosenByNumberOrIdentifier) {
    const auto cameras = backend_.capture->devicesWithMediaType(MediaType::video);
    HeadlessCaptureOptions second = still(file("second.png"));
    second.camera = "2";
    EXPECT_EQ(run(second).status, 0);
    HeadlessCaptureOptions identified = still(file("identified.png"));
    identified.camera = cameras[1]->uniqueID();
    EXPECT_EQ(run(identified).status, 0);
    EXPECT_EQ(run(still(file("first.png"))).status, 0);
    // The camera's number is in the left part of its picture.
    const auto plate = [this](const char* name) {
        return QImage(QString::fromStdString(file(name))).copy(0, 0, 260, 50);
    };
    EXPECT_EQ(plate("second.png"), plate("identified.png"));
    EXPECT_NE(plate("second.png"), plate("first.png"));
}

TEST_F(HeadlessCaptureTest, ErrorNamesAMissingCamera) {
    for (const auto& [camera, message] :
         std::map<std::string, std::string>{{"3", "no camera 3: there are 2"},
                                            {"0", "no camera 0"},
                                            {"0xdeadbeef00000000", "no camera 0xdeadbeef00000000"}}) {
        HeadlessCaptureOptions options = still(file("none.png"));
        options.camera = camera;
        const Outcome outcome = run(options);
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.errors, HasSubstr(message));
        EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1);
    }
    backend_.bus->unplug(1);
    backend_.bus->unplug(2);
    QCoreApplication::processEvents();
    EXPECT_THAT(run(still(file("none.png"))).errors, HasSubstr("no camera is plugged in"));
}

TEST_F(HeadlessCaptureTest, MovieHasTheRequestedDuration) {
    const Outcome outcome = run(movie(file("movie.mp4"), 1s));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    auto facts = testing::factsOf(file("movie.mp4"));
    EXPECT_EQ(facts["streams.stream.0.codec_name"], "h264");
    EXPECT_EQ(facts["streams.stream.0.width"], "1280");
    // On a busy machine the camera's frames are late, so the time of the last one varies.
    const double last = testing::packetsOf(file("movie.mp4")).back().time;
    EXPECT_LT(last, 1);
    EXPECT_GT(last, 0.3);
}

TEST_F(HeadlessCaptureTest, MovieHasTheSoundOfTheMicrophoneThatIsNamed) {
    sounds_->list = {{"desk", "Desk Microphone", ""}};
    HeadlessCaptureOptions options = movie(file("sound.mp4"), {});
    options.sound = {SoundChoice::Kind::named, "desk"};
    QTimer speech; // from before the movie on
    const auto begin = std::chrono::steady_clock::now().time_since_epoch();
    int spoken = 0;
    QObject::connect(&speech, &QTimer::timeout, &speech, [&] {
        for (; begin + spoken * 10ms < std::chrono::steady_clock::now().time_since_epoch(); ++spoken)
            sounds_->feed(begin + spoken * 10ms, spoken % 2 == 0 ? 10000 : -10000);
    });
    speech.start(5ms);
    const Outcome outcome = run(options, [&](HeadlessCapture& capture) {
        onceRecording(options.file, [&] { QTimer::singleShot(1s, &capture, [&] { capture.stop(); }); });
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(testing::factsOf(options.file)["streams.stream.1.channels"], "1");
    const auto sound = testing::decodeSound(options.file);
    ASSERT_GT(sound.size(), 24000U);
    EXPECT_GT(*std::max_element(sound.begin(), sound.begin() + 24000), 5000);
    EXPECT_FALSE(sounds_->isRunning());
}

TEST_F(HeadlessCaptureTest, MovieWithoutTheSoundThatWasHopedForIsDoneAndSaysSo) {
    HeadlessCaptureOptions options = movie(file("silent.mp4"), 0.3s);
    options.sound = {SoundChoice::Kind::automatic};
    const Outcome outcome = run(options);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "headless_capture_test: " + options.file +
                                  ": no sound: the camera has no microphone of its own\n");
    EXPECT_EQ(testing::factsOf(options.file)["format.nb_streams"], "1");
}

TEST_F(HeadlessCaptureTest, AMicrophoneThatIsNamedAndNotThereIsAnError) {
    HeadlessCaptureOptions options = movie(file("none.mp4"), 0.3s);
    options.sound = {SoundChoice::Kind::named, "desk"};
    const Outcome missing = run(options);
    EXPECT_EQ(missing.status, 3);
    EXPECT_EQ(missing.errors, "headless_capture_test: " + options.file +
                                  ": not written: there is no microphone desk (there is: none)\n");
    sounds_->listError = {ErrorCode::failed, "there is no service"};
    EXPECT_EQ(run(options).status, 1);
    EXPECT_FALSE(std::filesystem::exists(options.file));
}

TEST_F(HeadlessCaptureTest, AMicrophoneThatIsPulledOutLeavesAWholeMovie) {
    sounds_->list = {{"desk", "Desk Microphone", ""}};
    HeadlessCaptureOptions options = movie(file("pulled.mp4"), {});
    options.sound = {SoundChoice::Kind::named, "desk"};
    const Outcome outcome = run(options, [&](HeadlessCapture& capture) {
        onceRecording(options.file, [&] {
            sounds_->feed(std::chrono::steady_clock::now().time_since_epoch(), 10000);
            sounds_->lose("it was unplugged");
            QTimer::singleShot(500ms, &capture, [&] { capture.stop(); });
        });
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors,
              "headless_capture_test: " + options.file + ": silent at its end: it was unplugged\n");
    const double pictures = testing::packetsOf(options.file).back().time;
    const auto sound = testing::packetsOf(options.file, "a:0");
    ASSERT_FALSE(sound.empty());
    EXPECT_NEAR(sound.back().time + sound.back().duration, pictures, 0.05);
}

TEST_F(HeadlessCaptureTest, StoppedMovieIsComplete) {
    const std::string path = file("stopped.mp4");
    const Outcome outcome = run(movie(path, {}), [&](HeadlessCapture& capture) {
        onceRecording(path, [&capture] { capture.stop(); });
    });
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(testing::decodedPictureCount(path), 0U);
}

TEST_F(HeadlessCaptureTest, UnpluggingTheCameraLeavesAPlayableMovie) {
    const std::string path = file("unplugged.mp4");
    const Outcome outcome = run(movie(path, 60s), [&](HeadlessCapture&) {
        onceRecording(path, [this] { backend_.bus->unplug(1); });
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "headless_capture_test: " + path + ": cut short: the camera was unplugged\n");
    EXPECT_GT(testing::decodedPictureCount(path), 0U);
}

TEST_F(HeadlessCaptureTest, ErrorNamesAFileThatCannotBeWrittenAndTheReason) {
    for (const HeadlessCaptureOptions& options :
         {still(file("no/folder.png")), movie(file("no/folder.mp4"), 1s)}) {
        const Outcome outcome = run(options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.errors, HasSubstr(options.file));
        EXPECT_THAT(outcome.errors, HasSubstr("No such file or directory"));
        EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1);
    }
}

// A camera that is listed but cannot be opened.
class UnavailableInput final : public CaptureDeviceInput {
public:
    UnavailableInput(std::shared_ptr<CaptureDevice> device, Error why)
        : device_(std::move(device)),
          why_(std::move(why)) {}
    std::shared_ptr<CaptureDevice> device() const override { return device_; }
    void start(FrameSink&) override {}
    void stop() override {}
    Error trouble() const override { return why_; }

private:
    const std::shared_ptr<CaptureDevice> device_;
    const Error why_;
};

class UnavailableCamera final : public CaptureDevice, public std::enable_shared_from_this<UnavailableCamera> {
public:
    UnavailableCamera(Error why, bool makesInput) : why_(std::move(why)), makesInput_(makesInput) {}
    const std::string& uniqueID() const override { return uniqueID_; }
    const std::string& localizedName() const override { return uniqueID_; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        if (makesInput_) return std::make_unique<UnavailableInput>(shared_from_this(), why_);
        error = why_;
        return nullptr;
    }

private:
    const std::string uniqueID_ = "0x0000000100000000";
    const Error why_;
    const bool makesInput_;
};

TEST_F(HeadlessCaptureTest, ReportsABusyCameraAndItsHolderAtOnce) {
    testing::PlatformOfOneCamera busy(std::make_shared<UnavailableCamera>(
        Error{ErrorCode::busy, "busy: in use by cheese, process 20"}, true));
    for (const HeadlessCaptureOptions& options : {still(file("busy.png")), movie(file("busy.mp4"), 1s)}) {
        QElapsedTimer clock;
        clock.start();
        const Outcome outcome = run(options, {}, &busy);
        EXPECT_LT(clock.elapsed(), 10'000) << "far from the 20 s that a silent camera is given";
        EXPECT_EQ(outcome.status, 4);
        EXPECT_EQ(outcome.errors, "headless_capture_test: " + options.file +
                                      ": not written: the camera is busy: in use by cheese, process 20\n");
        EXPECT_FALSE(std::filesystem::exists(options.file));
    }
}

TEST_F(HeadlessCaptureTest, ReportsMissingRightsAtOnce) {
    const Error denied{ErrorCode::denied, "cannot open /dev/video0: Permission denied"};
    for (const bool makesInput : {true, false}) {
        testing::PlatformOfOneCamera platform(std::make_shared<UnavailableCamera>(denied, makesInput));
        const Outcome outcome = run(still(file("denied.png")), {}, &platform);
        EXPECT_EQ(outcome.status, 5);
        EXPECT_THAT(outcome.errors, HasSubstr("no picture: cannot open /dev/video0: Permission denied\n"));
    }
}

TEST_F(HeadlessCaptureTest, ACameraThatFallsSilentEndsTheMovieOnceItsPatienceIsOver) {
    constexpr int pictures = 100;
    const auto camera = std::make_shared<testing::CameraThatFallsSilent>(pictures);
    testing::PlatformOfOneCamera platform(camera);
    HeadlessCaptureOptions options = movie(file("silent.mp4"), {});
    options.patience = 2s; // the pictures come for longer
    const Outcome outcome = run(options, {}, &platform);
    EXPECT_EQ(camera->delivered(), pictures) << "it was cut short while they still came";
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              "headless_capture_test: " + options.file + ": cut short: the camera fell silent\n");
    EXPECT_GT(testing::decodedPictureCount(options.file), 0U);
}

TEST_F(HeadlessCaptureTest, ACameraWithoutAPictureIsAnErrorOnceItsPatienceIsOver) {
    testing::PlatformOfOneCamera platform(std::make_shared<testing::CameraThatFallsSilent>(0));
    HeadlessCaptureOptions options = still(file("black.png"));
    options.patience = 200ms;
    const Outcome outcome = run(options, {}, &platform);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              "headless_capture_test: " + options.file + ": not written: the camera delivers no picture\n");
}

TEST_F(HeadlessCaptureTest, ReportsWhatIsKeptOfAFailedMovie) {
    testing::WriterScript script;
    script.refuseSamples = true;
    script.error = {ErrorCode::refused, "the disk is full", "file system",
                    std::chrono::duration<double>(6.52)};
    writers_ = std::make_shared<testing::FakeAssetWriterPlatform>(script);
    const std::string path = file("full.mp4");
    const Outcome kept = run(movie(path, {}));
    EXPECT_EQ(kept.status, 1);
    EXPECT_EQ(kept.errors, "headless_capture_test: " + path + ": kept the first 6.5 s: the disk is full\n");

    script.error.kept.reset();
    const Outcome lost = run(movie(path, {}));
    EXPECT_EQ(lost.status, 1);
    EXPECT_EQ(lost.errors, "headless_capture_test: " + path + ": not written: the disk is full\n");
}

TEST_F(HeadlessCaptureTest, InterruptedBeforeThePictureWritesNothing) {
    const Outcome outcome = run(still(file("interrupted.png")), [](HeadlessCapture& capture) {
        QMetaObject::invokeMethod(&capture, &HeadlessCapture::stop, Qt::QueuedConnection);
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(std::filesystem::exists(file("interrupted.png")));
}

} // namespace
} // namespace tavelo
