// SPDX-License-Identifier: MIT
#include "panel/panel_layout.h"

#include <gtest/gtest.h>

#include <ostream>

namespace tavelo {
namespace {

constexpr PanelMeasures measures{{1111, 660}, {420, 37}, {50, 19}, {150, 32}};

::testing::AssertionResult frameIs(const QRectF& frame, qreal x, qreal y, qreal width, qreal height) {
    if (frame == QRectF(x, y, width, height)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "(" << frame.x() << ", " << frame.y() << ", " << frame.width() << ", " << frame.height() << ")";
}

const PanelLayout::Row& rowOf(const PanelLayout& layout, PanelRow row) {
    return layout.rows[static_cast<std::size_t>(row)];
}

TEST(PanelLayout, PlacesTheSettingsPanelAndItsSquareCorner) {
    const PanelLayout layout = layoutPanel(measures);
    EXPECT_TRUE(frameIs(layout.settingBackgroundView, 30, 30, 485, 506));
    EXPECT_TRUE(frameIs(layout.settingBackgroundView_leftTop, 30, 283, 242.5, 253));
}

TEST(PanelLayout, StepsTheSliderRowsBy54) {
    const PanelLayout layout = layoutPanel(measures);
    const std::array<std::pair<PanelRow, qreal>, panelRowCount> bases{{{PanelRow::panLeftRight, 100},
                                                                       {PanelRow::panUpDown, 154},
                                                                       {PanelRow::zoom, 208},
                                                                       {PanelRow::sharpness, 262},
                                                                       {PanelRow::whiteBalance, 316},
                                                                       {PanelRow::saturation, 370},
                                                                       {PanelRow::contrast, 424},
                                                                       {PanelRow::brightness, 478}}};
    for (const auto& [row, y] : bases) {
        EXPECT_TRUE(frameIs(rowOf(layout, row).slider, 60, y, 360, 16));
        EXPECT_TRUE(frameIs(rowOf(layout, row).valueText, 430, y, 46, 16));
        EXPECT_TRUE(frameIs(rowOf(layout, row).titleText, 60, y + 16, 360, 28));
    }
}

TEST(PanelLayout, LinesTheMirrorRowUpBehindItsTitle) {
    const PanelLayout layout = layoutPanel(measures);
    EXPECT_TRUE(frameIs(layout.mirrorTitleText, 60, 50, 50, 19));
    EXPECT_TRUE(frameIs(layout.mirrorSwitch, 114, 49.5, 40, 18));
    EXPECT_TRUE(frameIs(layout.hz50Text, 176, 50, 56, 19));
    EXPECT_TRUE(frameIs(layout.hz50Button, 236, 49.5, 18, 18));
    EXPECT_TRUE(frameIs(layout.hz60Text, 272, 50, 56, 19));
    EXPECT_TRUE(frameIs(layout.hz60Button, 332, 49.5, 18, 18));
}

TEST(PanelLayout, ALongerMirrorTextPushesTheSwitchAndThePowerLineControlsToTheRight) {
    PanelMeasures longer = measures;
    longer.mirrorTitle.rwidth() += 30;
    const PanelLayout layout = layoutPanel(measures);
    const PanelLayout pushed = layoutPanel(longer);
    EXPECT_EQ(pushed.mirrorSwitch.x(), layout.mirrorSwitch.x() + 30);
    EXPECT_EQ(pushed.hz50Text.x(), layout.hz50Text.x() + 30);
    EXPECT_EQ(pushed.hz50Button.x(), layout.hz50Button.x() + 30);
    EXPECT_EQ(pushed.hz60Text.x(), layout.hz60Text.x() + 30);
    EXPECT_EQ(pushed.hz60Button.x(), layout.hz60Button.x() + 30);
}

TEST(PanelLayout, PlacesTheHead) {
    const PanelLayout layout = layoutPanel(measures);
    EXPECT_TRUE(frameIs(layout.camera1Button, 30, 536, 100, 36));
    EXPECT_TRUE(frameIs(layout.camera2Button, 138, 536, 100, 36));
    EXPECT_TRUE(frameIs(layout.appTitleText, 30, 593, 420, 37));
    EXPECT_TRUE(frameIs(layout.appVersionText, 454, 587, 40, 37));
    EXPECT_TRUE(frameIs(layout.closeButton, 1051, 600, 30, 30));
    EXPECT_TRUE(frameIs(layout.minButton, 1011, 600, 30, 30));
}

TEST(PanelLayout, PlacesThePreviewColumn) {
    const PanelLayout layout = layoutPanel(measures);
    EXPECT_TRUE(frameIs(layout.saveProfileButton, 545, 40, 119, 32));
    EXPECT_TRUE(frameIs(layout.restoreProfileButton, 684, 40, 180, 32));
    EXPECT_TRUE(frameIs(layout.profileButtons[0], 545, 520, 119, 32));
    EXPECT_TRUE(frameIs(layout.profileButtons[3], 962, 520, 119, 32));
    EXPECT_TRUE(frameIs(layout.display, 545, 88, 536, 424));
    EXPECT_TRUE(frameIs(layout.logo, 931, 40, 150, 32));
}

TEST(PanelLayout, EnlargingTheWindowMovesOnlyTheTitleAndTheTwoWindowButtons) {
    PanelMeasures larger = measures;
    larger.view = {1311, 760};
    const PanelLayout layout = layoutPanel(measures);
    const PanelLayout moved = layoutPanel(larger);
    EXPECT_EQ(moved.appTitleText, layout.appTitleText.translated(0, 100));
    EXPECT_EQ(moved.appVersionText, layout.appVersionText.translated(0, 100));
    EXPECT_EQ(moved.closeButton, layout.closeButton.translated(200, 100));
    EXPECT_EQ(moved.minButton, layout.minButton.translated(200, 100));
    EXPECT_EQ(moved.settingBackgroundView, layout.settingBackgroundView);
    EXPECT_EQ(moved.display, layout.display);
    EXPECT_EQ(moved.camera2Button, layout.camera2Button);
    EXPECT_EQ(moved.logo, layout.logo);
}

TEST(PanelLayout, FlipsFramesToTheUpperLeftOrigin) {
    EXPECT_TRUE(frameIs(flipped(QRectF(60, 478, 360, 16), 660), 60, 166, 360, 16));
}

TEST(PanelScale, IsOneIfThePanelFits) {
    EXPECT_EQ(scaleToFit({1111, 660}), 1);
    EXPECT_EQ(scaleToFit({3840, 2160}), 1);
    EXPECT_EQ(scaleToFit({}), 1) << "no screen";
}

TEST(PanelScale, IsTheLargestThatFitsBothWays) {
    EXPECT_DOUBLE_EQ(scaleToFit({1024, 600}), 600.0 / 660);
    EXPECT_DOUBLE_EQ(scaleToFit({960, 540}), 540.0 / 660);
    EXPECT_DOUBLE_EQ(scaleToFit({933, 600}), 933.0 / 1111);
    EXPECT_DOUBLE_EQ(scaleToFit({1111, 330}), 0.5);
}

} // namespace
} // namespace tavelo
