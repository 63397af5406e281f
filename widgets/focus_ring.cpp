// SPDX-License-Identifier: MIT
#include "widgets/focus_ring.h"

#include <utility>

#include <QFocusEvent>
#include <QFocusFrame>
#include <QKeyEvent>
#include <QPainter>

#include "widgets/palette.h"

namespace tavelo {
namespace {

constexpr double distance = 3;
constexpr double thickness = 2;

// A focus frame for its place in the widget tree: screen readers and layouts pass over it.
class Overlay : public QFocusFrame {
public:
    Overlay(QWidget* parent, const FocusRing::Shape& shape) : QFocusFrame(parent), shape_(shape) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(FocusRing::outset, FocusRing::outset);
        painter.strokePath(shape_(distance), QPen(palette::focusRing, thickness));
    }

private:
    const FocusRing::Shape shape_;
};

bool isModifier(int key) {
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt || key == Qt::Key_Meta ||
           key == Qt::Key_AltGr || key == Qt::Key_CapsLock || key == Qt::Key_NumLock;
}

} // namespace

FocusRing::FocusRing(QWidget* control, Shape shape)
    : QObject(control),
      control_(control),
      shape_(std::move(shape)) {
    control->installEventFilter(this);
}

FocusRing::~FocusRing() {
    removeOverlay();
}

bool FocusRing::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::FocusIn:
            focusArrived(static_cast<QFocusEvent*>(event)->reason());
            break;
        case QEvent::KeyPress:
            if (control_->hasFocus() && !isModifier(static_cast<QKeyEvent*>(event)->key())) {
                keyboardLeads_ = true;
            }
            break;
        case QEvent::MouseButtonPress:
            keyboardLeads_ = false;
            break;
        case QEvent::ParentChange:
            removeOverlay();
            break;
        case QEvent::FocusOut:
        case QEvent::Move:
        case QEvent::Resize:
        case QEvent::Show:
        case QEvent::Hide:
        case QEvent::EnabledChange:
            break;
        default:
            return false;
    }
    follow();
    return false;
}

void FocusRing::focusArrived(Qt::FocusReason reason) {
    switch (reason) {
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        case Qt::ShortcutFocusReason:
            keyboardLeads_ = true;
            break;
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
        case Qt::MenuBarFocusReason:
            break; // the focus comes back to where it was: so does the ring
        default:
            keyboardLeads_ = false;
    }
}

void FocusRing::follow() {
    QWidget* const parent = control_->parentWidget();
    const bool shows = keyboardLeads_ && parent != nullptr && !control_->isWindow() && control_->hasFocus() &&
                       control_->isVisible() && control_->isEnabled();
    if (!shows) {
        removeOverlay();
        return;
    }
    if (overlay_ == nullptr) overlay_ = new Overlay(parent, shape_);
    overlay_->setGeometry(control_->geometry().adjusted(-outset, -outset, outset, outset));
    overlay_->raise();
    overlay_->show();
}

void FocusRing::removeOverlay() {
    QWidget* const gone = overlay_;
    overlay_.clear();
    delete gone;
}

} // namespace tavelo
