// SPDX-License-Identifier: MIT
// Takes a picture of the window once the camera's picture shows.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QWidget>
#include <string>

namespace tavelo {

class KTDisplayView;

/// Waits for the preview, writes the window to a PNG file and ends the event loop: with 0, or with 1 and one
/// line on the standard error stream.  Does not wait if no camera is shown.  Main thread.
class Screenshot final : public QObject {
    Q_OBJECT

public:
    /// @param window must outlive this object
    /// @param displayView may be null; must outlive this object
    Screenshot(QWidget& window, KTDisplayView* displayView, std::string path);

private:
    void poll();
    bool ready() const;
    void take();

    QWidget& window_;
    KTDisplayView* displayView_;
    const std::string path_;
    QTimer timer_;
    QElapsedTimer waited_;
};

} // namespace tavelo
