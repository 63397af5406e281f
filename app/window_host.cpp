// SPDX-License-Identifier: MIT
#include "app/window_host.h"

#include <algorithm>
#include <utility>

#include "app/panel_snapshot.h"
#include "video/kt_display_view.h"
#include "widgets/kt_switch.h"

namespace tavelo {

WindowHost::WindowHost(std::shared_ptr<AssetWriterPlatform> assetWriters,
                       std::function<std::optional<ServiceError>()> show,
                       std::shared_ptr<PictureSharePlatform> shares, std::shared_ptr<SoundPlatform> sounds)
    : assetWriters_(std::move(assetWriters)),
      show_(std::move(show)),
      sounds_(std::move(sounds)),
      sharing_(std::move(shares)) {
    connect(&sharing_, &PictureSharing::changed, this, &WindowHost::sharingChanged);
}

WindowHost::~WindowHost() = default;

void WindowHost::setPanel(ViewController& panel) {
    panel_ = &panel;
    if (const KTDisplayView* display = panel.displayView()) {
        picture_.emplace(*display->mtkView());
        sharing_.setView(*display->mtkView());
    }
    nameSharedCamera();
    connect(&panel, &ViewController::shownCameraChanged, this, &WindowHost::cameraDidChange);
    connect(&panel, &ViewController::controlChanged, this, &WindowHost::controlChanged);
    Q_EMIT shownCameraChanged();
}

std::shared_ptr<CaptureDevice> WindowHost::shownCamera() const {
    return panel_ != nullptr ? panel_->shownCamera() : nullptr;
}

KTUVCManager& WindowHost::shownControls() {
    if (panel_ == nullptr) return KTUVCManager::sharedManager();
    panel_->finishBinding();
    return panel_->uvcManager();
}

bool WindowHost::isMirrored() const {
    return panel_ != nullptr && panel_->view()->mirrorSwitch()->on();
}

void WindowHost::controlDidChange(KTUVCControl control) {
    if (panel_ != nullptr) panel_->controlDidChange(control);
}

void WindowHost::profileWasApplied(std::int64_t position, bool mirror) {
    if (!shownCamera()) return;
    panel_->setProfileIndex(position);
    panel_->view()->mirrorSwitch()->setOn(mirror);
    panel_->displayView()->mtkView()->setShouldFlipHorizontal(mirror);
}

// An unplugged camera keeps its name for those who still look.
void WindowHost::nameSharedCamera() {
    if (const auto camera = shownCamera()) sharing_.setCameraName(camera->localizedName());
}

void WindowHost::cameraDidChange() {
    nameSharedCamera();
    if (picture_) picture_->cameraDidChange();
    if (recording_) {
        const auto& cameras = panel_->devicesArray();
        const bool isThere = std::ranges::find(cameras, recording_->camera()) != cameras.end();
        const bool isShown = shownCamera() == recording_->camera();
        recording_->stop(isShown   ? "the camera was started again"
                         : isThere ? "the panel shows another camera now"
                                   : "the camera was unplugged");
    }
    Q_EMIT shownCameraChanged();
}

void WindowHost::takeSnapshot(const std::string& file, Handler ended) {
    const auto camera = shownCamera();
    if (!camera) return ended(ServiceError{ServiceError::Kind::notShown, "the panel shows no camera"});
    KTDisplayView& display = *panel_->displayView();
    new PanelSnapshot(display, {camera, picture_->firstOwn(), file, std::move(ended)}, *this);
}

void WindowHost::startRecording(const std::string& file, const MovieOptions& options, Handler started) {
    const auto camera = shownCamera();
    if (!camera) return started(ServiceError{ServiceError::Kind::notShown, "the panel shows no camera"});
    if (recording_)
        return started(
            ServiceError{ServiceError::Kind::busy, "a movie is being recorded: " + recording_->file()});
    recording_ = std::make_unique<PanelRecording>(
        *panel_->displayView(), assetWriters_, sounds_,
        PanelRecording::Request{camera, picture_->firstOwn(), file, options.duration, options.sound,
                                std::move(started)});
    // Queued: the recording is deleted there.
    connect(recording_.get(), &PanelRecording::ended, this, &WindowHost::recordingDidEnd,
            Qt::QueuedConnection);
    Q_EMIT recordingFileChanged();
}

bool WindowHost::stopRecording() {
    if (!recording_) return false;
    recording_->stop();
    return true;
}

std::string WindowHost::recordingFile() const {
    return recording_ ? recording_->file() : std::string();
}

void WindowHost::recordingDidEnd(bool begun, bool success, const std::string& reason, bool isOfFile) {
    const std::string file = recording_->file();
    recording_.reset();
    Q_EMIT recordingFileChanged();
    if (begun) Q_EMIT recordingEnded(file, success, reason, isOfFile);
}

} // namespace tavelo
