// SPDX-License-Identifier: MIT
// Shows the preview with a moving test picture, for manual checks: show_preview auto|gl|cpu [SECONDS].
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTextStream>
#include <QTimer>

#include "fake_capture.h"
#include "test_picture.h"
#include "video/kt_display_view.h"

namespace {

using namespace tavelo;

// Frameless and translucent like the panel; prints clicks that pass through the picture.
class Window : public QWidget {
public:
    Window() {
        setWindowFlags(Qt::FramelessWindowHint);
        setAttribute(Qt::WA_TranslucentBackground);
        setGeometry(60, 60, 640, 400);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override {
        QTextStream(stdout) << "pressed at " << event->pos().x() << ", " << event->pos().y() << Qt::endl;
    }
};

int show(const QStringList& arguments) {
    const auto choice = rendererChoiceFromText(arguments.value(1, QStringLiteral("auto")).toStdString());
    if (!choice) return 2;
    Window window;
    testing::FakeCapturePlatform platform;
    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<KTDisplayView> view =
        KTDisplayView::create(QRect(52, 49, 536, 301), platform, *choice, &window);
    QTextStream(stdout) << "made in " << double(clock.nsecsElapsed()) / 1e6 << " ms" << Qt::endl;
    view->mtkView()->setShouldFlipHorizontal(arguments.contains(QStringLiteral("mirror")));
    window.show();
    view->showDevice(std::make_shared<testing::FakeDevice>("0x1420000005ac8514"));

    const auto picture = testing::makeTestPicture(640, 480);
    QTimer frames;
    QObject::connect(&frames, &QTimer::timeout, &window, [&] {
        platform.session->deliver(
            picture, MediaTime::fromNanoseconds(std::chrono::steady_clock::now().time_since_epoch()));
    });
    frames.start(33);
    QTimer::singleShot(arguments.value(2, QStringLiteral("10")).toInt() * 1000, &window, &QApplication::quit);
    const int result = QApplication::exec();
    QTextStream(stdout) << QString::fromStdString(std::string(rendererText(view->mtkView()->renderer())))
                        << ": " << view->mtkView()->drawnFrames() << " frames" << Qt::endl;
    return result;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    return show(QApplication::arguments());
}
