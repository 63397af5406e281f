// SPDX-License-Identifier: MIT
// The program's icon with a dot that says what goes on.
#pragma once

#include <QIcon>
#include <array>
#include <cstdint>

namespace tavelo {

/// The dot in the corner of an icon.
enum class IconMark : std::uint8_t {
    none,
    shared,  ///< blue
    recorded ///< red
};

/// The program's icon in the sizes of title bars, task bars and trays, which get pictures, not the drawing.
/// Each is drawn once: Qt keeps what it makes of every new icon for a while.  Main thread.
class MarkedIcons {
public:
    const QIcon& with(IconMark mark);

private:
    std::array<QIcon, 3> icons_; // by mark; null until asked for
};

} // namespace tavelo
