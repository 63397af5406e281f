// SPDX-License-Identifier: MIT
#include "app/panel_snapshot.h"

#include <QPointer>
#include <algorithm>
#include <chrono>
#include <utility>

#include "app/capture_texts.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto snapshotPoll = 5ms;
// Shorter than a client's patience, long enough for a slow, emulated machine.
constexpr auto snapshotPatience = 15s;

} // namespace

PanelSnapshot::PanelSnapshot(KTDisplayView& view, Request request, QObject& parent)
    : QObject(&parent),
      view_(view),
      request_(std::move(request)),
      wanted_(std::max(view.mtkView()->drawnFrames() + 1, request_.firstPicture)) {
    connect(&timer_, &QTimer::timeout, this, &PanelSnapshot::poll);
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.start(snapshotPoll);
    waiting_.start();
}

void PanelSnapshot::poll() {
    if (view_.captureDevice() != request_.camera)
        return end(ServiceError{ServiceError::Kind::notShown, "the panel shows another camera now"});
    if (view_.mtkView()->drawnFrames() >= wanted_) return write();
    const bool silent = std::chrono::milliseconds(waiting_.elapsed()) > snapshotPatience;
    if (!silent && !cameraIsUnavailable(view_)) return;
    const Error trouble = streamTrouble(view_, *request_.camera);
    end(ServiceError{errorKindOf(trouble.code), noPictureReason(trouble)});
}

void PanelSnapshot::write() {
    timer_.stop();
    // The view may call the handler after this object is gone, but not after the view is.
    QObject* const context = &view_;
    view_.mtkView()->screenShotWithFilePathCompletionHandler(
        request_.file, [context, self = QPointer(this)](bool success, const Error& error) {
            QMetaObject::invokeMethod(
                context,
                [self, success, error] {
                    if (self) self->written(success, error);
                },
                Qt::QueuedConnection);
        });
}

void PanelSnapshot::written(bool success, const Error& error) {
    if (success) return end({});
    const bool isOfFile = error.domain == "file system";
    if (isOfFile || std::chrono::milliseconds(waiting_.elapsed()) > snapshotPatience)
        return end(ServiceError{ServiceError::Kind::failed, error.text, isOfFile});
    // A damaged frame, of which only a still makes a picture if nobody looks.
    wanted_ = view_.mtkView()->drawnFrames() + 1;
    timer_.start();
}

void PanelSnapshot::end(const std::optional<ServiceError>& error) {
    timer_.stop();
    request_.ended(error);
    deleteLater();
}

} // namespace tavelo
