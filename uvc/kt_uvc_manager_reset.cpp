// SPDX-License-Identifier: MIT
// All controls in one walk: back to the camera's defaults, or what the records hold.
#include "uvc/kt_uvc_manager.h"

#include <memory>
#include <optional>

namespace tavelo {
namespace {

constexpr std::uint16_t vendorWithoutAutoFocusDefault = 0x1BCF;
constexpr std::uint16_t productWithoutAutoFocusDefault = 0x28C4;

} // namespace

void KTUVCManager::resetParamsToDefaults() {
    // The gate of a manual control looks at what the walk has just written to its automatic one.
    for (const ControlRow& row : controlTable()) {
        if (row.inBulk && controlSupported(row.control)) resetToDefault(row);
    }
}

void KTUVCManager::sendParamsToDevice() {
    for (const ControlRow& row : controlTable()) {
        if (!row.inBulk || !controlSupported(row.control)) continue;
        const Record target = record(row.control);
        if (row.argument == ControlArgument::pair)
            _push2x4ByteValueParamToDevice(target->val(), target.get());
        else
            setControlWithComplitionHandle(row.control, target->val(), {});
    }
}

void KTUVCManager::resetToDefault(const ControlRow& row) {
    const Record target = record(row.control);
    const std::int64_t def = target->def();
    if (row.argument == ControlArgument::pair) {
        if (_push2x4ByteValueParamToDevice(def, target.get())) target->setVal(def);
        return;
    }

    const bool isAutoFocus = row.control == KTUVCControl::autoFocus;
    const bool forcesOn = isAutoFocus && ignoresItsAutoFocusDefault();
    std::int64_t value = isAutoFocus ? def & 0xFF : def; // automatic focus is a flag of one byte
    if (forcesOn) value = 1;
    setControlWithComplitionHandle(row.control, value,
                                   [weak = std::weak_ptr<KTUVCParameters>(target), forcesOn](bool success) {
                                       const Record written = weak.lock();
                                       if (success && written) written->setVal(forcesOn ? 1 : written->def());
                                   });
}

bool KTUVCManager::ignoresItsAutoFocusDefault() const {
    const std::shared_ptr<const BusProberDevice> camera = device();
    return camera && camera->vendorID == vendorWithoutAutoFocusDefault &&
           camera->productID == productWithoutAutoFocusDefault;
}

} // namespace tavelo
