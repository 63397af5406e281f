// SPDX-License-Identifier: MIT
// A picture of the window, taken once the camera's picture shows in it.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QWidget>
#include <string>

namespace tavelo {

class KTDisplayView;

/// Watches the preview, writes the window to a PNG file and ends the event loop: with 0, or with 1 and one
/// line on the standard error stream.  A window without a camera is taken as it stands.  Main thread.
class Screenshot final : public QObject {
    Q_OBJECT

public:
    /// @param displayView may be null; both outlive this object
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
