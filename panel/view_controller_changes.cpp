// SPDX-License-Identifier: MIT
// Values that change without the panel's own widgets: other programs, the camera, the program's other
// windows.
#include <QEvent>
#include <QPointer>
#include <QThreadPool>
#include <utility>
#include <vector>

#include "panel/on_main_thread.h"
#include "panel/view_controller.h"
#include "widgets/kt_slider.h"

namespace tavelo {
namespace {

using Values = std::array<std::int64_t, controlCount>;

Values valuesOf(const KTUVCManager& manager) {
    Values values{};
    for (const ControlRow& row : controlTable())
        values[indexOf(row.control)] = manager.record(row.control)->val();
    return values;
}

std::vector<KTUVCControl> differing(const Values& a, const Values& b) {
    std::vector<KTUVCControl> controls;
    for (const ControlRow& row : controlTable())
        if (a[indexOf(row.control)] != b[indexOf(row.control)]) controls.push_back(row.control);
    return controls;
}

} // namespace

void ViewController::tellChanged(KTUVCControl control) {
    Q_EMIT controlChanged(control);
    Q_EMIT recordChanged(control);
}

// Nothing is stored: what a profile holds changes only when the user saves it, and then it takes the records'
// values, these among them.
void ViewController::controlWasFollowed(KTUVCControl control) {
    showControl(control);
    tellChanged(control);
}

void ViewController::controlDidChange(KTUVCControl control) {
    showControl(control);
    Q_EMIT recordChanged(control);
}

void ViewController::showValueUnlessHeld(PanelRow row) {
    const bool isHeld = view_->row(row).slider->isHeld();
    isBehind_[static_cast<std::size_t>(row)] = isHeld;
    if (isHeld)
        showValueText(row);
    else
        showValue(row);
}

void ViewController::dragEnded(PanelRow row) {
    if (std::exchange(isBehind_[static_cast<std::size_t>(row)], false)) showValue(row);
}

bool ViewController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::WindowActivate) windowWasActivated();
    return QObject::eventFilter(watched, event);
}

void ViewController::windowWasActivated() {
    follower_.catchUp();
}

bool ViewController::writeControl(std::optional<KTUVCControl> control, bool held,
                                  const std::function<bool(KTUVCManager&)>& write) {
    bool isTaken = false;
    cameraAction(held, [&] {
        isTaken = write(uvcManager_);
        if (!isTaken || !control) return;
        showControl(*control);
        tellChanged(*control);
    });
    return isTaken;
}

void ViewController::walkControls(ControlWalk walk) {
    prepareAction();
    const BindingIdentity binding = uvcManager_.bindingIdentity();
    QThreadPool::globalInstance()->start(
        [panel = QPointer(this), &manager = uvcManager_, walk, binding, before = valuesOf(uvcManager_)] {
            if (manager.bindingIdentity() == binding) {
                if (walk == ControlWalk::defaults)
                    manager.resetParamsToDefaults();
                else
                    manager.sendParamsToDevice();
            }
            onMainThread(panel, [binding, before](ViewController& self) {
                for (const KTUVCControl control : differing(before, valuesOf(self.uvcManager_)))
                    if (self.isBoundAs(binding)) self.controlWasFollowed(control);
                Q_EMIT self.controlWalkEnded();
            });
        });
    reopening_.actionEnded(uvcManager_.now(), false);
}

} // namespace tavelo
