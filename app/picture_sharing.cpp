// SPDX-License-Identifier: MIT
#include "app/picture_sharing.h"

#include <utility>

#include "process/error_line.h"
#include "video/kt_mtk_view.h"

namespace tavelo {

PictureSharing::PictureSharing(std::shared_ptr<PictureSharePlatform> platform)
    : platform_(std::move(platform)) {}

PictureSharing::~PictureSharing() {
    share_.reset();
    attach();
}

void PictureSharing::setView(KTMTKView& view) {
    view_ = &view;
    attach();
}

void PictureSharing::setCameraName(const std::string& name) {
    if (std::exchange(cameraName_, name) != name && share_) share_->setCameraName(name);
}

void PictureSharing::setOn(bool on) {
    if (on == isOn()) return;
    Error error{ErrorCode::failed, "this machine has no way to share pictures"};
    share_ = on && platform_ ? platform_->makeShare(cameraName_, error) : nullptr;
    couldNotStart_ = on && !share_;
    if (couldNotStart_) printErrorLine("the picture is not shared", error.text);
    attach();
    Q_EMIT changed();
}

bool PictureSharing::fails() const {
    return couldNotStart_ || (share_ && share_->trouble().code != ErrorCode::none);
}

void PictureSharing::attach() {
    if (view_ != nullptr) view_->shareSlot().set(share_);
}

} // namespace tavelo
