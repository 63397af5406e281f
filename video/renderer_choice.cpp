// SPDX-License-Identifier: MIT
#include "video/renderer_choice.h"

#include <string>
#include <system_error>

namespace tavelo {
namespace {

namespace fs = std::filesystem;

bool hasRenderNode(const fs::path& folder) {
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        if (entry->path().filename().string().starts_with("renderD")) return true;
    return false;
}

} // namespace

std::optional<RendererChoice> rendererChoiceFromText(std::string_view text) {
    if (text == "auto") return RendererChoice::automatic;
    if (text == "gl") return RendererChoice::gl;
    if (text == "cpu") return RendererChoice::cpu;
    return std::nullopt;
}

std::string_view rendererText(Renderer renderer) {
    return renderer == Renderer::gl ? "gl" : "cpu";
}

bool hasGraphicsCard(const fs::path& devices) {
    if (hasRenderNode(devices / "dri")) return true;
    // NVIDIA's own driver may have no render node, nor has the card of the Windows that runs this Linux.
    std::error_code error;
    return fs::exists(devices / "nvidiactl", error) || fs::exists(devices / "dxg", error);
}

} // namespace tavelo
