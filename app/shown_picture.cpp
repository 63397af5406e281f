// SPDX-License-Identifier: MIT
#include "app/shown_picture.h"

#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

// Of the camera before, one picture may be on its way to the view and one may wait to be drawn.
constexpr std::uint64_t picturesThatMayWait = 2;

} // namespace

ShownPicture::ShownPicture(const KTMTKView& view) : view_(view), drawnBefore_(0) {}

void ShownPicture::cameraDidChange() {
    drawnBefore_ = view_.drawnFrames() + picturesThatMayWait;
}

std::uint64_t ShownPicture::firstOwn() const {
    return drawnBefore_ + 1;
}

} // namespace tavelo
