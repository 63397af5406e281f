// SPDX-License-Identifier: MIT
#include "app/shown_picture.h"

#include <gtest/gtest.h>

#include <QTest>

#include "support/camera_that_falls_silent.h"
#include "video/kt_display_view.h"
#include "video/kt_mtk_view.h"

namespace tavelo {
namespace {

TEST(ShownPicture, IsTheNewCamerasOnceThoseThatWaitedAreDrawn) {
    constexpr int pictures = 5;
    const auto camera = std::make_shared<testing::CameraThatFallsSilent>(pictures);
    testing::PlatformOfOneCamera platform(camera);
    const auto display = KTDisplayView::create(QRect(0, 0, 64, 48), platform, RendererChoice::cpu);
    ASSERT_NE(display, nullptr);
    const KTMTKView& view = *display->mtkView();
    ShownPicture picture(view);
    EXPECT_EQ(picture.firstOwn(), 1U);
    display->showDevice(camera);
    ASSERT_TRUE(QTest::qWaitFor([&] { return camera->delivered() == pictures; }, 20'000));
    display->showDevice(nullptr); // waits for what is on its way
    ASSERT_GT(view.drawnFrames(), 0U);
    picture.cameraDidChange();
    EXPECT_EQ(picture.firstOwn(), view.drawnFrames() + 3) << "two of the last camera may still wait";
}

} // namespace
} // namespace tavelo
