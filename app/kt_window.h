// SPDX-License-Identifier: MIT
// The main window.
#pragma once

#include <QRect>
#include <QWidget>
#include <cstdint>

namespace tavelo {

/// What the window manager adds to a window.
enum class WindowStyle : std::uint8_t {
    borderless, ///< no frame and no title bar: the content draws its own shape
    titled,
};

/// A window that is translucent everywhere, so that only its content is visible.  Closing it does not destroy
/// it.  Thread-bound to the main thread.
class KTWindow : public QWidget {
    Q_OBJECT

public:
    /// @param contentRect in points; the position is used only if it is not the origin
    /// @param backingAlpha whether the window has an alpha channel; false only on screens without one
    /// @param defer create the native window only when it is first shown
    KTWindow(const QRect& contentRect, WindowStyle style, bool backingAlpha, bool defer);

    /// Keeps the window above all others, also while it is shown.
    void setStaysOnTop(bool stays);
};

} // namespace tavelo
