// SPDX-License-Identifier: MIT
// The tool tips of the panel's elements, which screen readers have as descriptions.
#pragma once

#include <QObject>
#include <QString>

#include "panel/view_controller.h"

namespace tavelo {

/// The preview's tip and those of the camera buttons are not set here, because they depend on the camera.
/// Main thread.
class PanelTips final : public QObject {
    Q_OBJECT

public:
    /// All must outlive this object.
    PanelTips(ViewController& panel, const Bundle& bundle);

    /// Sets every tip again, in the bundle's current language.
    void retranslate();

protected:
    /// A slider's tip is that of the moment when somebody wants to know it.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString text(std::string_view key) const;
    QString sliderTip(PanelRow row) const;
    void setSliderTips();
    void setButtonTips();

    ViewController& panel_;
    const Bundle& bundle_;
};

} // namespace tavelo
