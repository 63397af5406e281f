// SPDX-License-Identifier: MIT
#include "platform/linux/movie/picture_converter.h"

#include <libyuv.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace tavelo {
namespace {

constexpr int bytesPerPixel = 4;

struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// The middle part with the movie's aspect ratio.
Area fillingArea(std::int64_t width, std::int64_t height, std::int64_t movieWidth, std::int64_t movieHeight) {
    Area area{0, 0, int(width), int(height)};
    if (width * movieHeight > height * movieWidth) {
        area.width = std::max(int(height * movieWidth / movieHeight), 1);
        area.x = (int(width) - area.width) / 2;
    } else {
        area.height = std::max(int(width * movieHeight / movieWidth), 1);
        area.y = (int(height) - area.height) / 2;
    }
    return area;
}

bool isWithinOnePixel(std::size_t length, int movieLength) {
    return std::int64_t(length) == movieLength || std::int64_t(length) == movieLength + 1;
}

} // namespace

bool PictureConverter::convert(const PixelBuffer& picture, AVFrame& frame) {
    constexpr auto longest = std::size_t(std::numeric_limits<int>::max() / bytesPerPixel);
    if (picture.format() != PixelFormat::bgra32 || picture.width() == 0 || picture.height() == 0)
        return false;
    if (picture.width() > longest || picture.height() > longest) return false;
    const std::uint8_t* pixels = picture.baseAddress();
    int bytesPerRow = int(picture.bytesPerRow());
    if (!isWithinOnePixel(picture.width(), width_) || !isWithinOnePixel(picture.height(), height_)) {
        if (!scale(picture)) return false;
        pixels = scaled_.data();
        bytesPerRow = width_ * bytesPerPixel;
    }
    return libyuv::ARGBToNV12(pixels, bytesPerRow, frame.data[0], frame.linesize[0], frame.data[1],
                              frame.linesize[1], width_, height_) == 0;
}

bool PictureConverter::draw(const CameraFrame& camera, Mirroring mirroring, AVFrame& frame) const {
    const auto width = std::size_t(width_);
    const auto height = std::size_t(height_);
    if (!camera.hasMoviePicture() || camera.width() != width || camera.height() != height) return false;
    camera.drawForMovie({{frame.data[0], width, height, std::size_t(frame.linesize[0])},
                         {frame.data[1], width / 2, height / 2, std::size_t(frame.linesize[1])}},
                        mirroring);
    return true;
}

bool PictureConverter::scale(const PixelBuffer& picture) {
    scaled_.resize(std::size_t(width_) * std::size_t(height_) * bytesPerPixel);
    const Area area =
        fillingArea(std::int64_t(picture.width()), std::int64_t(picture.height()), width_, height_);
    const std::uint8_t* corner = picture.baseAddress() + std::size_t(area.y) * picture.bytesPerRow() +
                                 std::size_t(area.x) * bytesPerPixel;
    return libyuv::ARGBScale(corner, int(picture.bytesPerRow()), area.width, area.height, scaled_.data(),
                             width_ * bytesPerPixel, width_, height_, libyuv::kFilterBox) == 0;
}

} // namespace tavelo
