// SPDX-License-Identifier: MIT
// What a virtual camera's controls mean to its picture.
#pragma once

namespace tavelo {

/// Neutral as constructed.  Automatic functions are already applied: where one is on, its manual control does
/// not count.
struct PictureSettings {
    double brightness = 0;   ///< -1 to 1, added; 1 is full white
    double contrast = 1;     ///< 0 to 2, a factor around mid grey
    double saturation = 1;   ///< 0 to 2
    double hue = 0;          ///< degrees
    double whiteBalance = 0; ///< -1 (cold, blue) to 1 (warm, orange)
    double gamma = 1;        ///< exponent's inverse: above 1 lifts the dark parts
    double exposure = 1;     ///< factor on the light: exposure time, iris, gain, backlight compensation
    double sharpness = 0.5;  ///< 0 (soft) to 1 (hard edges); 0.5 leaves the picture alone
    double defocus = 0;      ///< 0 in focus to 1
    double zoom = 1;         ///< 1 to 4
    double pan = 0;          ///< degrees, positive looks to the right
    double tilt = 0;         ///< degrees, positive looks up
    double roll = 0;         ///< degrees, positive turns the camera clockwise
    bool interlaced = false; ///< every other row is the one above

    friend bool operator==(const PictureSettings&, const PictureSettings&) = default;
};

} // namespace tavelo
