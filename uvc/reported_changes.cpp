// SPDX-License-Identifier: MIT
#include "uvc/reported_changes.h"

#include "uvc/kt_uvc_manager.h"

namespace tavelo {

ReportedChanges::ReportedChanges(KTUVCManager& manager) : manager_(&manager), camera_(manager) {
    for (const ControlRow& row : controlTable())
        marks_[indexOf(row.control)] = manager.writeMarks_.quiet(row.control);
}

ControlRefresh ReportedChanges::take(KTUVCControl control, const ChangedControl& change) const {
    return manager_->takeReported(controlRow(control), identity(), change.value, marks_[indexOf(control)]);
}

} // namespace tavelo
