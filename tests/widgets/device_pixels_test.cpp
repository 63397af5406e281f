// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "widgets/drawing.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_slider.h"
#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

class DevicePixels : public testing::TestWithParam<double> {};

TEST_P(DevicePixels, EdgesLieOnPixelBoundaries) {
    const double ratio = GetParam();
    KTCameraButton button;
    const QImage image = drawn(button, {101, 35}, ratio);
    const int middle = image.width() / 2;
    EXPECT_EQ(image.pixelColor(middle, 0).alpha(), 255);
    EXPECT_EQ(image.pixelColor(middle, image.height() - 1).alpha(), 255);
    EXPECT_EQ(image.pixelColor(0, image.height() / 2).alpha(), 255);
    EXPECT_EQ(image.pixelColor(image.width() - 1, image.height() / 2).alpha(), 255);
}

TEST_P(DevicePixels, TheOutlineIsOnePixelWide) {
    KTSlider slider;
    const QImage image = drawn(slider, {200, 16}, GetParam());
    const int middle = image.width() / 2;
    EXPECT_NE(image.pixelColor(middle, 0), palette::trackGrey);
    EXPECT_EQ(image.pixelColor(middle, 0).alpha(), 255);
    EXPECT_EQ(image.pixelColor(middle, 1), palette::trackGrey);
    EXPECT_EQ(image.pixelColor(middle, image.height() - 2), palette::trackGrey);
}

TEST_P(DevicePixels, FractionalPositionsAreRounded) {
    QImage image(100, 100, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(GetParam());
    QPainter painter(&image);
    painter.translate(0.3, 7.7);
    const QRectF place = drawing::snapped(painter, QRectF(1.1, 2.2, 10.3, 5.9));
    const QRectF device = painter.deviceTransform().mapRect(place);
    for (const double edge : {device.left(), device.top(), device.right(), device.bottom()}) {
        EXPECT_NEAR(edge, std::round(edge), 1e-6);
    }
    EXPECT_NEAR(place.left(), 1.1, 0.51);
    EXPECT_NEAR(place.bottom(), 8.1, 0.51);
}

INSTANTIATE_TEST_SUITE_P(Ratio, DevicePixels, testing::Values(1.0, 1.25, 1.5, 2.0),
                         [](const testing::TestParamInfo<double>& ratio) {
                             return std::to_string(std::lround(ratio.param * 100)) + "Percent";
                         });

} // namespace
} // namespace tavelo
