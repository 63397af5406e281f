// SPDX-License-Identifier: MIT
// Keys that move the camera while the pointer is over its picture.
#pragma once

#include <QObject>
#include <QShortcut>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "panel/panel_view.h"

namespace tavelo {

/// The arrow keys pan and tilt by a degree, plus and minus zoom, as the sliders would.  Otherwise these keys
/// belong to the control with the focus: also when it got the focus after the pointer came to rest over the
/// picture, for then the user works with the keyboard.  Main thread.
class PreviewKeys final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive this object.
    PreviewKeys(QWidget& window, PanelView& view);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setEnabled(bool enabled);
    void add(QWidget& window, Qt::Key key, PanelRow row, const std::function<void(KTSlider&)>& move);

    PanelView& view_;
    std::vector<std::unique_ptr<QShortcut>> keys_;
};

} // namespace tavelo
