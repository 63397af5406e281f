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

// Derived from QFocusFrame because screen readers and layouts skip focus frames.
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

/// Tracks whether the user of a window works with the keyboard; a child of the window.  The focus reason is
/// not enough: Qt also reports a Tab if a disabled control passes the focus on.
class KeyboardUse : public QObject {
public:
    static KeyboardUse& in(QWidget* window) {
        for (QObject* child : window->children()) {
            if (auto* use = dynamic_cast<KeyboardUse*>(child)) return *use;
        }
        return *new KeyboardUse(window);
    }

    bool isActive() const { return active_; }
    void setActive(bool active) { active_ = active; }

    // While no control has the focus, the window itself gets the keys.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress && !isModifier(static_cast<QKeyEvent*>(event)->key()))
            active_ = true;
        return false;
    }

private:
    explicit KeyboardUse(QWidget* window) : QObject(window) { window->installEventFilter(this); }

    bool active_ = false;
};

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
                KeyboardUse::in(control_->window()).setActive(true);
            }
            break;
        case QEvent::MouseButtonPress:
            KeyboardUse::in(control_->window()).setActive(false);
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
        case Qt::ShortcutFocusReason:
            KeyboardUse::in(control_->window()).setActive(true);
            break;
        // Either a key was pressed or Qt moved the focus.
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        // The focus returns to this control, and the ring with it.
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
        case Qt::MenuBarFocusReason:
            break;
        default:
            KeyboardUse::in(control_->window()).setActive(false);
    }
}

void FocusRing::follow() {
    QWidget* const parent = control_->parentWidget();
    const bool shows = parent != nullptr && !control_->isWindow() && control_->hasFocus() &&
                       control_->isVisible() && control_->isEnabled() &&
                       KeyboardUse::in(control_->window()).isActive();
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
