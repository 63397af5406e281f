// SPDX-License-Identifier: MIT
// What an X display shows.
#pragma once

#include <X11/Xlib.h>
// Xlib first.
#include <X11/extensions/XShm.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/virtual/picture/picture_raster.h"

namespace tavelo::bench {

/// Reads parts of the screen through memory that it shares with the X server.  Throws std::runtime_error if
/// there is no display or it has other than 24 bits of colour.  Thread-bound.
class ShownScreen {
public:
    ShownScreen();

    std::size_t width() const { return width_; }
    std::size_t height() const { return height_; }

    /// Nothing if the area is not within the screen.
    std::vector<Pixel> row(std::size_t left, std::size_t top, std::size_t width);
    /// Fetches the whole screen; rows of it are read with fetchedRow().
    bool fetch();
    std::vector<Pixel> fetchedRow(std::size_t top) const;

private:
    struct CloseDisplay {
        void operator()(Display* display) const { XCloseDisplay(display); }
    };
    struct DestroyImage {
        void operator()(XImage* image) const;
    };
    struct DetachMemory {
        void operator()(char* memory) const;
    };
    using Image = std::unique_ptr<XImage, DestroyImage>;

    Image makeImage(std::size_t width, std::size_t height);
    std::vector<Pixel> pixelsOf(const XImage& image, std::size_t top) const;

    std::unique_ptr<Display, CloseDisplay> display_;
    Window root_ = 0;
    std::size_t width_ = 0;
    std::size_t height_ = 0;
    XShmSegmentInfo segment_{};
    std::unique_ptr<char, DetachMemory> memory_;
    Image whole_;
    Image line_;
};

} // namespace tavelo::bench
