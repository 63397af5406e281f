// SPDX-License-Identifier: MIT
// A window that shows frames' bar codes, as they are asked for on the standard input.
//
// Reads lines "NUMBER plain|mirrored"; prints, once the picture is on the screen, the time before that in
// nanoseconds.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

#include "bench/peers/camera/frame_code.h"

namespace {

using namespace tavelo;
using namespace tavelo::bench;

constexpr std::size_t width = 640;
constexpr std::size_t height = 360;
constexpr int left = 100;
constexpr int top = 50;

struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
};

Raster pictureOf(std::uint32_t number, bool mirrored) {
    Raster picture;
    picture.resize(width, height);
    drawFrameCode(picture, number);
    for (std::size_t y = 0; mirrored && y < height; ++y)
        std::reverse(picture.row(y), picture.row(y) + width);
    return picture;
}

Window openWindow(Display* display) {
    const Window window =
        XCreateSimpleWindow(display, DefaultRootWindow(display), left, top, width, height, 0, 0, 0);
    XSelectInput(display, window, ExposureMask);
    XMapWindow(display, window);
    XEvent event{};
    XNextEvent(display, &event); // until it is shown
    return window;
}

void show(Display* display, Window window, Raster picture) {
    const int screen = DefaultScreen(display);
    XImage* const image =
        XCreateImage(display, DefaultVisual(display, screen), unsigned(DefaultDepth(display, screen)),
                     ZPixmap, 0, reinterpret_cast<char*>(picture.pixels.data()), width, height, 32, 0);
    XPutImage(display, window, DefaultGC(display, screen), image, 0, 0, 0, 0, width, height);
    image->data = nullptr; // the picture's own
    XDestroyImage(image);
    XSync(display, False);
}

} // namespace

int main() {
    const std::unique_ptr<Display, CloseDisplay> display(XOpenDisplay(nullptr));
    if (!display) return 1;
    const Window window = openWindow(display.get());
    std::uint32_t number = 0;
    std::string direction;
    while (std::cin >> number >> direction) {
        const std::chrono::nanoseconds before = std::chrono::steady_clock::now().time_since_epoch();
        show(display.get(), window, pictureOf(number, direction == "mirrored"));
        std::cout << before.count() << std::endl;
    }
    return 0;
}
