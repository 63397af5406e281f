// SPDX-License-Identifier: MIT
// The program's main window.
#pragma once

#include <QRect>
#include <QWidget>
#include <cstdint>

namespace tavelo {

/// What the window manager gives a window besides its content.
enum class WindowStyle : std::uint8_t {
    borderless, ///< no frame and no title bar: the content draws its own shape
    titled,
};

/// A window without a look of its own: translucent everywhere, so that only what the content draws is seen,
/// and alive until the program ends, closed or not.  Thread-bound to the main thread.
class KTWindow : public QWidget {
    Q_OBJECT

public:
    /// @param contentRect size in points; its position is used where it is not the origin
    /// @param backingAlpha whether the window's memory keeps an alpha channel; false only on screens that
    /// have none
    /// @param defer create the native window only when it is first shown
    KTWindow(const QRect& contentRect, WindowStyle style, bool backingAlpha, bool defer);
};

} // namespace tavelo
