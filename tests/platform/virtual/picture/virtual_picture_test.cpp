// SPDX-License-Identifier: MIT
#include "platform/virtual/picture/virtual_picture.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/virtual/firmware/firmware_client.h"
#include "platform/virtual/picture/picture_instruments.h"
#include "platform/virtual/picture/picture_raster.h"

namespace tavelo {
namespace {

constexpr std::size_t width = 480;
constexpr std::size_t height = 360;

Raster shot(const PictureSettings& settings = {}, std::uint64_t frame = 0, int camera = 1,
            std::size_t w = width, std::size_t h = height) {
    Raster raster;
    raster.resize(w, h);
    VirtualPicture picture(camera);
    picture.draw(frame, settings, &raster.pixels.data()->blue, w, h, w * sizeof(Pixel));
    return raster;
}

PictureSettings with(const std::function<void(PictureSettings&)>& change) {
    PictureSettings settings;
    change(settings);
    return settings;
}

// Centres of the corner patches: top left, top right, bottom left, bottom right.
std::array<Pixel, 4> corners(const Raster& raster) {
    const std::size_t inset = VirtualPicture::patchSide(raster.height) / 2;
    const std::size_t right = raster.width - 1 - inset;
    const std::size_t bottom = raster.height - 1 - inset;
    return {raster.row(inset)[inset], raster.row(inset)[right], raster.row(bottom)[inset],
            raster.row(bottom)[right]};
}

double brightness(const Raster& raster) {
    double sum = 0;
    for (const Pixel& pixel : raster.pixels)
        sum += 0.114 * pixel.blue + 0.587 * pixel.green + 0.299 * pixel.red;
    return sum / static_cast<double>(raster.pixels.size());
}

// Sharpness of the scene's edges, without the instruments.
double edges(const Raster& raster) {
    double sum = 0;
    for (std::size_t y = raster.height / 3; y < raster.height * 3 / 4; ++y)
        for (std::size_t x = 1; x < raster.width; ++x) {
            const int step = raster.row(y)[x].green - raster.row(y)[x - 1].green;
            sum += step * step;
        }
    return sum;
}

double differing(const Raster& a, const Raster& b) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        count += a.pixels[i] != b.pixels[i];
    return static_cast<double>(count) / static_cast<double>(a.pixels.size());
}

bool near(Pixel a, Pixel b) {
    return std::abs(a.red - b.red) <= 6 && std::abs(a.green - b.green) <= 6 && std::abs(a.blue - b.blue) <= 6;
}

// The share of pixels in the middle of the picture (without instruments) that have the same colour in the
// other picture at the position given by `place`.
template <typename Place>
double agreement(const Raster& moved, const Raster& still, Place&& place) {
    std::size_t same = 0;
    std::size_t total = 0;
    for (std::size_t y = height / 2; y < height * 3 / 4; ++y)
        for (std::size_t x = width / 4; x < width * 3 / 4; ++x) {
            const auto [otherX, otherY] = place(x, y);
            ++total;
            same += near(moved.row(y)[x], still.row(otherY)[otherX]);
        }
    return static_cast<double>(same) / static_cast<double>(total);
}

TEST(VirtualPictureTest, cornersAreRedGreenBlueAndYellow) {
    EXPECT_EQ(corners(shot()), patchColours);
    EXPECT_EQ(corners(shot({}, 0, 1, 1280, 720)), patchColours);
}

TEST(VirtualPictureTest, isNeitherItsMirrorImageNorItsFlippedOne) {
    const Raster picture = shot();
    Raster mirrored = picture;
    for (std::size_t y = 0; y < height; ++y)
        std::reverse(mirrored.row(y), mirrored.row(y) + width);
    Raster flipped;
    flipped.resize(width, height);
    for (std::size_t y = 0; y < height; ++y)
        std::copy_n(picture.row(y), width, flipped.row(height - 1 - y));
    EXPECT_GT(differing(picture, mirrored), 0.8);
    EXPECT_GT(differing(picture, flipped), 0.9);
}

TEST(VirtualPictureTest, showsTheNumberOfItsCamera) {
    const double change = differing(shot({}, 0, 1), shot({}, 0, 2));
    EXPECT_GT(change, 0.0001);
    EXPECT_LT(change, 0.01) << "nothing but the number tells cameras apart";
}

TEST(VirtualPictureTest, everyFrameShowsItsNumber) {
    const Raster first = shot({}, 41);
    const Raster second = shot({}, 42);
    const std::size_t side = VirtualPicture::patchSide(height);
    std::size_t changed = 0;
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = width / 2; x < width - side; ++x)
            changed += first.row(y)[x] != second.row(y)[x];
    EXPECT_GT(changed, 4U);
}

TEST(VirtualPictureTest, moves) {
    const double change = differing(shot({}, 0), shot({}, 60));
    EXPECT_GT(change, 0.02);
    EXPECT_LT(change, 0.2) << "the landscape stands still";
}

TEST(VirtualPictureTest, theSameFrameTwiceIsTheSamePicture) {
    VirtualPicture picture(1);
    Raster a;
    a.resize(width, height);
    Raster b = a;
    picture.draw(7, {}, &a.pixels.data()->blue, width, height, width * 4);
    picture.draw(300, with([](auto& s) { s.zoom = 2; }), &b.pixels.data()->blue, width, height, width * 4);
    picture.draw(7, {}, &b.pixels.data()->blue, width, height, width * 4);
    EXPECT_EQ(a.pixels, b.pixels);
    EXPECT_EQ(a.pixels, shot({}, 7).pixels);
}

TEST(VirtualPictureTest, brightnessMakesEveryPatchBrighter) {
    const auto plain = corners(shot());
    const auto bright = corners(shot(with([](auto& s) { s.brightness = 0.15; })));
    const auto dim = corners(shot(with([](auto& s) { s.brightness = -0.15; })));
    for (std::size_t i = 0; i < plain.size(); ++i) {
        EXPECT_NEAR(bright[i].green - plain[i].green, 38, 2);
        EXPECT_NEAR(plain[i].green - dim[i].green, 38, 2);
    }
}

TEST(VirtualPictureTest, noContrastIsMidGrey) {
    for (const Pixel& corner : corners(shot(with([](auto& s) { s.contrast = 0; }))))
        EXPECT_TRUE(near(corner, {128, 128, 128, 255}));
    const auto strong = corners(shot(with([](auto& s) { s.contrast = 1.3; })));
    EXPECT_GT(strong[0].red, patchColours[0].red);
    EXPECT_LT(strong[0].green, patchColours[0].green);
}

TEST(VirtualPictureTest, noSaturationIsGrey) {
    const Raster grey = shot(with([](auto& s) { s.saturation = 0; }));
    EXPECT_TRUE(std::ranges::all_of(grey.pixels, [](const Pixel& pixel) {
        return std::abs(pixel.red - pixel.green) <= 1 && std::abs(pixel.blue - pixel.green) <= 1;
    }));
    const auto rich = corners(shot(with([](auto& s) { s.saturation = 1.2; })));
    EXPECT_GT(rich[0].red, patchColours[0].red);
    EXPECT_LT(rich[0].blue, patchColours[0].blue);
}

TEST(VirtualPictureTest, hueTurnsRedIntoGreen) {
    const auto turned = corners(shot(with([](auto& s) { s.hue = 120; })));
    EXPECT_GT(turned[0].green, turned[0].red + 60);
    EXPECT_GT(turned[0].green, turned[0].blue + 60);
    EXPECT_NEAR(brightness(shot(with([](auto& s) { s.hue = 360; }))), brightness(shot()), 0.5);
}

TEST(VirtualPictureTest, whiteBalanceRunsFromColdToWarm) {
    const auto plain = corners(shot());
    const auto warm = corners(shot(with([](auto& s) { s.whiteBalance = 0.5; })));
    const auto cold = corners(shot(with([](auto& s) { s.whiteBalance = -0.5; })));
    EXPECT_GT(warm[0].red, plain[0].red);
    EXPECT_LT(warm[2].blue, plain[2].blue);
    EXPECT_LT(cold[0].red, plain[0].red);
    EXPECT_GT(cold[2].blue, plain[2].blue);
}

TEST(VirtualPictureTest, gammaAndExposureLiftThePicture) {
    const double plain = brightness(shot());
    EXPECT_GT(brightness(shot(with([](auto& s) { s.gamma = 1.5; }))), plain + 10);
    EXPECT_LT(brightness(shot(with([](auto& s) { s.gamma = 0.7; }))), plain - 10);
    EXPECT_GT(brightness(shot(with([](auto& s) { s.exposure = 1.5; }))), plain + 10);
    EXPECT_LT(brightness(shot(with([](auto& s) { s.exposure = 0.5; }))), plain - 10);
}

TEST(VirtualPictureTest, sharpnessHardensEdgesAndDefocusSoftensThem) {
    const double plain = edges(shot());
    EXPECT_LT(edges(shot(with([](auto& s) { s.sharpness = 0; }))), plain * 0.8);
    EXPECT_GT(edges(shot(with([](auto& s) { s.sharpness = 1; }))), plain * 1.2);
    EXPECT_LT(edges(shot(with([](auto& s) { s.defocus = 1; }))), plain * 0.5);
}

TEST(VirtualPictureTest, panningRightMovesTheSceneToTheLeft) {
    // 36 degrees are one height of the picture.
    const Raster right = shot(with([](auto& s) { s.pan = 3.6; }), 300);
    const std::size_t shift = height / 10;
    EXPECT_GT(agreement(right, shot({}, 300), [&](auto x, auto y) { return std::pair(x + shift, y); }), 0.95);
    EXPECT_LT(agreement(right, shot({}, 300), [](auto x, auto y) { return std::pair(x, y); }), 0.8);
}

TEST(VirtualPictureTest, tiltingUpMovesTheSceneDown) {
    const Raster up = shot(with([](auto& s) { s.tilt = 3.6; }), 300);
    const std::size_t shift = height / 10;
    EXPECT_GT(agreement(up, shot({}, 300), [&](auto x, auto y) { return std::pair(x, y - shift); }), 0.95);
}

TEST(VirtualPictureTest, zoomEnlargesAroundTheMiddle) {
    const Raster close = shot(with([](auto& s) { s.zoom = 2; }), 300);
    const auto place = [](auto x, auto y) { return std::pair((x + width / 2) / 2, (y + height / 2) / 2); };
    EXPECT_GT(agreement(close, shot({}, 300), place), 0.85);
}

TEST(VirtualPictureTest, rollTurnsTheSceneAndNotTheInstruments) {
    const Raster over = shot(with([](auto& s) { s.roll = 180; }), 300);
    const auto place = [](auto x, auto y) { return std::pair(width - 1 - x, height - 1 - y); };
    EXPECT_GT(agreement(over, shot({}, 300), place), 0.85);
    EXPECT_EQ(corners(over), patchColours);
}

TEST(VirtualPictureTest, rollingClockwiseLowersTheSceneOnTheLeft) {
    // The shore is level without roll.  The camera's right side goes down, so the picture's left side does
    // too.
    const Raster rolled = shot(with([](auto& s) { s.roll = 10; }), 300);
    const auto skyHeight = [](const Raster& raster, std::size_t x) {
        std::size_t y = height / 8;
        while (y < height - 1 && raster.row(y)[x].red > 60)
            ++y; // the forest is the first dark part from the top
        return y;
    };
    EXPECT_GT(skyHeight(rolled, width / 8), skyHeight(rolled, width * 5 / 8) + 20);
}

TEST(VirtualPictureTest, placeAndFocusLeaveTheCornersAlone) {
    const auto settings = with([](auto& s) {
        s.zoom = 4;
        s.pan = -10;
        s.tilt = 10;
        s.roll = 30;
        s.sharpness = 1;
        s.defocus = 1;
    });
    for (const std::uint64_t frame : {0U, 100U, 200U, 300U, 400U, 500U})
        EXPECT_EQ(corners(shot(settings, frame)), patchColours);
}

TEST(VirtualPictureTest, interlacedRowsComeInPairs) {
    const Raster picture = shot(with([](auto& s) { s.interlaced = true; }));
    for (std::size_t y = 0; y + 1 < height; y += 2)
        ASSERT_TRUE(std::equal(picture.row(y), picture.row(y) + width, picture.row(y + 1))) << y;
}

TEST(VirtualPictureTest, paddingBehindTheRowsIsNotTouched) {
    constexpr std::size_t stride = 100 * 4 + 24;
    std::vector<std::uint8_t> memory(stride * 60, 0xA5);
    VirtualPicture(3).draw(5, {}, memory.data(), 100, 60, stride);
    for (std::size_t y = 0; y < 60; ++y)
        for (std::size_t x = 400; x < stride; ++x)
            ASSERT_EQ(memory[y * stride + x], 0xA5);
}

TEST(VirtualPictureTest, drawsAtAnySizeEvenIfTheInstrumentsDoNotFit) {
    VirtualPicture picture(88);
    for (const auto& [w, h] :
         {std::pair<std::size_t, std::size_t>{1, 1}, {7, 3}, {3, 70}, {160, 2}, {33, 17}, {0, 9}}) {
        std::vector<std::uint8_t> memory(w * h * 4 + 4, 0);
        picture.draw(123, with([](auto& s) { s.defocus = 1; }), memory.data(), w, h, w * 4);
        for (std::size_t i = 3; i < w * h * 4; i += 4)
            ASSERT_EQ(memory[i], 255) << w << "x" << h;
        EXPECT_EQ(memory[w * h * 4], 0);
    }
}

// From the controls to the picture.

struct Effect {
    ControlAddress control;
    std::int64_t value;
    std::optional<ControlAddress> automatic;
};

class EachEffect : public ::testing::TestWithParam<Effect> {};

TEST_P(EachEffect, showsInThePictureUnlessItsAutomaticIsOn) {
    const auto& [address, value, automatic] = GetParam();
    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    firmware.setControlValue(control::autoExposureMode, 1);
    firmware.setControlValue(control::autoFocus, 0);
    const Raster before = shot(firmware.pictureSettings());
    EXPECT_EQ(firmware.pictureSettings(), PictureSettings{});
    ASSERT_TRUE(firmware.setControlValue(address, value));
    EXPECT_GT(differing(before, shot(firmware.pictureSettings())), 0.05);
    if (!automatic) return;
    ASSERT_TRUE(firmware.setControlValue(*automatic, *automatic == control::autoExposureMode ? 2 : 1));
    EXPECT_EQ(firmware.pictureSettings(), PictureSettings{});
}

INSTANTIATE_TEST_SUITE_P(
    Controls, EachEffect,
    ::testing::Values(Effect{control::brightness, 10, {}}, Effect{control::contrast, 40, {}},
                      Effect{control::saturation, 90, {}}, Effect{control::sharpness, 10, {}},
                      Effect{control::gamma, 150, {}}, Effect{control::gain, 30, {}},
                      Effect{control::backlight, 4, {}}, Effect{control::zoom, 150, {}},
                      Effect{control::panTilt, packPanTilt(7200, 0), {}},
                      Effect{control::panTilt, packPanTilt(0, -7200), {}}, Effect{control::roll, 20, {}},
                      Effect{control::scanningMode, 0, {}}, Effect{control::hue, 3000, control::autoHue},
                      Effect{control::whiteBalance, 6000, control::autoWhiteBalance},
                      Effect{control::focus, 100, control::autoFocus},
                      Effect{control::exposureTime, 400, control::autoExposureMode},
                      Effect{control::iris, 560, control::autoExposureMode}),
    [](const auto& row) {
        return std::string(firmwareControl(row.param.control)->name) + std::to_string(row.index);
    });

} // namespace
} // namespace tavelo
