// SPDX-License-Identifier: MIT
// Who draws the preview: the graphics card or the processor.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tavelo {

/// What a person may ask for.
enum class RendererChoice : std::uint8_t {
    automatic, ///< OpenGL where a graphics card with compute shaders does the work, else the processor
    gl, ///< OpenGL even where software plays the graphics card; the processor where there is none at all
    cpu
};

/// What is in use.
enum class Renderer : std::uint8_t { gl, cpu };

/// "auto", "gl" or "cpu"; nothing for any other text.
std::optional<RendererChoice> rendererChoiceFromText(std::string_view text);
std::string_view rendererText(Renderer renderer);

} // namespace tavelo
