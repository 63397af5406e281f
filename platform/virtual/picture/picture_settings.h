// SPDX-License-Identifier: MIT
// The picture settings that result from a virtual camera's controls.
#pragma once

namespace tavelo {

/// Neutral by default.  Automatic functions are already applied: if one is on, its manual control has no
/// effect.
struct PictureSettings {
    double brightness = 0;   ///< -1 to 1, added; 1 is full white
    double contrast = 1;     ///< 0 to 2, a factor around mid grey
    double saturation = 1;   ///< 0 to 2
    double hue = 0;          ///< degrees
    double whiteBalance = 0; ///< -1 (cold, blue) to 1 (warm, orange)
    double gamma = 1;        ///< inverse of the exponent: above 1 brightens dark parts
    double exposure = 1;     ///< factor on the light: exposure time, iris, gain, backlight compensation
    double sharpness = 0.5;  ///< 0 (soft) to 1 (hard edges); 0.5 leaves the picture alone
    double defocus = 0;      ///< 0 in focus to 1
    double zoom = 1;         ///< 1 to 4
    double pan = 0;          ///< degrees, positive looks to the right
    double tilt = 0;         ///< degrees, positive looks up
    double roll = 0;         ///< degrees, positive turns the camera clockwise
    bool interlaced = false; ///< every other row repeats the one above

    friend bool operator==(const PictureSettings&, const PictureSettings&) = default;
};

} // namespace tavelo
