// SPDX-License-Identifier: MIT
// Writes all controls in one walk: the camera's defaults, or what the records hold.
#include "uvc/kt_uvc_manager.h"

#include <memory>

#include "uvc/walk_patience.h"

namespace tavelo {
namespace {

constexpr std::uint16_t vendorWithoutAutoFocusDefault = 0x1BCF;
constexpr std::uint16_t productWithoutAutoFocusDefault = 0x28C4;

} // namespace

void KTUVCManager::resetParamsToDefaults() {
    walk([this](const BoundCamera& camera, const ControlRow& row) { resetToDefault(camera, row); });
}

void KTUVCManager::sendParamsToDevice() {
    walk([this](const BoundCamera& camera, const ControlRow& row) {
        camera.setControlWithComplitionHandle(row.control, record(row.control)->val(), {});
    });
}

void KTUVCManager::walk(
    const std::function<void(const BoundCamera& camera, const ControlRow& row)>& writeControl) {
    const BoundCamera camera(*this);
    WalkPatience patience;
    for (const ControlRow& row : controlTable()) {
        // Whether a manual control may be written depends on what the walk has just written to its automatic
        // one.
        if (!row.inBulk || !controlSupported(row.control)) continue;
        const ErrorCode failure = camera.failure();
        if (failure != ErrorCode::none &&
            (patience.judge(failure) == AfterFailure::end || !camera.openInterfaceAgain()))
            return;
        writeControl(camera, row);
    }
}

void KTUVCManager::resetToDefault(const BoundCamera& camera, const ControlRow& row) {
    const Record target = record(row.control);
    if (!target->controlInfo() || !target->controlInfo()->hasDef()) return;
    const std::int64_t def = target->def();
    if (row.argument == ControlArgument::pair)
        return camera.setControlWithComplitionHandle(row.control, def, {});

    const bool isAutoFocus = row.control == KTUVCControl::autoFocus;
    const bool forcesOn = isAutoFocus && ignoresItsAutoFocusDefault();
    std::int64_t value = isAutoFocus ? def & 0xFF : def; // automatic focus is a flag of one byte
    if (forcesOn) value = 1;
    camera.setControlWithComplitionHandle(row.control, value, [&](bool success) {
        if (!success || forcesOn || !isAutoFocus) return;
        // The flag was sent as 0 or 1; if the camera took it, the record keeps the whole default.
        binding_.ifCurrent(camera.identity(), [&] {
            if (target->val() == (value != 0 ? 1 : 0)) target->setVal(target->def());
        });
    });
}

bool KTUVCManager::ignoresItsAutoFocusDefault() const {
    const std::shared_ptr<const BusProberDevice> camera = device();
    return camera && camera->vendorID == vendorWithoutAutoFocusDefault &&
           camera->productID == productWithoutAutoFocusDefault;
}

} // namespace tavelo
