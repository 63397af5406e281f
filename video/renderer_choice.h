// SPDX-License-Identifier: MIT
// Whether the GPU or the CPU draws the preview.
#pragma once

#include <cstdint>
#include <filesystem>
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

/// Whether a graphics card has a driver that OpenGL can use.  Without one OpenGL is emulated, and asking
/// OpenGL itself would load that emulation, with a compiler of 44 MB.
/// @param devices the folder of the device nodes
bool hasGraphicsCard(const std::filesystem::path& devices = "/dev");

} // namespace tavelo
