// SPDX-License-Identifier: MIT
#include "app/panel_recording.h"

#include <chrono>
#include <utility>

#include "app/capture_texts.h"
#include "app/timed_recorder.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto recordingPoll = 10ms;

} // namespace

PanelRecording::PanelRecording(KTDisplayView& view, std::shared_ptr<AssetWriterPlatform> assetWriters,
                               std::shared_ptr<SoundPlatform> sounds, Request request)
    : view_(view),
      assetWriters_(std::move(assetWriters)),
      request_(std::move(request)),
      recorder_(std::make_shared<TimedRecorder>(assetWriters_, request_.duration)),
      sound_(std::make_unique<RecordingSound>(
          RecordingSound::Request{std::move(sounds), request_.sound, request_.camera->place()})),
      pictures_(view.mtkView()->drawnFrames()) {
    connect(&timer_, &QTimer::timeout, this, &PanelRecording::poll);
    timer_.start(recordingPoll);
    silence_.start();
}

PanelRecording::~PanelRecording() {
    sound_.reset();
    KTMTKView& view = *view_.mtkView();
    view.setAssetWriteManager(
        std::make_shared<KTAssetWriterManager>(assetWriters_, KTAssetWriterManager::madeOfCameraFrames()));
    view.renderQueue().sync([] {}); // the view has let go of the recorder
    recorder_.reset();              // waits for the movie, whose handler uses this object
}

void PanelRecording::poll() {
    const std::uint64_t pictures = view_.mtkView()->drawnFrames();
    if (std::exchange(pictures_, pictures) != pictures) silence_.restart();
    const bool silent = std::chrono::milliseconds(silence_.elapsed()) > request_.patience;

    switch (state_) {
        case State::waiting:
            if (soundIsMissing()) break;
            if (pictures >= request_.firstPicture && !sound_->isOpening())
                begin();
            else if (silent || cameraIsUnavailable(view_))
                failToBegin();
            break;
        case State::starting:
            if (!recorder_->isRecording() || recorder_->isFirstSample()) {
                if (silent) stop("the camera fell silent");
                break;
            }
            state_ = State::recording;
            hasBegun_ = true;
            request_.started({});
            break;
        case State::recording:
            if (silent) stop("the camera fell silent");
            break;
        case State::finishing:
        case State::done:
            break;
    }
}

// Ends if the client named a microphone that cannot be used.
bool PanelRecording::soundIsMissing() {
    if (sound_->isOpening() || !sound_->isRequired()) return false;
    const Error error = sound_->error();
    if (error.code == ErrorCode::none) return false;
    end(ServiceError{ServiceError::Kind::failed, error.text});
    return true;
}

std::string PanelRecording::soundNote() const {
    if (const Error error = sound_->error(); error.code != ErrorCode::none) return "no sound: " + error.text;
    const std::string reason = sound_->lossReason();
    return reason.empty() ? std::string() : "silent at its end: " + reason;
}

void PanelRecording::begin() {
    state_ = State::starting;
    KTMTKView& view = *view_.mtkView();
    view.setAssetWriteManager(recorder_);
    // Called on the render queue or on the writer's own thread.
    view.startRecordWithFilePathAudioOutputSettingsCompletionHandler(
        request_.file, sound_->settings(), [this](bool success, const Error& error) {
            QMetaObject::invokeMethod(
                this, [this, success, error] { didWrite(success, error); }, Qt::QueuedConnection);
        });
    sound_->begin(view.renderQueue(), recorder_);
}

void PanelRecording::failToBegin() {
    const Error trouble = streamTrouble(view_, *request_.camera);
    end(ServiceError{errorKindOf(trouble.code), noPictureReason(trouble)});
}

void PanelRecording::stop(const std::string& reason) {
    switch (state_) {
        case State::waiting:
            return end(ServiceError{ServiceError::Kind::failed,
                                    reason.empty() ? "stopped before it began" : reason});
        case State::starting:
        case State::recording:
            state_ = State::finishing;
            cutShortReason_ = reason;
            view_.mtkView()->stopRecord();
            break;
        case State::finishing:
        case State::done:
            break;
    }
}

void PanelRecording::didWrite(bool success, const Error& error) {
    if (!success)
        end(ServiceError{ServiceError::Kind::failed, stateOfUnfinishedFile(error) + ": " + error.text,
                         error.domain == "file system"});
    else if (!cutShortReason_.empty())
        end(ServiceError{ServiceError::Kind::failed, "cut short: " + cutShortReason_});
    else
        end({});
}

void PanelRecording::end(const std::optional<ServiceError>& error) {
    if (std::exchange(state_, State::done) == State::done) return;
    timer_.stop();
    // A movie so short that nobody saw it begin has begun, too.
    if (!hasBegun_) request_.started(error);
    const bool begun = hasBegun_ || !error;
    Q_EMIT ended(begun, !error, error ? error->text : soundNote(), error && error->isOfFile);
}

} // namespace tavelo
