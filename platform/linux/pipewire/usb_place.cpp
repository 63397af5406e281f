// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/usb_place.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace tavelo {
namespace {

bool isDigit(char letter) {
    return std::isdigit(static_cast<unsigned char>(letter)) != 0;
}

// "1-4.2", but neither "usb1", a bus, nor "1-4.2:1.0", an interface.
bool isUsbDevice(std::string_view name) {
    const std::size_t dash = name.find('-');
    if (dash == 0 || dash == std::string_view::npos || dash + 1 == name.size()) return false;
    const std::string_view bus = name.substr(0, dash);
    const std::string_view ports = name.substr(dash + 1);
    return std::ranges::all_of(bus, isDigit) && isDigit(ports.front()) &&
           std::ranges::all_of(ports, [](char each) { return isDigit(each) || each == '.'; });
}

} // namespace

std::string usbPlaceOf(std::string_view path) {
    std::string place;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (isUsbDevice(name)) place = name; // a device behind a hub comes after the hub
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return place;
}

std::string usbPlaceOf(const std::map<std::string, std::string, std::less<>>& properties,
                       const std::filesystem::path& sysfs) {
    if (const auto path = properties.find("device.sysfs.path"); path != properties.end()) {
        if (std::string place = usbPlaceOf(path->second); !place.empty()) return place;
    }
    for (const char* const name : {"api.alsa.card", "api.alsa.pcm.card", "alsa.card"}) {
        const auto card = properties.find(name);
        if (card == properties.end() || !std::ranges::all_of(card->second, isDigit)) continue;
        std::error_code error;
        const auto device =
            std::filesystem::canonical(sysfs / "class/sound" / ("card" + card->second), error);
        if (!error) return usbPlaceOf(device.string());
    }
    return {};
}

} // namespace tavelo
