// SPDX-License-Identifier: MIT
#include "app/picture_watch.h"

#include <QCoreApplication>
#include <QThreadPool>
#include <cmath>
#include <utility>

#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Kind = PictureStatus::Kind;

constexpr auto interval = 1s;
// The rate is the mean of this many intervals.
constexpr std::size_t intervals = 2;

Kind kindOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::busy:
            return Kind::busy;
        case ErrorCode::denied:
            return Kind::denied;
        default:
            return Kind::silent;
    }
}

std::chrono::nanoseconds nanoseconds(const MediaTime& time) {
    if (time.timescale <= 0) return 0ns;
    const double seconds = static_cast<double>(time.value) / time.timescale;
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

} // namespace

PictureWatch::PictureWatch(ViewController& panel) : panel_(panel) {
    if (const KTDisplayView* display = panel.displayView()) picture_.emplace(*display->mtkView());
    connect(&panel, &ViewController::shownCameraChanged, this, &PictureWatch::cameraDidChange);
    connect(&timer_, &QTimer::timeout, this, [this] {
        sample();
        look();
    });
    look();
    if (panel.shownCamera()) timer_.start(interval);
}

void PictureWatch::cameraDidChange() {
    if (picture_) picture_->cameraDidChange();
    samples_.clear();
    camera_.reset();
    findings_ = {};
    panel_.shownCamera() ? timer_.start(interval) : timer_.stop();
    look();
}

void PictureWatch::refresh() {
    look();
    if (status_.kind == Kind::busy) investigate(panel_.shownCamera());
}

void PictureWatch::look() {
    const Kind before = status_.kind;
    PictureStatus now = seen();
    if (now == status_) return;
    status_ = std::move(now);
    if (status_.kind == Kind::busy && before != Kind::busy) investigate(panel_.shownCamera());
    Q_EMIT changed();
}

PictureStatus PictureWatch::seen() {
    const std::shared_ptr<CaptureDevice> camera = panel_.shownCamera();
    PictureStatus status;
    if (!camera) {
        if (panel_.cameraIsReleased()) status.kind = Kind::released;
        return status;
    }
    status.camera = camera->localizedName();
    status.node = camera->node();
    const auto input = panel_.displayView()->videoCaptureDeviceInput();
    const Error trouble = input ? input->trouble() : findings_.refusal;
    const KTMTKView& view = *panel_.displayView()->mtkView();
    if (trouble.code != ErrorCode::none) {
        status.kind = kindOf(trouble.code);
    } else if (!input || view.drawnFrames() < picture_->firstOwn()) {
        status.kind = Kind::waiting;
    } else {
        status.kind = Kind::shown;
        const ViewportSize size = view.frameSize();
        status.size = QSize(static_cast<int>(size.width), static_cast<int>(size.height));
        status.framesPerSecond = framesPerSecond();
    }
    if (status.kind == Kind::busy && camera == camera_) status.holders = findings_.holders;
    if (!input && camera != camera_) investigate(camera);
    return status;
}

void PictureWatch::sample() {
    if (!picture_) return;
    const KTMTKView& view = *panel_.displayView()->mtkView();
    samples_.push_back({view.drawnFrames(), nanoseconds(view.presentationTime())});
    if (samples_.size() > intervals + 1) samples_.pop_front();
}

int PictureWatch::framesPerSecond() const {
    if (samples_.size() < 2) return 0;
    const auto pictures = samples_.back().pictures - samples_.front().pictures;
    const std::chrono::duration<double> time = samples_.back().time - samples_.front().time;
    if (pictures == 0 || time <= 0s) return 0;
    return static_cast<int>(std::lround(static_cast<double>(pictures) / time.count()));
}

void PictureWatch::investigate(const std::shared_ptr<CaptureDevice>& camera) {
    if (investigating_ || !camera) return;
    investigating_ = true;
    camera_ = camera;
    const bool hasInput = panel_.displayView()->videoCaptureDeviceInput() != nullptr;
    QThreadPool::globalInstance()->start([camera, hasInput, self = QPointer(this)] {
        Findings findings;
        // If it can be opened by now, only the user can have the view try again.
        if (!hasInput && camera->makeInput(findings.refusal)) findings.refusal.code = ErrorCode::failed;
        findings.holders = camera->holders().seen;
        // The watch may be gone by then; the application is not.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [camera, findings, self] {
                if (self) self->take(camera, findings);
            },
            Qt::QueuedConnection);
    });
}

void PictureWatch::take(const std::shared_ptr<CaptureDevice>& camera, const Findings& findings) {
    investigating_ = false;
    const bool isShown = camera == panel_.shownCamera();
    if (isShown) findings_ = findings;
    isShown ? look() : refresh();
}

} // namespace tavelo
