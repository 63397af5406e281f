// SPDX-License-Identifier: MIT
#include "panel/preview_keys.h"

#include <QApplication>
#include <QEvent>

#include "video/kt_display_view.h"
#include "widgets/kt_slider.h"

namespace tavelo {

PreviewKeys::PreviewKeys(QWidget& window, PanelView& view) : view_(view) {
    if (view.displayView() == nullptr) return;
    view.displayView()->installEventFilter(this);
    view.displayView()->setAttribute(Qt::WA_Hover); // reports moves without a button
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget*, const QWidget* now) {
        if (now != nullptr) setEnabled(false);
    });
    const auto turn = [](int degrees) {
        return [degrees](KTSlider& slider) { slider.choose(slider.intValue() + degrees); };
    };
    const auto zoom = [](int notches) { return [notches](KTSlider& slider) { slider.step(notches); }; };
    add(window, Qt::Key_Left, PanelRow::panLeftRight, turn(-1));
    add(window, Qt::Key_Right, PanelRow::panLeftRight, turn(1));
    add(window, Qt::Key_Down, PanelRow::panUpDown, turn(-1));
    add(window, Qt::Key_Up, PanelRow::panUpDown, turn(1));
    add(window, Qt::Key_Minus, PanelRow::zoom, zoom(-1));
    add(window, Qt::Key_Plus, PanelRow::zoom, zoom(1));
    add(window, Qt::Key_Equal, PanelRow::zoom, zoom(1)); // the plus of many keyboards, without Shift
}

void PreviewKeys::add(QWidget& window, Qt::Key key, PanelRow row,
                      const std::function<void(KTSlider&)>& move) {
    keys_.push_back(std::make_unique<QShortcut>(key, &window));
    keys_.back()->setEnabled(false);
    connect(keys_.back().get(), &QShortcut::activated, this, [this, row, move] {
        KTSlider* const slider = view_.row(row).slider;
        if (slider->isEnabled()) move(*slider);
    });
}

void PreviewKeys::setEnabled(bool enabled) {
    for (const std::unique_ptr<QShortcut>& key : keys_)
        key->setEnabled(enabled);
}

bool PreviewKeys::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::Enter:
        case QEvent::HoverMove:
            setEnabled(true);
            break;
        case QEvent::Leave:
        case QEvent::Hide:
            setEnabled(false);
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavelo
