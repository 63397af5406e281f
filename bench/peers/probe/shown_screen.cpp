// SPDX-License-Identifier: MIT
#include "bench/peers/probe/shown_screen.h"

#include <X11/Xutil.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstring>
#include <stdexcept>

namespace tavelo::bench {
namespace {

constexpr int colourBits = 24;
constexpr std::size_t bytesPerPixel = 4;

} // namespace

void ShownScreen::DestroyImage::operator()(XImage* image) const {
    image->data = nullptr; // the shared memory, which has its own owner
    XDestroyImage(image);
}

void ShownScreen::DetachMemory::operator()(char* memory) const {
    ::shmdt(memory);
}

ShownScreen::ShownScreen() : display_(XOpenDisplay(nullptr)) {
    Display* const display = display_.get();
    if (display == nullptr) throw std::runtime_error("there is no display");
    const int screen = DefaultScreen(display);
    if (DefaultDepth(display, screen) != colourBits || XShmQueryExtension(display) == 0)
        throw std::runtime_error("the display needs 24 bits of colour and shared memory");
    root_ = RootWindow(display, screen);
    width_ = std::size_t(DisplayWidth(display, screen));
    height_ = std::size_t(DisplayHeight(display, screen));
    segment_.shmid = ::shmget(IPC_PRIVATE, width_ * height_ * bytesPerPixel, IPC_CREAT | 0600);
    void* const memory = segment_.shmid < 0 ? nullptr : ::shmat(segment_.shmid, nullptr, 0);
    if (memory == nullptr || memory == reinterpret_cast<void*>(-1))
        throw std::runtime_error("there is no shared memory");
    memory_.reset(static_cast<char*>(memory));
    segment_.shmaddr = memory_.get();
    XShmAttach(display, &segment_);
    XSync(display, False);
    ::shmctl(segment_.shmid, IPC_RMID, nullptr); // goes with its last user
    whole_ = makeImage(width_, height_);
    line_ = makeImage(width_, 1);
}

ShownScreen::Image ShownScreen::makeImage(std::size_t width, std::size_t height) {
    Display* const display = display_.get();
    Image image(XShmCreateImage(display, DefaultVisual(display, DefaultScreen(display)), colourBits, ZPixmap,
                                segment_.shmaddr, &segment_, unsigned(width), unsigned(height)));
    if (!image || image->bits_per_pixel != int(8 * bytesPerPixel))
        throw std::runtime_error("the display has other pixels than four bytes");
    return image;
}

std::vector<Pixel> ShownScreen::pixelsOf(const XImage& image, std::size_t top) const {
    std::vector<Pixel> pixels(std::size_t(image.width));
    std::memcpy(pixels.data(), image.data + top * std::size_t(image.bytes_per_line),
                pixels.size() * sizeof(Pixel));
    return pixels;
}

std::vector<Pixel> ShownScreen::row(std::size_t left, std::size_t top, std::size_t width) {
    if (top >= height_ || left + width > width_) return {};
    if (std::size_t(line_->width) != width) line_ = makeImage(width, 1);
    if (XShmGetImage(display_.get(), root_, line_.get(), int(left), int(top), AllPlanes) == 0) return {};
    return pixelsOf(*line_, 0);
}

bool ShownScreen::fetch() {
    return XShmGetImage(display_.get(), root_, whole_.get(), 0, 0, AllPlanes) != 0;
}

std::vector<Pixel> ShownScreen::fetchedRow(std::size_t top) const {
    return pixelsOf(*whole_, top);
}

} // namespace tavelo::bench
