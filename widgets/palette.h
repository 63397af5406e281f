// SPDX-License-Identifier: MIT
// The colours that the controls share.
#pragma once

#include <QColor>

namespace tavelo::palette {

inline constexpr QColor panelGrey(38, 38, 38);        ///< background of the panel
inline constexpr QColor settingGrey(49, 49, 49);      ///< background of the settings
inline constexpr QColor outlineGrey(161, 161, 161);   ///< outline of track, knob, switch, check button
inline constexpr QColor trackGrey(29, 29, 29);        ///< slider and switch track, unchecked button
inline constexpr QColor accentRed(171, 13, 13);       ///< knobs, checked button
inline constexpr QColor disabledTextGrey(60, 60, 60); ///< text of disabled controls
inline constexpr QColor cameraButtonGrey(42, 42, 42); ///< camera button
inline constexpr QColor cameraButtonSelectedGrey(49, 49, 49); ///< the selected camera's button
inline constexpr QColor focusRing(236, 236, 236, 230);        ///< ring around the control with the focus

} // namespace tavelo::palette
