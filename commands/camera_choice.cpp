// SPDX-License-Identifier: MIT
#include "commands/camera_choice.h"

#include <algorithm>
#include <charconv>

#include "commands/lower_case.h"

namespace tavelo {
namespace {

using Cameras = std::span<const CameraNames>;

std::optional<std::size_t> wholeNumber(std::string_view text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

template <typename Matches>
std::vector<std::size_t> positions(Cameras cameras, Matches matches) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < cameras.size(); ++i)
        if (matches(cameras[i])) found.push_back(i);
    return found;
}

std::string howMany(Cameras cameras) {
    if (cameras.size() == 1) return "there is one";
    return cameras.empty() ? "none is plugged in" : "there are " + std::to_string(cameras.size());
}

} // namespace

std::optional<std::size_t> chooseCamera(Cameras cameras, std::string_view text, std::string& reason) {
    const std::string wanted(text);
    if (cameras.empty()) {
        reason = wanted.empty() ? "no camera is plugged in" : "no camera " + wanted + ": none is plugged in";
        return {};
    }
    if (wanted.empty()) {
        if (cameras.size() == 1) return 0;
        reason = "there are " + std::to_string(cameras.size()) +
                 " cameras: choose one with --camera (taveloctl list shows them)";
        return {};
    }
    if (const auto number = wholeNumber(text)) {
        if (*number >= 1 && *number <= cameras.size()) return *number - 1;
        reason = "no camera " + wanted + ": " + howMany(cameras);
        return {};
    }
    const std::string low = lowerCase(wanted);
    const auto exact = positions(cameras, [&](const CameraNames& camera) {
        return camera.identifier == low || (!camera.node.empty() && camera.node == wanted) ||
               lowerCase(camera.name) == low;
    });
    if (exact.size() == 1) return exact.front();
    const auto partial = positions(cameras, [&](const CameraNames& camera) {
        return lowerCase(camera.name).find(low) != std::string::npos;
    });
    if (partial.size() == 1) return partial.front();
    reason = partial.empty() ? "no camera " + wanted + " (taveloctl list shows the cameras)"
                             : std::to_string(partial.size()) + " cameras are called " + wanted +
                                   ": choose one by its number or identifier (taveloctl list shows them)";
    return {};
}

std::optional<std::size_t> chooseCamera(const std::vector<std::shared_ptr<CaptureDevice>>& cameras,
                                        std::string_view text, std::string& reason) {
    std::vector<CameraNames> names;
    names.reserve(cameras.size());
    for (const auto& camera : cameras)
        names.push_back({camera->uniqueID(), camera->node(), camera->localizedName()});
    return chooseCamera(names, text, reason);
}

} // namespace tavelo
