// SPDX-License-Identifier: MIT
#include "widgets/kt_slider.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include "widgets/accessibility.h"
#include "widgets/drawing.h"
#include "widgets/focus_ring.h"
#include "widgets/palette.h"

namespace tavelo {
namespace {

constexpr double pageShare = 0.1;   // of the range, for Page Up and Page Down
constexpr double wheelShare = 0.02; // of the range, for one notch of the wheel

} // namespace

KTSlider::KTSlider(QWidget* parent) : QWidget(parent), PanelElement(*static_cast<QWidget*>(this)) {
    installWidgetAccessibility();
    setFocusPolicy(Qt::StrongFocus); // not WheelFocus: scrolling past must not change the value
    new FocusRing(this, [this](double distance) {
        const double outside = distance / scale();
        const QRectF around = bounds().adjusted(-outside, -outside, outside, outside);
        return toWidget().map(drawing::roundedRect(around, around.height() / 2));
    });
}

KTSlider::KTSlider(const QRect& frame, QWidget* parent) : KTSlider(parent) {
    setGeometry(frame);
}

void KTSlider::setMinValue(double value) {
    minValue_ = value;
    setFloatValue(value_);
}

void KTSlider::setMaxValue(double value) {
    maxValue_ = value;
    setFloatValue(value_);
}

void KTSlider::setFloatValue(double value) {
    store(minValue_ <= maxValue_ ? std::clamp(value, minValue_, maxValue_) : value);
}

int KTSlider::intValue() const {
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::round(value_), lowest, highest));
}

void KTSlider::setIntValue(int value) {
    const double wanted = value;
    if (wanted > maxValue_) {
        store(std::trunc(maxValue_));
    } else if (wanted < minValue_) {
        store(std::trunc(minValue_));
    } else {
        store(wanted);
    }
}

void KTSlider::store(double value) {
    const bool changed = value != value_;
    value_ = value;
    update();
    if (!changed) return;
    QAccessibleValueChangeEvent event(this, value_);
    QAccessible::updateAccessibility(&event);
}

void KTSlider::choose(double value) {
    setFloatValue(value);
    Q_EMIT action();
}

void KTSlider::setMarkedValue(const std::optional<double>& value) {
    markedValue_ = value;
    update();
}

void KTSlider::endDrag() {
    if (!grip_) return;
    grip_.reset();
    Q_EMIT dragEnded();
}

double KTSlider::positionOf(double value, double width, double height) const {
    const double range = maxValue_ - minValue_;
    return range != 0 ? (width - height) * (value - minValue_) / range : 0;
}

double KTSlider::valueAt(double knobPosition) const {
    const double way = bounds().width() - bounds().height();
    return way > 0 ? minValue_ + (maxValue_ - minValue_) * std::clamp(knobPosition / way, 0.0, 1.0)
                   : minValue_;
}

// In units from the slider's left end.
double KTSlider::pointerAt(const QMouseEvent& event) const {
    return toWidget().inverted().map(event.position()).x();
}

void KTSlider::drawRect(QPainter& painter, const QRectF& rect) {
    const QRectF track = drawing::snapped(painter, rect);
    drawing::drawRounded(painter, track, track.height() / 2, palette::outlineGrey, palette::trackGrey);
    drawMark(painter, track);
    drawing::drawKnob(painter, track, knobPosition(track.width(), track.height()));
}

// A line under the knob, where its centre is at the marked value.
void KTSlider::drawMark(QPainter& painter, const QRectF& track) const {
    if (!markedValue_ || *markedValue_ < minValue_ || *markedValue_ > maxValue_) return;
    constexpr double thickness = 2;
    const double height = track.height();
    const double centre = track.left() + positionOf(*markedValue_, track.width(), height) + height / 2;
    painter.fillRect(QRectF(centre - thickness / 2, track.top() + height / 4, thickness, height / 2),
                     palette::outlineGrey);
}

void KTSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!isEnabled()) painter.setOpacity(drawing::disabledOpacity);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

// Qt gives presses on a disabled widget to its parent, where this one would begin to move the window.
bool KTSlider::event(QEvent* event) {
    const bool isPress = event->type() == QEvent::MouseButtonPress;
    if (isPress && !isEnabled() && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) return true;
    return QWidget::event(event);
}

void KTSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const double diameter = bounds().height();
    const double pointer = pointerAt(*event);
    const double knob = knobPosition(bounds().width(), diameter);
    wasOnKnob_ = pointer >= knob && pointer < knob + diameter;
    grip_ = wasOnKnob_ ? pointer - knob : diameter / 2;
    choose(wasOnKnob_ ? value_ : valueAt(pointer - *grip_));
}

void KTSlider::mouseMoveEvent(QMouseEvent* event) {
    if (!grip_) {
        event->ignore();
        return;
    }
    choose(valueAt(pointerAt(*event) - *grip_));
}

void KTSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !grip_) {
        event->ignore();
        return;
    }
    grip_.reset();
    Q_EMIT action();
    Q_EMIT dragEnded();
}

// A first press beside the knob moves it under the pointer; then the second one is just a press.
void KTSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && wasOnKnob_)
        Q_EMIT defaultWanted();
    else
        mousePressEvent(event);
}

// A whole number of units, at least one.
double KTSlider::wholeStep(double shareOfRange) const {
    return std::max(1.0, std::round((maxValue_ - minValue_) * shareOfRange));
}

void KTSlider::keyPressEvent(QKeyEvent* event) {
    const double from = intValue();
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            return choose(from - 1);
        case Qt::Key_Right:
        case Qt::Key_Up:
            return choose(from + 1);
        case Qt::Key_PageDown:
            return choose(from - wholeStep(pageShare));
        case Qt::Key_PageUp:
            return choose(from + wholeStep(pageShare));
        case Qt::Key_Home:
            return choose(minValue_);
        case Qt::Key_End:
            return choose(maxValue_);
        default:
            event->ignore();
    }
}

void KTSlider::step(int notches) {
    choose(intValue() + notches * wholeStep(wheelShare));
}

void KTSlider::wheelEvent(QWheelEvent* event) {
    if (!hasFocus() && !event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    event->accept();
    constexpr int notch = QWheelEvent::DefaultDeltasPerStep;
    const QPoint turned = event->angleDelta();
    wheelRemainder_ += std::abs(turned.x()) > std::abs(turned.y()) ? turned.x() : turned.y();
    const int notches = wheelRemainder_ / notch;
    wheelRemainder_ %= notch;
    if (notches != 0) step(notches);
}

void KTSlider::changeEvent(QEvent* event) {
    // The camera may be unplugged during a drag.
    if (event->type() == QEvent::EnabledChange) {
        if (!isEnabled()) endDrag();
        update();
    }
    QWidget::changeEvent(event);
}

void KTSlider::hideEvent(QHideEvent* event) {
    endDrag();
    QWidget::hideEvent(event);
}

} // namespace tavelo
