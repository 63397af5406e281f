// SPDX-License-Identifier: MIT
// The virtual camera's font: digits and the word CAM, five by seven dots.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/virtual/picture/picture_raster.h"

namespace tavelo {

inline constexpr std::size_t glyphWidth = 5;
inline constexpr std::size_t glyphHeight = 7;
inline constexpr std::size_t glyphAdvance = 6;

/// Whether the dot of a letter is set; letters without a glyph are blank.
bool glyphDot(char letter, std::size_t column, std::size_t row);

/// Width of a text in dots, without the gap after the last letter.
constexpr std::size_t textWidth(std::size_t letters) {
    return letters == 0 ? 0 : letters * glyphAdvance - 1;
}

/// Calls draw(rectangle) for each set dot.
template <typename Draw>
void drawText(std::string_view text, std::size_t left, std::size_t top, std::size_t dot, Draw&& draw) {
    for (const char letter : text) {
        for (std::size_t row = 0; row < glyphHeight; ++row)
            for (std::size_t column = 0; column < glyphWidth; ++column)
                if (glyphDot(letter, column, row))
                    draw(Rectangle{left + column * dot, top + row * dot, dot, dot});
        left += glyphAdvance * dot;
    }
}

} // namespace tavelo
