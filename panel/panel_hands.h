// SPDX-License-Identifier: MIT
// What mouse and keyboard can do beyond the panel's own controls.
#pragma once

#include <QObject>
#include <memory>
#include <vector>

#include "panel/preview_keys.h"
#include "panel/value_entry.h"
#include "panel/view_controller.h"

namespace tavelo {

/// A double click on a knob sets the camera's default; numbers can be typed; keys move the camera.  Main
/// thread.
class PanelHands final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive this object.
    PanelHands(ViewController& panel, QWidget& window);

private:
    void setDefault(PanelRow row);

    ViewController& panel_;
    PreviewKeys keys_;
    std::vector<std::unique_ptr<ValueEntry>> entries_;
};

} // namespace tavelo
