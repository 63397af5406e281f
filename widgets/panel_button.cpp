// SPDX-License-Identifier: MIT
#include "widgets/panel_button.h"

#include <QKeyEvent>
#include <QPainter>

#include "widgets/accessibility.h"
#include "widgets/drawing.h"
#include "widgets/focus_ring.h"

namespace tavelo {

PanelButton::PanelButton(QWidget* parent)
    : QAbstractButton(parent),
      PanelElement(*static_cast<QWidget*>(this)) {
    installWidgetAccessibility();
    new FocusRing(this, [this](double distance) { return toWidget().map(focusPath(distance / scale())); });
}

QPainterPath PanelButton::focusPath(double distance) const {
    constexpr double cornerRadius = 6;
    return drawing::roundedRect(bounds().adjusted(-distance, -distance, distance, distance),
                                cornerRadius + distance);
}

void PanelButton::stateChanged() {
    update();
    if (!hasOnState()) return;
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

void PanelButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

void PanelButton::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat()) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

} // namespace tavelo
