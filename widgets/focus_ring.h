// SPDX-License-Identifier: MIT
// Shows which control the keyboard acts on.
#pragma once

#include <functional>

#include <QObject>
#include <QPainterPath>
#include <QPointer>
#include <QWidget>

namespace tavelo {

/// Draws a ring around the control with the focus, but only while the user works with the keyboard: a click
/// or the window's start sets the focus without a ring, and the first key press shows it.  If Qt moves the
/// focus because its control was disabled, a visible ring moves along.
///
/// The ring is drawn outside the control, above its siblings, and needs `outset` points of room on each side
/// within the control's parent.  A control without a parent gets no ring.  Thread-bound to the main thread.
class FocusRing : public QObject {
    Q_OBJECT

public:
    static constexpr int outset = 4;

    /// The ring's centre line in the control's coordinates, `distance` points outside the control's shape.
    using Shape = std::function<QPainterPath(double distance)>;

    /// @param control becomes the parent of this object
    FocusRing(QWidget* control, Shape shape);
    ~FocusRing() override;

    bool isVisible() const { return overlay_ != nullptr; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void focusArrived(Qt::FocusReason reason);
    void follow();
    void removeOverlay();

    QWidget* const control_;
    const Shape shape_;
    QPointer<QWidget> overlay_; // a sibling of the control; exists while the ring is visible
};

} // namespace tavelo
