// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/virtual_picture.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/virtual/picture/picture_balloon.h"
#include "platform/virtual/picture/picture_colour.h"
#include "platform/virtual/picture/picture_focus.h"
#include "platform/virtual/picture/picture_instruments.h"
#include "platform/virtual/picture/picture_landscape.h"
#include "platform/virtual/picture/picture_raster.h"
#include "platform/virtual/picture/picture_view.h"

namespace tavelo {
namespace {

bool sameView(const PictureSettings& a, const PictureSettings& b) {
    return a.zoom == b.zoom && a.pan == b.pan && a.tilt == b.tilt && a.roll == b.roll;
}

bool sameFocus(const PictureSettings& a, const PictureSettings& b) {
    return a.sharpness == b.sharpness && a.defocus == b.defocus;
}

float edgeSoftness(const PictureSettings& settings, std::size_t height) {
    const double soft = std::max(0.0, 0.5 - settings.sharpness) * static_cast<double>(height) / 60 +
                        settings.defocus * static_cast<double>(height) / 25;
    return static_cast<float>(1 + soft);
}

} // namespace

// Three layers, each drawn again only if the layer below it or its own settings change: the scene in its own
// colours, the finished still picture, and the moving parts, which are drawn straight into the caller's
// memory.
class VirtualPicture::Painter {
public:
    explicit Painter(int cameraNumber) : cameraNumber_(cameraNumber) {}

    void draw(std::uint64_t frame, const PictureSettings& settings, const Surface& surface) {
        prepare(settings, surface.width, surface.height);
        copy(finished_, {0, 0, surface.width, surface.height}, surface);
        balloon_->paint(surface, *view_, frame, edgeSoftness(settings, surface.height));
        for (const Rectangle& area : instruments_->areas())
            copy(finished_, area, surface);
        instruments_->paintFrameNumber(frame, frameInk_, surface);
        if (settings.interlaced) doubleRows(surface);
    }

private:
    void prepare(const PictureSettings& settings, std::size_t width, std::size_t height) {
        const bool resized = !settings_ || scene_.width != width || scene_.height != height;
        if (!resized && *settings_ == settings) return;
        const bool moved = resized || !sameView(*settings_, settings);
        if (resized) {
            ground_.resize(width, height);
            finished_.resize(width, height);
            instruments_.emplace(cameraNumber_, width, height);
        }
        if (moved) {
            view_.emplace(settings, width, height);
            landscape_.paint(ground_, *view_);
        }
        if (moved || !sameFocus(*settings_, settings)) {
            scene_ = ground_;
            applyFocus(scene_, settings);
            instruments_->paint(scene_);
        }
        const ColourPipeline colours(settings);
        colours.apply(scene_.pixels.data(), finished_.pixels.data(), scene_.pixels.size());
        balloon_.emplace(colours);
        frameInk_ = colours(instrumentInk);
        settings_ = settings;
    }

    static void doubleRows(const Surface& surface) {
        for (std::size_t y = 1; y < surface.height; y += 2)
            std::copy_n(surface.row(y - 1), surface.width, surface.row(y));
    }

    int cameraNumber_;
    Landscape landscape_;
    std::optional<PictureSettings> settings_;
    std::optional<PictureView> view_;
    std::optional<Instruments> instruments_;
    std::optional<Balloon> balloon_;
    Pixel frameInk_ = instrumentInk;
    Raster ground_;
    Raster scene_;
    Raster finished_;
};

VirtualPicture::VirtualPicture(int cameraNumber) : painter_(std::make_unique<Painter>(cameraNumber)) {}
VirtualPicture::~VirtualPicture() = default;
VirtualPicture::VirtualPicture(VirtualPicture&&) noexcept = default;
VirtualPicture& VirtualPicture::operator=(VirtualPicture&&) noexcept = default;

void VirtualPicture::draw(std::uint64_t frame, const PictureSettings& settings, std::uint8_t* bgra,
                          std::size_t width, std::size_t height, std::size_t bytesPerRow) {
    if (width == 0 || height == 0) return;
    painter_->draw(frame, settings, {bgra, width, height, bytesPerRow});
}

std::size_t VirtualPicture::patchSide(std::size_t height) {
    return Instruments::patchSide(height);
}

} // namespace tavelo
