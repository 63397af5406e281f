// SPDX-License-Identifier: MIT
#include <QDialog>
#include <QDir>
#include <QFontDatabase>
#include <QFontInfo>
#include <QImageWriter>
#include <QLocale>
#include <QPainter>
#include <QTemporaryDir>

#include "app/about_panel.h"
#include "app/all_controls.h"
#include "app/camera_menu.h"
#include "app/capture_menu.h"
#include "app/full_screen_picture.h"
#include "app/kt_application.h"
#include "app/panel_menu.h"
#include "app/program_language.h"
#include "app/share_menu.h"
#include "app/software_list.h"
#include "app/window_menu.h"
#include "integration/panel_fixture.h"
#include "integration/picture_comparison.h"
#include "panel/saved_alert.h"
#include "platform/virtual/picture/virtual_picture.h"

namespace tavelo {
namespace {

QByteArray wanted(const char* variable, const char* otherwise) {
    return qEnvironmentVariableIsSet(variable) ? qgetenv(variable) : QByteArray(otherwise);
}
// One language and one scale factor a process: Qt and fontconfig read them when they start.
QByteArray language() {
    return wanted("TAVELO_PICTURE_LANGUAGE", "en");
}
QByteArray scale() {
    return wanted("TAVELO_PICTURE_SCALE", "1");
}

class PanelPicture : public PanelTest {
protected:
    void SetUp() override {
        // Family names depend on the desktop's language, so look for a writing system instead.
        ASSERT_FALSE(QFontDatabase::families(QFontDatabase::SimplifiedChinese).isEmpty())
            << "the package fonts-wqy-microhei is missing";
        ASSERT_EQ(QFontInfo(QFont(QStringLiteral("Arial"))).family().toStdString(), "Liberation Sans")
            << "the package fonts-liberation is missing";
    }

    /// Stops the camera and shows one fixed picture drawn with its current control values.
    void holdStill(int number) {
        KTDisplayView& display = *panel().displayView();
        KTMTKView& renderer = *display.mtkView();
        ASSERT_TRUE(waitFor([&] { return renderer.drawnFrames() > 0; }));
        display.captureSession().stopRunning();
        const auto live = renderer.pixelBuffer();
        const auto still = PixelBuffer::create(PixelFormat::bgra32, live->width(), live->height());
        {
            constexpr std::uint64_t moment = 42;
            const auto lock = still->lock();
            VirtualPicture(number).draw(moment, camera(number)->pictureSettings(), still->baseAddress(),
                                        still->width(), still->height(), still->bytesPerRow());
        }
        renderer.renderQueue().sync([] {}); // waits for pending frames
        const std::uint64_t before = renderer.drawnFrames();
        renderer.drawPixelBufferWithPresentationTime(still, MediaTime::fromNanoseconds({}));
        ASSERT_TRUE(waitFor([&] { return renderer.drawnFrames() > before; }));
    }

    /// The window's content with the picture of the renderer's native window painted over it.
    QImage picture() {
        QImage image = window_.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
        KTDisplayView& display = *panel().displayView();
        const QImage preview = display.mtkView()->grabPicture();
        if (preview.isNull()) return image;
        const QRect place(display.mapTo(&window_, QPoint()), display.size());
        QPainter painter(&image);
        painter.drawImage(place, preview);
        return image;
    }

    static void write(const QImage& image, const QString& path) {
        QImageWriter writer(path, "png");
        writer.setCompression(100);
        ASSERT_TRUE(writer.write(image)) << path.toStdString() << ": " << writer.errorString().toStdString();
    }

    /// Compares with the reference picture, or replaces it if TAVELO_UPDATE_PICTURES=1.
    void expectPicture(const char* state) { expectPicture(state, picture()); }

    void expectPicture(const char* state, const QImage& drawn) {
        QString name = QStringLiteral("panel-%1-%2").arg(QLatin1String(state), QLatin1String(language()));
        if (scale() != "1") name += QStringLiteral("@%1x").arg(QLatin1String(scale()));
        const QString keptPath = QStringLiteral(KEPT_PICTURES "/%1.png").arg(name);
        if (qEnvironmentVariable("TAVELO_UPDATE_PICTURES") == u"1") {
            write(drawn, keptPath);
            return;
        }
        const QImage kept(keptPath);
        const PictureDifference difference = comparePictures(kept, drawn);
        if (difference.worst <= pictureTolerance) return;
        ASSERT_TRUE(QDir().mkpath(QStringLiteral(DRAWN_PICTURES)));
        const QString drawnPath = QStringLiteral(DRAWN_PICTURES "/%1.png").arg(name);
        const QString differencePath = QStringLiteral(DRAWN_PICTURES "/%1-difference.png").arg(name);
        write(drawn, drawnPath);
        write(showDifference(kept, drawn), differencePath);
        ADD_FAILURE() << "The panel differs from " << keptPath.toStdString() << "\nmost around ("
                      << difference.where.x() << ", " << difference.where.y() << "), by " << difference.worst
                      << " of " << pictureTolerance
                      << " levels allowed.\nDrawn:      " << drawnPath.toStdString()
                      << "\nDifference: " << differencePath.toStdString()
                      << "\nTo accept the new look: TAVELO_UPDATE_PICTURES=1 ctest -R panel_pictures";
    }
};

TEST_F(PanelPicture, NoCamera) {
    start(0);
    expectPicture("no-camera");
}

TEST_F(PanelPicture, CameraBound) {
    start(2);
    holdStill(1);
    expectPicture("camera");
}

// The manual explains the parts by these numbers.
TEST_F(PanelPicture, NumberedForTheManual) {
    start(2);
    holdStill(1);
    QImage image = picture();
    struct Part {
        const QWidget* widget;
        Qt::Corner corner = Qt::TopRightCorner;
    };
    const std::array parts{
        Part{view().camera2Button()},        Part{view().brightnessSlider(), Qt::TopLeftCorner},
        Part{view().brightnessValueText()},  Part{view().mirrorSwitch()},
        Part{view().hz60Button()},           Part{view().profile1Button()},
        Part{view().displayView()},          Part{view().saveProfileButton()},
        Part{view().restoreProfileButton()}, Part{view().closeButton()},
    };
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(15);
    font.setBold(true);
    painter.setFont(font);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        constexpr int side = 24;
        QRect disc(0, 0, side, side);
        const QWidget& widget = *parts[i].widget;
        constexpr int away = 7; // so that the part stays visible
        const QPoint corner = parts[i].corner == Qt::TopLeftCorner ? QPoint(-away, -away)
                                                                   : QPoint(widget.width() + away, -away);
        disc.moveCenter(widget.mapTo(&window_, corner));
        painter.setBrush(QColor(255, 214, 64));
        painter.setPen(Qt::black);
        painter.drawEllipse(disc);
        painter.drawText(disc, Qt::AlignCenter, QString::number(i + 1));
    }
    painter.end();
    expectPicture("guide", image);
}

TEST_F(PanelPicture, AllControls) {
    start(1);
    manager_.setAutoWhiteBalanceWithComplitionHandle(1, {});
    manager_.setSaturationWithComplitionHandle(110, {}); // shows the mark of its default
    const ControlCatalog catalog;
    AllControls allControls(panel(), bundle_, catalog, window_);
    allControls.show();
    const auto isAnswered = [&] { // the widgets are not made again after that
        return std::ranges::any_of(allControls.window()->lines(),
                                   [](const ControlLine* line) { return line->control().step > 1; });
    };
    ASSERT_TRUE(waitFor(isAnswered));
    allControls.window()->resize(660, 1180); // all of them
    QCoreApplication::processEvents();
    expectPicture("all-controls", allControls.window()->grab().toImage());
}

TEST_F(PanelPicture, ScaledDownToASmallScreen) {
    start(1);
    view().setScale(scaleToFit({1024, 600}));
    window_.resize(1010, 600);
    holdStill(1);
    expectPicture("small-screen");
}

TEST_F(PanelPicture, Message) {
    QTimer whenShown;
    QObject::connect(&whenShown, &QTimer::timeout, &window_, [&] {
        QWidget* alert = QApplication::activeModalWidget();
        if (alert == nullptr) return;
        whenShown.stop();
        expectPicture("message", alert->grab().toImage());
        alert->close();
    });
    whenShown.start(0);
    showSavedAlert(nullptr, bundle_);
}

TEST_F(PanelPicture, Languages) {
    ProgramLanguage language(bundle_, store_);
    window_.show();
    const PanelMenu menu(window_, bundle_, language);
    QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
    auto* opened = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(opened, nullptr);
    QMenu* languages = opened->actions().at(2)->menu();
    ASSERT_NE(languages, nullptr);
    expectPicture("languages", languages->grab().toImage());
    opened->close();
}

TEST_F(PanelPicture, ContextMenuOfEachState) {
    start(2);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 2; }));
    ProgramLanguage language(bundle_, store_);
    PictureStatus status;
    WindowHost host(nullptr, [] { return std::optional<ServiceError>(); });
    host.setPanel(panel());
    FullScreenPicture fullScreen(window_, view());
    RecordingClock clock;
    CameraMenu camera(panel(), bundle_, [&status] { return status; });
    CaptureMenu capture(window_, host, clock, bundle_,
                        {QStringLiteral("/proc/none"), QStringLiteral("/proc/none")});
    ShareMenu share(host, bundle_);
    WindowMenu windowMenu(window_, fullScreen, bundle_);
    PanelMenu menu(window_, bundle_, language);
    for (MenuSection* section : std::initializer_list<MenuSection*>{&camera, &capture, &share, &windowMenu})
        menu.addSection(*section);
    const auto expectMenu = [&](const char* state) {
        QTest::mouseClick(window_.windowHandle(), Qt::RightButton, {}, QPoint(20, 20));
        auto* opened = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(opened, nullptr);
        opened->setActiveAction(opened->actions().constLast());
        expectPicture(state, opened->grab().toImage());
        opened->close();
    };

    status = {PictureStatus::Kind::shown, "Tavelo Virtual Camera 1", {}, QSize(1280, 720), 30, {}};
    capture.setPictureShown(true);
    expectMenu("menu-camera");
    clock.start();
    expectMenu("menu-recording");
    clock.stop();
    capture.setPictureShown(false);
    status = {PictureStatus::Kind::busy, "Tavelo Virtual Camera 1", {}, {}, 0, {{4711, "firefox"}}};
    expectMenu("menu-busy");
    status = {PictureStatus::Kind::denied, "Tavelo Virtual Camera 1", "/dev/video0", {}, 0, {}};
    expectMenu("menu-denied");
    backend_.bus->unplug(1);
    backend_.bus->unplug(2);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().empty(); }));
    status = {};
    expectMenu("menu-no-camera");
}

TEST_F(PanelPicture, AboutPanelAndSoftwareList) {
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/tavelo-control-panel.svg")));
    QApplication::setApplicationDisplayName(QStringLiteral("Tavelo Control Panel"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));
    window_.show();
    showAboutPanel(&window_, KTApplication::credits(bundle_), bundle_);
    auto* about = window_.findChild<QDialog*>(QStringLiteral("aboutPanel"));
    ASSERT_NE(about, nullptr);
    expectPicture("about", about->grab().toImage());
    showSoftwareList(about, bundle_);
    auto* list = about->findChild<QDialog*>(QStringLiteral("softwareList"));
    ASSERT_NE(list, nullptr);
    expectPicture("software", list->grab().toImage());
    delete about;
}

TEST_F(PanelPicture, ProfileSelectedAndControlsMoved) {
    start(1);
    push(view().profile2Button());
    click(view().mirrorSwitch());
    click(view().hz60Button());
    QTest::mouseClick(view().saturationSlider(), Qt::LeftButton, {}, pointOf(view().saturationSlider(), 0.8));
    QTest::mouseClick(view().panLeftRightSlider(), Qt::LeftButton, {},
                      pointOf(view().panLeftRightSlider(), 0.6));
    ASSERT_TRUE(waitFor([&] { return !panel().displayView()->mtkView()->isHidden(); }));
    holdStill(1);
    expectPicture("profile");
}

// Keeps the machine's and the user's settings out of the pictures.
bool prepareDesktop(const QString& emptyFolder) {
    const std::vector<std::string> languages = ResourceBundle({"en-US"}).localizations();
    if (std::ranges::find(languages, language().toStdString()) == languages.end()) return false;
    const QByteArray locale = QLocale(QString::fromLatin1(language())).name().toLatin1();
    // As fontconfig names languages: without the territory unless it decides the script.
    const QByteArray fontLanguage = language() == "zh-Hans" ? "zh-cn" : language();
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANGUAGE", "QT_SCALE_FACTOR_ROUNDING_POLICY",
                                 "QT_SCREEN_SCALE_FACTORS", "QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME"})
        qunsetenv(variable);
    qputenv("LC_CTYPE", "C.UTF-8");
    qputenv("LANG", locale + ".UTF-8");
    qputenv("FC_LANG", fontLanguage);
    qputenv("FONTCONFIG_FILE", PICTURES_FONTS);
    qputenv("XDG_CONFIG_HOME", emptyFolder.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_FONT_DPI", "96");
    qputenv("QT_SCALE_FACTOR", scale());
    return true;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    const QTemporaryDir emptyFolder;
    if (!tavelo::prepareDesktop(emptyFolder.path())) {
        std::fputs("TAVELO_PICTURE_LANGUAGE names no language of the panel\n", stderr);
        return 2;
    }
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
