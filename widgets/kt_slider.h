// SPDX-License-Identifier: MIT
// A horizontal slider.
#pragma once

#include <optional>

#include <QRectF>
#include <QWidget>

#include "widgets/panel_element.h"

class QPainter;

namespace tavelo {

/// A pill-shaped track with a round knob of the same height.
///
/// The value is a real number within [minValue, maxValue], initially 0 within [0, 1].  Keys, wheel and screen
/// readers step by whole numbers.  The setters send no action().  Thread-bound to the main thread.
class KTSlider : public QWidget, public PanelElement {
    Q_OBJECT

public:
    explicit KTSlider(QWidget* parent = nullptr);
    explicit KTSlider(const QRect& frame, QWidget* parent = nullptr);

    double minValue() const { return minValue_; }
    double maxValue() const { return maxValue_; }
    /// Both clamp the value to the new range, unless the range is inverted, as it may be between the two
    /// calls.
    void setMinValue(double value);
    void setMaxValue(double value);

    double floatValue() const { return value_; }
    /// Clamped to the range.
    void setFloatValue(double value);

    /// The nearest whole number.
    int intValue() const;
    /// Clamped to the range, whose ends are truncated to whole numbers.
    void setIntValue(int value);

    /// Stored for the owner; the slider itself has no hover behaviour.
    const std::optional<QRectF>& trackingArea() const { return trackingArea_; }
    void setTrackingArea(const std::optional<QRectF>& area) { trackingArea_ = area; }

    /// Draws the slider into `rect`, in units.
    void drawRect(QPainter& painter, const QRectF& rect);

    /// Sets a value as if the user had chosen it: sends action().
    void choose(double value);

    /// Moves the knob as notches of the wheel do: sends action().
    void step(int notches);

    /// Whether the user is dragging the knob.  Already false during the action() of the release.
    bool isHeld() const { return grip_.has_value(); }
    /// Ends a drag without an action; the user has to press again.
    void cancelDrag() { endDrag(); }

    /// A value that the track marks, such as the camera's default; nothing for no mark.
    const std::optional<double>& markedValue() const { return markedValue_; }
    void setMarkedValue(const std::optional<double>& value);

    QSize sizeHint() const override { return {160, 16}; }

Q_SIGNALS:
    /// Sent on press, on every move while dragging, on release, and on each key and wheel step.
    void action();
    /// A double click on the knob: the user wants the value that the owner knows as the default.
    void defaultWanted();
    /// A drag is over: after the action of the release, or because it was cancelled.
    void dragEnded();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void store(double value);
    void endDrag();
    void drawMark(QPainter& painter, const QRectF& track) const;
    double knobPosition(double width, double height) const { return positionOf(value_, width, height); }
    double positionOf(double value, double width, double height) const;
    double valueAt(double knobPosition) const;
    double pointerAt(const QMouseEvent& event) const;
    double wholeStep(double shareOfRange) const;

    double minValue_ = 0;
    double maxValue_ = 1;
    double value_ = 0;
    std::optional<QRectF> trackingArea_;
    std::optional<double> markedValue_;

    // Distance from the knob's left end to the pointer, while the knob is held.
    std::optional<double> grip_;
    bool wasOnKnob_ = false; // the last press
    int wheelRemainder_ = 0; // eighths of a degree that do not make a step yet
};

} // namespace tavelo
