// SPDX-License-Identifier: MIT
#include "app/headless_capture.h"

#include <QCoreApplication>
#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "app/capture_texts.h"
#include "app/recording_sound.h"
#include "app/timed_recorder.h"
#include "process/error_line.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto pollInterval = 10ms;
// Cameras adjust their exposure during the first pictures; a still must not show that.
constexpr std::uint64_t picturesBeforeAStill = 10;
constexpr QRect viewFrame(0, 0, 640, 360); // never shown

std::optional<std::size_t> numberOf(const std::string& text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

} // namespace

HeadlessCapture::HeadlessCapture(CapturePlatform& capture, std::shared_ptr<AssetWriterPlatform> assetWriters,
                                 HeadlessCaptureOptions options, RendererChoice renderer,
                                 std::shared_ptr<SoundPlatform> sounds)
    : capture_(capture),
      assetWriters_(std::move(assetWriters)),
      options_(std::move(options)),
      renderer_(renderer),
      sounds_(std::move(sounds)) {
    connect(&timer_, &QTimer::timeout, this, &HeadlessCapture::poll);
}

HeadlessCapture::~HeadlessCapture() {
    capture_.removeObserver(this);
    sound_.reset();
    // Finishes a movie that is still being recorded; its handler uses this object.
    view_.reset();
    recorder_.reset();
}

void HeadlessCapture::start() {
    camera_ = chosenCamera();
    if (!camera_) return;
    view_ = KTDisplayView::create(viewFrame, capture_, renderer_);
    if (!view_) {
        end(ExitStatus::failed, options_.file + ": not written: the camera's pictures cannot be received");
        return;
    }
    recorder_ = std::make_shared<TimedRecorder>(assetWriters_, options_.duration);
    view_->mtkView()->setAssetWriteManager(recorder_);
    view_->mtkView()->setShouldFlipHorizontal(options_.mirror);
    view_->mtkView()->setNeedsWholePictures(true);
    sound_ =
        std::make_unique<RecordingSound>(RecordingSound::Request{sounds_, options_.sound, camera_->place()});
    capture_.addObserver(this);
    view_->showDevice(camera_);
    silence_.start();
    timer_.start(pollInterval);
}

std::shared_ptr<CaptureDevice> HeadlessCapture::chosenCamera() {
    const std::vector<std::shared_ptr<CaptureDevice>> cameras =
        capture_.devicesWithMediaType(MediaType::video);
    if (const auto number = numberOf(options_.camera.empty() ? "1" : options_.camera)) {
        if (*number >= 1 && *number <= cameras.size()) return cameras[*number - 1];
        end(ExitStatus::noCamera, cameras.empty() ? "no camera is plugged in"
                                                  : "no camera " + std::to_string(*number) + ": there are " +
                                                        std::to_string(cameras.size()));
        return nullptr;
    }
    const auto found = std::ranges::find_if(
        cameras, [this](const auto& camera) { return camera->uniqueID() == options_.camera; });
    if (found != cameras.end()) return *found;
    end(ExitStatus::noCamera, "no camera " + options_.camera);
    return nullptr;
}

void HeadlessCapture::poll() {
    const std::uint64_t pictures = view_->mtkView()->drawnFrames();
    if (std::exchange(pictures_, pictures) != pictures) silence_.restart();
    const bool silent = std::chrono::milliseconds(silence_.elapsed()) > options_.patience;

    if (state_ == State::waiting) {
        if (soundIsMissing()) return;
        const bool still = options_.kind == HeadlessCaptureOptions::Kind::snapshot;
        if (pictures >= (still ? picturesBeforeAStill : 1) && !sound_->isOpening())
            begin();
        else if (silent || cameraIsUnavailable(*view_))
            endWithoutPicture();
    } else if (state_ == State::recording && silent) {
        cutShortReason_ = "the camera fell silent";
        finishMovie();
    }
}

// Ends if the user named a microphone that cannot be used.
bool HeadlessCapture::soundIsMissing() {
    if (sound_->isOpening() || !sound_->isRequired()) return false;
    const Error error = sound_->error();
    if (error.code == ErrorCode::none) return false;
    end(statusOf(error.code), options_.file + ": not written: " + error.text);
    return true;
}

void HeadlessCapture::endWithoutPicture() {
    const Error trouble = streamTrouble(*view_, *camera_);
    const ExitStatus status = trouble.code == ErrorCode::none ? ExitStatus::failed : statusOf(trouble.code);
    end(status, options_.file + ": not written: " + noPictureReason(trouble));
}

void HeadlessCapture::begin() {
    // Called on the render queue or on the writer's own thread.
    const auto report = [this](bool success, const Error& error) {
        QMetaObject::invokeMethod(
            this, [this, success, error] { didWrite(success, error); }, Qt::QueuedConnection);
    };
    if (options_.kind == HeadlessCaptureOptions::Kind::snapshot) {
        state_ = State::writing;
        view_->mtkView()->screenShotWithFilePathCompletionHandler(options_.file, report);
    } else {
        state_ = State::recording;
        view_->mtkView()->setNeedsWholePictures(false); // the movie says what it needs
        if (const Error error = sound_->error(); error.code != ErrorCode::none)
            printErrorLine(options_.file, "no sound: " + error.text);
        view_->mtkView()->startRecordWithFilePathAudioOutputSettingsCompletionHandler(
            options_.file, sound_->settings(), report);
        sound_->begin(view_->mtkView()->renderQueue(), recorder_);
    }
}

void HeadlessCapture::stop() {
    if (state_ == State::recording)
        finishMovie();
    else if (state_ == State::waiting)
        end(ExitStatus::failed, options_.file + ": not written: interrupted");
}

void HeadlessCapture::finishMovie() {
    state_ = State::finishing;
    view_->mtkView()->stopRecord();
}

void HeadlessCapture::didWrite(bool success, const Error& error) {
    if (!success)
        end(ExitStatus::failed, options_.file + ": " + stateOfUnfinishedFile(error) + ": " + error.text);
    else if (!cutShortReason_.empty())
        end(ExitStatus::failed, options_.file + ": cut short: " + cutShortReason_);
    else if (const std::string reason = sound_->lossReason(); !reason.empty())
        end(ExitStatus::done, options_.file + ": silent at its end: " + reason);
    else
        end(ExitStatus::done);
}

void HeadlessCapture::captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& /*device*/) {}

void HeadlessCapture::captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) {
    if (device != camera_) return;
    if (state_ == State::recording) {
        cutShortReason_ = "the camera was unplugged";
        finishMovie();
    } else if (state_ == State::waiting) {
        end(ExitStatus::noCamera, options_.file + ": not written: the camera was unplugged");
    }
}

void HeadlessCapture::end(ExitStatus status, const std::string& message) {
    if (state_ == State::done) return;
    state_ = State::done;
    timer_.stop();
    if (!message.empty()) printErrorLine(message);
    QCoreApplication::exit(static_cast<int>(status));
}

} // namespace tavelo
