// SPDX-License-Identifier: MIT
// The panel lets other programs have its camera, and takes it again.
#include <QImage>

#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

class PanelRelease : public PanelTest {
protected:
    std::shared_ptr<CaptureDevice> device(std::size_t index) { return panel().devicesArray().at(index); }
    std::uint64_t drawnFrames() { return panel().displayView()->mtkView()->drawnFrames(); }
    bool framesGoOn() {
        return waitFor([this, before = drawnFrames()] { return drawnFrames() > before; });
    }
    void unplug(int number) {
        const std::size_t before = panel().devicesArray().size();
        backend_.bus->unplug(number);
        ASSERT_TRUE(waitFor([&] { return panel().devicesArray().size() < before; }));
    }
    void plugAndWait(int number) {
        const std::size_t before = panel().devicesArray().size();
        plug(number);
        ASSERT_TRUE(waitFor([&] { return panel().devicesArray().size() > before; }));
    }
    void expectNothingIsHeld() {
        EXPECT_TRUE(panel().cameraIsReleased());
        EXPECT_EQ(panel().shownCamera(), nullptr);
        EXPECT_EQ(panel().displayView()->videoCaptureDeviceInput(), nullptr);
        EXPECT_FALSE(panel().displayView()->captureSession().isRunning());
        EXPECT_EQ(manager_.interface(), nullptr);
        EXPECT_FALSE(view().brightnessSlider()->isEnabled());
        EXPECT_FALSE(view().camera1Button()->selected());
        EXPECT_FALSE(view().camera2Button()->selected());
    }
};

TEST_F(PanelRelease, AReleasedCameraIsNotHeldAndItsPictureIsBlack) {
    start(1);
    ASSERT_TRUE(framesGoOn());
    panel().releaseCamera();
    expectNothingIsHeld();
    EXPECT_TRUE(waitFor([this] {
        const QImage picture = panel().displayView()->mtkView()->grabPicture();
        return picture.pixelColor(picture.rect().center()) == QColor(Qt::black);
    }));
    EXPECT_EQ(panel().devicesArray().size(), 1U) << "it is still there";
}

TEST_F(PanelRelease, TakingTheCameraShowsItAgain) {
    start(1);
    panel().releaseCamera();
    panel().takeCamera();
    EXPECT_FALSE(panel().cameraIsReleased());
    EXPECT_EQ(panel().shownCamera(), device(0));
    EXPECT_TRUE(view().camera1Button()->selected());
    EXPECT_TRUE(view().brightnessSlider()->isEnabled());
    EXPECT_TRUE(framesGoOn());
}

TEST_F(PanelRelease, TheOneThatWasShownIsTakenAgain) {
    start(2);
    click(view().camera2Button());
    panel().releaseCamera();
    panel().takeCamera();
    EXPECT_EQ(panel().shownCamera(), device(1));
    panel().takeCamera(); // none is released
    EXPECT_EQ(panel().shownCamera(), device(1));
}

TEST_F(PanelRelease, AnUnpluggedOneIsReplacedByTheFirstWhenItIsTaken) {
    start(2);
    click(view().camera2Button());
    panel().releaseCamera();
    unplug(2);
    expectNothingIsHeld();
    panel().takeCamera();
    EXPECT_EQ(panel().shownCamera(), device(0));
    EXPECT_TRUE(framesGoOn());
}

TEST_F(PanelRelease, TheOnlyOneIsUnpluggedAndNothingIsTaken) {
    start(1);
    panel().releaseCamera();
    unplug(1);
    panel().takeCamera();
    EXPECT_FALSE(panel().cameraIsReleased());
    EXPECT_EQ(panel().shownCamera(), nullptr);
    plugAndWait(1);
    EXPECT_EQ(panel().shownCamera(), device(0)) << "as always";
}

TEST_F(PanelRelease, ACameraThatIsPluggedInMeanwhileIsLeftAlone) {
    start(1);
    panel().releaseCamera();
    unplug(1);
    plugAndWait(1);
    expectNothingIsHeld();
    plugAndWait(2);
    expectNothingIsHeld();
    panel().takeCamera();
    EXPECT_EQ(panel().shownCamera(), device(0));
    EXPECT_TRUE(framesGoOn());
}

TEST_F(PanelRelease, ChoosingACameraEndsTheRelease) {
    start(2);
    panel().releaseCamera();
    panel().showCamera(device(1));
    EXPECT_FALSE(panel().cameraIsReleased());
    panel().releaseCamera();
    panel().reconnectCamera();
    EXPECT_EQ(panel().shownCamera(), device(0));
    EXPECT_FALSE(panel().cameraIsReleased());
}

TEST_F(PanelRelease, WithoutACameraThereIsNothingToRelease) {
    start(0);
    panel().releaseCamera();
    EXPECT_FALSE(panel().cameraIsReleased());
    plugAndWait(1);
    EXPECT_EQ(panel().shownCamera(), device(0));
}

TEST_F(PanelRelease, OthersAreToldOfBoth) {
    start(1);
    int cameras = 0;
    int bindings = 0;
    QObject::connect(&panel(), &ViewController::shownCameraChanged, &window_, [&] { ++cameras; });
    QObject::connect(&panel(), &ViewController::controlsBound, &window_, [&] { ++bindings; });
    panel().releaseCamera();
    EXPECT_EQ(cameras, 1);
    EXPECT_EQ(bindings, 1);
    panel().takeCamera();
    EXPECT_EQ(cameras, 2);
    EXPECT_EQ(bindings, 2);
}

} // namespace
} // namespace tavelo
