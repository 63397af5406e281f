// SPDX-License-Identifier: MIT
// Shows which control the keyboard acts on.
#pragma once

#include <functional>

#include <QObject>
#include <QPainterPath>
#include <QPointer>
#include <QWidget>

namespace tavelo {

/// Draws a ring around the control that has the focus while the keyboard leads, and only then: a click, or
/// the window's start, gives a control the focus without a ring, the first key pressed brings the ring. Where
/// the focus moves on by itself, because its control was disabled, the ring goes with it if it showed.
///
/// The ring lies outside the control, above its siblings; it needs `outset` points of room on each side
/// within the control's parent.  A control without a parent gets none.  Thread-bound to the main thread.
class FocusRing : public QObject {
    Q_OBJECT

public:
    static constexpr int outset = 4;

    /// The ring's middle line in the control's coordinates, `distance` points outside of its shape.
    using Shape = std::function<QPainterPath(double distance)>;

    /// @param control watched, and the parent of this object
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
    QPointer<QWidget> overlay_; // a sibling of the control, there while the ring shows
};

} // namespace tavelo
