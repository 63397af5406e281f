// SPDX-License-Identifier: MIT
// Whether the GPU or the CPU draws the preview.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tavelo {

/// What the user may choose.
enum class RendererChoice : std::uint8_t {
    automatic, ///< OpenGL if a GPU with compute shaders does the work, else the CPU
    gl,        ///< OpenGL even if it is emulated; the CPU if there is no OpenGL
    cpu
};

/// What is in use.
enum class Renderer : std::uint8_t { gl, cpu };

/// Parses "auto", "gl" or "cpu"; empty for any other text.
std::optional<RendererChoice> rendererChoiceFromText(std::string_view text);
std::string_view rendererText(Renderer renderer);

} // namespace tavelo
