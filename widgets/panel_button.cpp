// SPDX-License-Identifier: MIT
#include "widgets/panel_button.h"

#include <QKeyEvent>
#include <QPainter>

#include "widgets/accessibility.h"
#include "widgets/drawing.h"
#include "widgets/focus_ring.h"

namespace tavelo {

PanelButton::PanelButton(QWidget* parent) : QAbstractButton(parent) {
    installWidgetAccessibility();
    setFocusPolicy(Qt::StrongFocus);
    new FocusRing(this, [this](double distance) { return focusPath(distance); });
}

QPainterPath PanelButton::focusPath(double distance) const {
    constexpr double cornerRadius = 6;
    return drawing::roundedRect(QRectF(rect()).adjusted(-distance, -distance, distance, distance),
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
    drawRect(painter, rect());
}

void PanelButton::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !event->isAutoRepeat()) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

} // namespace tavelo
