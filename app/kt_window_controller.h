// SPDX-License-Identifier: MIT
// Shows, moves, closes and minimises the main window.
#pragma once

#include <QMouseEvent>
#include <QObject>
#include <QPoint>
#include <QTimer>
#include <optional>

#include "app/kt_window.h"

namespace tavelo {

/// Thread-bound to the main thread.
class KTWindowController final : public QObject {
    Q_OBJECT

public:
    /// @param window must outlive the controller
    explicit KTWindowController(KTWindow& window);

    KTWindow& window() const { return window_; }

    /// Call once the window has its content.  Lets the user drag the window by its background, and brings it
    /// to the front.
    void windowDidLoad();

    void makeKeyAndOrderFront();

    /// Closes the window; the program and the camera's session keep running.
    void close();
    void miniaturize();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool press(const QMouseEvent& event);
    bool drag(const QMouseEvent& event);
    void endPress();

    KTWindow& window_;
    std::optional<QPoint> pressedAt_; // on the screen, while a drag may begin
    QTimer beginsMove_;               // once the waiting events are handled
};

} // namespace tavelo
