// SPDX-License-Identifier: MIT
#include "widgets/kt_text.h"

#include <limits>
#include <utility>

#include <QAccessible>
#include <QFontDatabase>
#include <QMouseEvent>
#include <QPainter>

#include "text/measure/size_with_font.h"
#include "widgets/accessibility.h"
#include "widgets/drawing.h"

namespace tavelo {

KTText::KTText(QWidget* parent) : QWidget(parent), PanelElement(*static_cast<QWidget*>(this)) {
    installWidgetAccessibility();
    // Lets the user drag the window by the label too.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    QFont system = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    // The layout's points are Qt's device-independent pixels, not typographic points.
    system.setPixelSize(16);
    setFont(system);
}

KTText::KTText(const QRect& frame, QWidget* parent) : KTText(parent) {
    setGeometry(frame);
}

void KTText::setText(const QString& text) {
    const bool changed = text != text_;
    text_ = text;
    update();
    if (!changed) return;
    updateGeometry();
    QAccessibleEvent event(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&event);
}

void KTText::setEnable(bool enable) {
    enable_ = enable;
    update();
}

void KTText::setBuddy(QAbstractButton* button) {
    buddy_ = button;
    setAttribute(Qt::WA_TransparentForMouseEvents, button == nullptr);
}

void KTText::mousePressEvent(QMouseEvent* event) {
    pressed_ = event->button() == Qt::LeftButton && buddy_ != nullptr && buddy_->isEnabled();
    if (!pressed_) {
        event->ignore();
        return;
    }
    buddy_->setFocus(Qt::MouseFocusReason);
}

// As with buttons, a release elsewhere cancels the click.
void KTText::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !std::exchange(pressed_, false)) {
        event->ignore();
        return;
    }
    if (rect().contains(event->position().toPoint()) && buddy_ != nullptr) buddy_->click();
}

void KTText::drawRect(QPainter& painter, const QRectF& rect) {
    if (borderColor_) {
        const QRectF pill = drawing::snapped(painter, rect);
        drawing::drawRounded(painter, pill, pill.height() / 2, *borderColor_,
                             backgroundColor_.value_or(Qt::transparent));
    }
    drawing::drawCentredText(painter, rect, text_,
                             {font(), enable_ ? textColor_ : disableColor_, textShadow_}, 1);
}

QSize KTText::sizeHint() const {
    return sizeWithFont(text_, font(), std::numeric_limits<double>::max()).toSize();
}

void KTText::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawInUnits(painter);
    drawRect(painter, bounds());
}

} // namespace tavelo
