// SPDX-License-Identifier: MIT
// What the context menu says of the camera, and what it lets the user choose.
#include "integration/features_fixture.h"
#include "panel/automatic_functions.h"
#include "support/troubled_capture.h"

namespace tavelo {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class PanelCameraMenu : public FeaturesTest {
protected:
    std::int64_t value(KTUVCControl control) { return manager_.record(control)->val(); }
};

TEST_F(PanelCameraMenu, FirstLineHasNameSizeAndRateOfThePicture) {
    startWithFeatures(1);
    ASSERT_TRUE(waitFor([this] { return firstLine().find("frames/s") != std::string::npos; }));
    EXPECT_THAT(firstLine(), MatchesRegex("Tavelo Virtual Camera 1, 1280 × 720, [0-9]+ frames/s"));
    EXPECT_FALSE(openMenu()->actions().at(0)->isEnabled()) << "a line to read";
}

TEST_F(PanelCameraMenu, TheRateIsTheCamerasOwn) {
    startWithFeatures(1);
    ASSERT_TRUE(waitFor([this] { return firstLine().find("frames/s") != std::string::npos; }));
    const QString line = entries().value(0);
    const int rate = line.section(QStringLiteral(", "), -1).section(u' ', 0, 0).toInt();
    EXPECT_GT(rate, 2) << "a slow machine draws fewer";
    EXPECT_LE(rate, 31);
}

TEST_F(PanelCameraMenu, AThirdAndAFourthCameraCanBeChosen) {
    startWithFeatures(4);
    for (int number = 1; number <= 4; ++number)
        EXPECT_THAT(entries(), Contains(QStringLiteral("%1  Tavelo Virtual Camera %1").arg(number)));
    EXPECT_TRUE(entry("1  Tavelo Virtual Camera 1")->isChecked());
    choose("4  Tavelo Virtual Camera 4");
    EXPECT_EQ(panel().shownCamera(), panel().devicesArray()[3]);
    EXPECT_TRUE(entry("4  Tavelo Virtual Camera 4")->isChecked());
    EXPECT_FALSE(entry("1  Tavelo Virtual Camera 1")->isChecked());
    EXPECT_FALSE(view().camera1Button()->selected());
    EXPECT_FALSE(view().camera2Button()->selected());
    click(view().camera2Button());
    EXPECT_EQ(panel().shownCamera(), panel().devicesArray()[1]);
}

TEST_F(PanelCameraMenu, TheCameraShownIsNotStartedAgain) {
    startWithFeatures(2);
    const std::size_t before = camera(1)->requestLog().size();
    choose("1  Tavelo Virtual Camera 1");
    EXPECT_EQ(camera(1)->requestLog().size(), before);
}

TEST_F(PanelCameraMenu, ACameraThatIsGoneByThenIsNotChosen) {
    startWithFeatures(2);
    QAction* const second = entry("2  Tavelo Virtual Camera 2");
    backend_.bus->unplug(2);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
    second->trigger();
    EXPECT_EQ(panel().shownCamera(), panel().devicesArray()[0]);
}

TEST_F(PanelCameraMenu, AutomaticFunctionsAreCheckItems) {
    startWithFeatures(1);
    for (const AutomaticFunction& function : automaticFunctions()) {
        const std::string title = bundle_.localizedString(function.title, {});
        const bool before = entry(title.c_str())->isChecked();
        EXPECT_EQ(before, isOn(manager_, function)) << title;
        choose(title.c_str());
        EXPECT_EQ(entry(title.c_str())->isChecked(), !before) << title;
        EXPECT_EQ(manager_.controlSupported(function.manual), before) << title;
        choose(title.c_str());
        EXPECT_EQ(entry(title.c_str())->isChecked(), before) << title;
        EXPECT_EQ(manager_.controlSupported(function.manual), !before) << title;
    }
}

TEST_F(PanelCameraMenu, AutomaticExposureUsesTheModeThatTheCameraHas) {
    startWithFeatures(1);
    choose("Auto Exposure");
    EXPECT_EQ(value(KTUVCControl::autoExposureMode), 1);
    choose("Auto Exposure");
    EXPECT_EQ(value(KTUVCControl::autoExposureMode), manager_.autoExposureMode()->def());
}

TEST_F(PanelCameraMenu, AMissingAutomaticFunctionIsNotOffered) {
    VirtualCameraModel model = virtualCameraModel(1);
    constexpr std::uint32_t autoFocus = 1U << 17; // its bit in bmControls
    ASSERT_NE(model.terminalControls & autoFocus, 0U);
    model.terminalControls &= ~autoFocus;
    backend_.bus->plug(model);
    startWithFeatures(0);
    EXPECT_EQ(entry("Auto Focus"), nullptr);
    EXPECT_NE(entry("Auto White Balance"), nullptr);
}

TEST_F(PanelCameraMenu, WithoutACameraItSaysWhatToDo) {
    startWithFeatures(0);
    EXPECT_EQ(firstLine(), "No camera: plug in a USB camera");
    EXPECT_EQ(view().displayView()->toolTip(), QStringLiteral("No camera: plug in a USB camera"));
    EXPECT_THAT(diagnostics_.lines(), Contains(HasSubstr("no camera: plug in a USB camera")));
    EXPECT_EQ(entry("Auto White Balance"), nullptr);
    plug(1);
    ASSERT_TRUE(pictureIsShown());
    EXPECT_THAT(view().displayView()->toolTip().toStdString(), ::testing::Not(HasSubstr("No camera")));
    backend_.bus->unplug(1);
    ASSERT_TRUE(firstLineBecomes("No camera: plug in a USB camera"));
    EXPECT_EQ(diagnostics_.lines().size(), 2U) << "once each time";
}

TEST_F(PanelCameraMenu, TheOpenMenuFollowsTheCamera) {
    startWithFeatures(0);
    const QMenu* menu = openMenu();
    plug(1);
    ASSERT_TRUE(waitFor([menu] { return menu->actions().at(0)->text().contains(u'×'); }));
}

TEST_F(PanelCameraMenu, TheLineIsInTheChosenLanguage) {
    startWithFeatures(0);
    for (QAction* language : entry("Language")->menu()->actions())
        if (language->text() == QStringLiteral("Deutsch")) language->trigger();
    EXPECT_EQ(firstLine(), "Keine Kamera: bitte eine USB-Kamera anschließen");
    EXPECT_THAT(view().displayView()->toolTip().toStdString(), HasSubstr("Keine Kamera"));
}

class PanelTroubledCamera : public PanelCameraMenu {
protected:
    ~PanelTroubledCamera() override { end(); }

    void startTroubled() {
        plug(1);
        ASSERT_TRUE(
            waitFor([this] { return !backend_.capture->devicesWithMediaType(MediaType::video).empty(); }));
        startWithFeatures(0);
    }

    CapturePlatform& capture() override { return capture_; }

    std::shared_ptr<testing::CaptureTrouble> trouble_ = std::make_shared<testing::CaptureTrouble>();
    testing::TroubledCapture capture_{*backend_.capture, trouble_};
};

TEST_F(PanelTroubledCamera, ABusyCameraNamesWhoHasItAndThePictureComesByItself) {
    trouble_->setTrouble({ErrorCode::busy, "busy: in use by firefox, process 4711"});
    trouble_->setHolders({{{4711, "firefox"}}, false});
    startTroubled();
    const QString who = QStringLiteral("In use by firefox, process 4711");
    ASSERT_TRUE(waitFor([&] { return view().displayView()->toolTip() == who; })) << "without any menu";
    EXPECT_EQ(firstLine(), who.toStdString());
    EXPECT_FALSE(entry("Save Picture")->isEnabled());
    EXPECT_FALSE(entry("Record")->isEnabled());
    trouble_->setHolders({{{4712, "cheese"}}, false});
    ASSERT_TRUE(firstLineBecomes("In use by cheese, process 4712")) << "asked again when the menu opens";
    trouble_->setTrouble({});
    ASSERT_TRUE(pictureIsShown());
    EXPECT_TRUE(entry("Save Picture")->isEnabled());
}

TEST_F(PanelTroubledCamera, ABusyCameraWhoseHolderIsHiddenIsInUseByAnotherProgram) {
    trouble_->setTrouble({ErrorCode::busy, "busy"});
    trouble_->setHolders({{}, true});
    startTroubled();
    EXPECT_TRUE(firstLineBecomes("In use by another program"));
}

TEST_F(PanelTroubledCamera, WithoutPermissionItSaysWhatToDo) {
    trouble_->setRefusal({ErrorCode::denied, "cannot open /dev/video0: Permission denied"});
    startTroubled();
    const std::string line = "No permission for /dev/video0: join the group “video”, then log in again";
    ASSERT_TRUE(firstLineBecomes(line));
    EXPECT_EQ(view().displayView()->toolTip().toStdString(), line);
    EXPECT_THAT(diagnostics_.lines(), Contains(HasSubstr("/dev/video0: no permission")));
    trouble_->setRefusal({});
    panel().reconnectCamera();
    EXPECT_TRUE(pictureIsShown());
}

TEST_F(PanelTroubledCamera, AStreamThatIsDeniedSaysSoToo) {
    trouble_->setTrouble({ErrorCode::denied, "Permission denied"});
    startTroubled();
    EXPECT_TRUE(firstLineBecomes("No permission for /dev/video0: join the group “video”, then log in again"));
}

TEST_F(PanelTroubledCamera, ASilentCameraCanBeReconnected) {
    trouble_->setTrouble({ErrorCode::timeout, "no frame came"});
    startTroubled();
    EXPECT_TRUE(firstLineBecomes("The camera delivers no picture: reconnect it with F5"));
}

} // namespace
} // namespace tavelo
