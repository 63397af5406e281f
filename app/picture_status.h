// SPDX-License-Identifier: MIT
// What the preview shows, and why it shows nothing, for the user.
#pragma once

#include <QSize>
#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/bundle.h"
#include "platform/device_holders.h"

namespace tavelo {

struct PictureStatus {
    enum class Kind : std::uint8_t {
        noCamera,
        released, ///< to other programs, until the window is shown again
        waiting,  ///< for the first picture
        shown,
        busy,   ///< another program streams
        denied, ///< no permission
        silent, ///< any other fault
    };

    Kind kind = Kind::noCamera;
    std::string camera;                ///< its name; empty without a camera
    std::string node;                  ///< "/dev/video0"; empty if it has none
    QSize size;                        ///< of the shown picture
    int framesPerSecond = 0;           ///< that are drawn; 0 while that is unknown
    std::vector<DeviceHolder> holders; ///< of a busy camera, once they are known

    friend bool operator==(const PictureStatus&, const PictureStatus&) = default;
};

/// One line in the bundle's language: name, size and rate of the picture, or why there is none and what to
/// do.
QString statusText(const PictureStatus& status, const Bundle& bundle);

struct Advice {
    std::string subject;
    std::string text;
};

/// What the user can do about a missing picture, in English; nothing if there is nothing to do.
std::optional<Advice> adviceFor(const PictureStatus& status);

} // namespace tavelo
