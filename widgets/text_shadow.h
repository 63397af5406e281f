// SPDX-License-Identifier: MIT
// The shadow of a text.
#pragma once

#include <QColor>
#include <QPointF>

namespace tavelo {

/// A sharp shadow: the text drawn once more, displaced and in another colour.
struct TextShadow {
    /// In points, x to the right and y *upward*: (2, -2) falls to the lower right.
    QPointF offset;
    QColor color = QColor(0, 0, 0, 85);

    friend bool operator==(const TextShadow&, const TextShadow&) = default;
};

/// The shadow of titles throughout the panel.
inline TextShadow titleShadow() {
    return {.offset = QPointF(2, -2)};
}

} // namespace tavelo
