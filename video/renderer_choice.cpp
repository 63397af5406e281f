// SPDX-License-Identifier: MIT
#include "video/renderer_choice.h"

namespace tavelo {

std::optional<RendererChoice> rendererChoiceFromText(std::string_view text) {
    if (text == "auto") return RendererChoice::automatic;
    if (text == "gl") return RendererChoice::gl;
    if (text == "cpu") return RendererChoice::cpu;
    return std::nullopt;
}

std::string_view rendererText(Renderer renderer) {
    return renderer == Renderer::gl ? "gl" : "cpu";
}

} // namespace tavelo
