// SPDX-License-Identifier: MIT
// The panel on screens of several sizes.
#include <QFile>
#include <QScreen>
#include <QTemporaryDir>
#include <QWindow>

#include "app/screen_fit.h"
#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

// Three screens side by side; the first one has the size of a netbook's.
constexpr const char* screens = R"({"screens": [
    {"name": "netbook", "x": 0, "y": 0, "width": 1024, "height": 600},
    {"name": "desk", "x": 1024, "y": 0, "width": 1920, "height": 1080},
    {"name": "toy", "x": 2944, "y": 0, "width": 480, "height": 320}]})";

class PanelScreens : public PanelTest {
protected:
    void startOn(const char* screen, int cameras = 1) {
        window_.move(named(screen)->geometry().topLeft());
        for (int number = 1; number <= cameras; ++number)
            plug(number);
        panel_ = std::make_unique<ViewController>(
            PanelOptions{manager_, *backend_.capture, store_, bundle_, RendererChoice::cpu});
        panel_->viewDidLoad();
        panel_->putInto(window_);
        fit_.emplace(window_, view());
        windowController_.windowDidLoad();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window_));
    }

    static QScreen* named(const char* name) {
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->name() == QLatin1String(name)) return screen;
        return nullptr;
    }

    void moveTo(const char* screen) { window_.windowHandle()->setScreen(named(screen)); }

    /// Checks a widget's position in the coordinates of the unscaled panel.
    void expectPlace(const QWidget* widget, const QRectF& frame) {
        const double scale = view().scale();
        const QRectF place = widget->geometry();
        EXPECT_NEAR(place.left(), frame.left() * scale, 1) << widget->metaObject()->className();
        EXPECT_NEAR(place.top(), frame.top() * scale, 1) << widget->metaObject()->className();
        EXPECT_NEAR(place.right(), frame.right() * scale, 1) << widget->metaObject()->className();
        EXPECT_NEAR(place.bottom(), frame.bottom() * scale, 1) << widget->metaObject()->className();
    }

    std::optional<ScreenFit> fit_;
};

TEST_F(PanelScreens, AScreenThatIsLargeEnoughShowsThePanelInItsOwnSize) {
    startOn("desk");
    EXPECT_EQ(view().scale(), 1);
    EXPECT_EQ(window_.size(), QSize(1111, 660));
    expectPlace(view().brightnessSlider(), QRectF(60, 166, 360, 16));
}

TEST_F(PanelScreens, ASmallerScreenShowsTheWholePanelScaledDown) {
    startOn("netbook");
    EXPECT_NEAR(view().scale(), 600.0 / 660, 1e-9);
    EXPECT_EQ(window_.size(), QSize(1010, 600));
    expectPlace(view().brightnessSlider(), QRectF(60, 166, 360, 16));
    expectPlace(view().closeButton(), QRectF(1051, 30, 30, 30));
    expectPlace(view().profile4Button(), QRectF(962, 108, 119, 32));
    expectPlace(view().displayView(), QRectF(545, 148, 536, 424));
    const QRect whole = view().rect();
    for (const QWidget* child : view().findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        EXPECT_TRUE(whole.contains(child->geometry())) << child->metaObject()->className();
}

TEST_F(PanelScreens, ThePreviewsOwnWindowIsScaledWithItsFrame) {
    startOn("netbook");
    KTMTKView& preview = *panel().displayView()->mtkView();
    EXPECT_EQ(preview.size(), panel().displayView()->size());
    EXPECT_TRUE(waitFor([&] { return preview.drawnFrames() > 0; }));
    EXPECT_EQ(preview.grabPicture().size(), panel().displayView()->size());
}

TEST_F(PanelScreens, TheWindowsSmallestSizeIsThatOfTheWholePanel) {
    startOn("desk");
    window_.resize(960, 560);
    EXPECT_EQ(window_.size(), QSize(1111, 660));
    window_.resize(1300, 700);
    EXPECT_EQ(window_.size(), QSize(1300, 700));
    moveTo("netbook");
    window_.resize(100, 100);
    EXPECT_EQ(window_.size(), QSize(1010, 600));
}

TEST_F(PanelScreens, AWindowThatComesToASmallerScreenShrinksAndGrowsBack) {
    startOn("desk");
    window_.resize(1200, 700);
    moveTo("toy");
    EXPECT_NEAR(view().scale(), 480.0 / 1111, 1e-9);
    EXPECT_LE(window_.width(), 480);
    EXPECT_LE(window_.height(), 320);
    moveTo("desk");
    EXPECT_EQ(view().scale(), 1);
    EXPECT_GE(window_.width(), 1111);
    EXPECT_GE(window_.height(), 660);
    expectPlace(view().brightnessSlider(), QRectF(60, 166 + view().height() - 660, 360, 16));
}

TEST_F(PanelScreens, ClicksReachTheScaledControls) {
    startOn("toy");
    KTSlider* slider = view().brightnessSlider();
    for (const double share : {0.0, 0.25, 0.8, 1.0}) {
        const QPoint place = slider->mapTo(&window_, pointOf(slider, share));
        QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {}, place);
        const double range = slider->maxValue() - slider->minValue();
        const double point = range / (slider->width() - slider->height()); // value range of one screen point
        EXPECT_NEAR(slider->floatValue(), slider->minValue() + share * range, point);
        EXPECT_EQ(manager_.bright()->val(), slider->intValue());
    }
    KTSwitch* mirror = view().mirrorSwitch();
    QTest::mouseClick(window_.windowHandle(), Qt::LeftButton, {},
                      mirror->mapTo(&window_, mirror->rect().center()));
    EXPECT_TRUE(mirror->on());
}

TEST_F(PanelScreens, ADragFollowsThePointerOnTheScaledSlider) {
    startOn("toy");
    KTSlider* slider = view().zoomSlider();
    const QPoint from = pointOf(slider, 0);
    QTest::mousePress(slider, Qt::LeftButton, {}, from);
    QTest::mouseMove(slider, pointOf(slider, 0.5));
    const double range = slider->maxValue() - slider->minValue();
    EXPECT_NEAR(slider->floatValue(), slider->minValue() + range / 2, range / 100);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, pointOf(slider, 0.5));
}

// A scaled bitmap has soft edges; shapes drawn at the target size end on a pixel.
TEST_F(PanelScreens, EdgesOfTheScaledPanelAreSharp) {
    startOn("toy");
    const QImage picture = view().grab().toImage();
    const int betweenRows = view().brightnessSlider()->geometry().bottom() + 2;
    for (int x = 1; x < view().displayView()->x(); ++x) {
        const int grey = picture.pixelColor(x, betweenRows).red();
        EXPECT_TRUE(grey == 38 || grey == 49) << x << ": " << grey;
    }
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    const QTemporaryDir folder;
    QFile configuration(folder.filePath(QStringLiteral("screens.json")));
    if (!configuration.open(QIODevice::WriteOnly) || configuration.write(tavelo::screens) < 0) return 2;
    configuration.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + configuration.fileName().toLocal8Bit());
    qputenv("QT_SCALE_FACTOR", "1");
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
