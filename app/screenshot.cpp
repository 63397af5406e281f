// SPDX-License-Identifier: MIT
#include "app/screenshot.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPixmap>
#include <QSaveFile>
#include <QScreen>
#include <chrono>

#include "process/error_line.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr auto pollInterval = 20ms;
// More than one, because the first frames may be drawn before the window is on the screen.
constexpr std::uint64_t framesToWaitFor = 5;
// Long enough for a slow, emulated machine.
constexpr auto patience = 60s;

// Null on Wayland, where programs cannot read the screen.
QImage screen(QWidget& window) {
    return window.screen()
        ->grabWindow(window.winId())
        .toImage()
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage drawn(QWidget& window) {
    return window.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// The screen's pixels, cut to the window's shape, because without a compositor the corners are black.  If the
// screen cannot be read, window and preview are drawn again.
QImage picture(QWidget& window, KTDisplayView* displayView) {
    const QImage onScreen = screen(window);
    QImage result = drawn(window);
    QPainter painter(&result);
    if (onScreen.size() == result.size()) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.drawImage(QPoint(), onScreen);
    } else if (displayView != nullptr) {
        const QRect place(displayView->mapTo(&window, QPoint()), displayView->size());
        const QImage preview = displayView->mtkView()->grabPicture();
        if (!preview.isNull()) painter.drawImage(place, preview);
    }
    return result;
}

bool write(const QImage& image, const std::string& path, QString& reason) {
    QSaveFile file(QString::fromStdString(path));
    if (file.open(QIODevice::WriteOnly) && image.save(&file, "PNG") && file.commit()) return true;
    reason = file.errorString();
    return false;
}

} // namespace

Screenshot::Screenshot(QWidget& window, KTDisplayView* displayView, std::string path)
    : window_(window),
      displayView_(displayView),
      path_(std::move(path)) {
    connect(&timer_, &QTimer::timeout, this, &Screenshot::poll);
    waited_.start();
    timer_.start(pollInterval);
}

bool Screenshot::ready() const {
    if (displayView_ == nullptr || displayView_->captureDevice() == nullptr) return true;
    return displayView_->mtkView()->drawnFrames() >= framesToWaitFor;
}

void Screenshot::poll() {
    if (ready()) {
        timer_.stop();
        take();
    } else if (std::chrono::milliseconds(waited_.elapsed()) > patience) {
        timer_.stop();
        printErrorLine(path_, "not written: the camera delivered no picture");
        QCoreApplication::exit(1);
    }
}

void Screenshot::take() {
    QString reason;
    if (write(picture(window_, displayView_), path_, reason)) {
        QCoreApplication::exit(0);
        return;
    }
    printErrorLine(path_, std::string("not written: ") + qPrintable(reason));
    QCoreApplication::exit(1);
}

} // namespace tavelo
