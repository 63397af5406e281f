// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/module/late_picture_shares.h"

#include <utility>

#include "platform/linux/pipewire/module/pipewire_socket.h"

namespace tavelo {
namespace {

class LatePictureSharePlatform final : public PictureSharePlatform {
public:
    explicit LatePictureSharePlatform(std::shared_ptr<LatePipewire> pipewire)
        : pipewire_(std::move(pipewire)) {}

    std::shared_ptr<PictureShare> makeShare(const std::string& cameraName, Error& error) override {
        const auto pipewire = pipewire_->get();
        auto share = pipewire ? pipewire->makePictureShare(cameraName) : nullptr;
        if (!share)
            error = {ErrorCode::failed,
                     pipewireMayRun() ? "PipeWire's library cannot be used" : "PipeWire does not run"};
        return share;
    }

private:
    const std::shared_ptr<LatePipewire> pipewire_;
};

} // namespace

std::shared_ptr<PictureSharePlatform> makeLatePictureShares(std::shared_ptr<LatePipewire> pipewire) {
    return std::make_shared<LatePictureSharePlatform>(std::move(pipewire));
}

} // namespace tavelo
