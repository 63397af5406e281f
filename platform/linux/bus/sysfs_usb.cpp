// SPDX-License-Identifier: MIT
// Reads USB devices and their video nodes from sysfs.
#include "platform/linux/bus/sysfs_usb.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>
#include <tuple>

#include "platform/common/location_id.h"
#include "platform/uvc/descriptors.h"

namespace tavelo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t deviceDescriptorLength = 18;
// Far larger than any camera's; a file in a fake or broken tree must not fill the memory.
constexpr std::size_t longestFile = 0x40000;

std::vector<std::uint8_t> readBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::uint8_t> bytes;
    std::vector<char> chunk(4096);
    while (stream && bytes.size() < longestFile) {
        stream.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + stream.gcount());
    }
    return bytes;
}

// An attribute without its line break; empty if there is none.
std::string readText(const fs::path& file) {
    const std::vector<std::uint8_t> bytes = readBytes(file);
    std::string text(bytes.begin(), bytes.end());
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

template <typename Number>
std::optional<Number> parseNumber(std::string_view text, int base = 10) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stopped != end) return std::nullopt;
    return number;
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
        entries.push_back(at->path());
    std::ranges::sort(entries);
    return entries;
}

fs::path resolved(const fs::path& link) {
    std::error_code error;
    fs::path path = fs::canonical(link, error);
    return error ? fs::path() : path;
}

// "1-4.2" is bus 1, ports 4 and 2.
struct KernelName {
    std::uint8_t bus = 0;
    std::vector<std::uint8_t> ports;
};

std::optional<KernelName> parseKernelName(std::string_view name) {
    const std::size_t dash = name.find('-');
    if (dash == std::string_view::npos) return std::nullopt;
    const auto bus = parseNumber<std::uint8_t>(name.substr(0, dash));
    if (!bus) return std::nullopt;
    KernelName parsed{*bus, {}};
    std::string_view rest = name.substr(dash + 1);
    while (true) {
        const std::size_t dot = std::min(rest.find('.'), rest.size());
        const auto port = parseNumber<std::uint8_t>(rest.substr(0, dot));
        if (!port) return std::nullopt;
        parsed.ports.push_back(*port);
        if (dot == rest.size()) return parsed;
        rest.remove_prefix(dot + 1);
    }
}

// "1-4.2:1.0" is interface 0 of a device.
std::optional<std::uint8_t> interfaceNumberOf(std::string_view folderName, std::string_view deviceName) {
    if (!folderName.starts_with(deviceName)) return std::nullopt;
    folderName.remove_prefix(deviceName.size());
    if (!folderName.starts_with(':') || folderName.find('.') == std::string_view::npos) return std::nullopt;
    return parseNumber<std::uint8_t>(folderName.substr(folderName.find('.') + 1));
}

// The top byte of the location of each bus, by bus number.
std::map<std::uint8_t, std::uint8_t> rootHubs(const fs::path& sysfs) {
    struct Bus {
        std::uint8_t number;
        std::string controller;
    };
    const fs::path devices = resolved(sysfs / "devices");
    std::vector<Bus> buses;
    for (const fs::path& entry : entriesOf(sysfs / "bus/usb/devices")) {
        const std::string name = entry.filename().string();
        if (!name.starts_with("usb")) continue;
        const auto number = parseNumber<std::uint8_t>(std::string_view(name).substr(3));
        const fs::path path = resolved(entry);
        if (!number || path.empty()) continue;
        buses.push_back({*number, path.parent_path().lexically_relative(devices).string()});
    }
    // A controller registers its USB 2 hub before its USB 3 hub, so the latter has the higher number.
    std::ranges::sort(buses, {}, &Bus::number);
    std::map<std::string, std::size_t> hubsOfController;
    std::vector<std::string> places;
    places.reserve(buses.size());
    for (const Bus& bus : buses)
        places.push_back(rootHubPlace(bus.controller, hubsOfController[bus.controller]++));
    const std::vector<std::uint8_t> bytes = rootHubBytes(places);
    std::map<std::uint8_t, std::uint8_t> byBus;
    for (std::size_t i = 0; i < buses.size(); ++i)
        byBus[buses[i].number] = bytes[i];
    return byBus;
}

std::optional<SysfsUsbDevice> readDevice(const fs::path& link,
                                         const std::map<std::uint8_t, std::uint8_t>& hubs) {
    SysfsUsbDevice device;
    device.path = resolved(link);
    device.name = link.filename().string();
    const auto parsed = parseKernelName(device.name);
    if (!parsed || device.path.empty()) return std::nullopt;
    const auto hub = hubs.find(parsed->bus);
    const auto vendor = parseNumber<std::uint16_t>(readText(device.path / "idVendor"), 16);
    const auto product = parseNumber<std::uint16_t>(readText(device.path / "idProduct"), 16);
    if (hub == hubs.end() || !vendor || !product) return std::nullopt;
    device.locationID = locationIdentifier(hub->second, parsed->ports);
    device.vendorID = *vendor;
    device.productID = *product;
    device.busNumber = parsed->bus;
    device.deviceNumber = parseNumber<std::uint8_t>(readText(device.path / "devnum")).value_or(0);
    device.product = readText(device.path / "product");
    return device;
}

} // namespace

std::string UsbIdentity::captureIdentifier() const {
    return tavelo::captureIdentifier(locationID, vendorID, productID,
                                     isFirstVideoFunction ? std::nullopt : std::optional(interfaceNumber));
}

std::vector<SysfsUsbDevice> usbDevices(const fs::path& sysfs) {
    const auto hubs = rootHubs(sysfs);
    std::vector<SysfsUsbDevice> devices;
    for (const fs::path& entry : entriesOf(sysfs / "bus/usb/devices")) {
        if (auto device = readDevice(entry, hubs)) devices.push_back(std::move(*device));
    }
    std::ranges::sort(devices, {}, [](const SysfsUsbDevice& device) {
        const auto parsed = parseKernelName(device.name).value_or(KernelName());
        return std::tuple(parsed.bus, parsed.ports);
    });
    return devices;
}

std::optional<UsbDescriptors> usbDescriptors(const SysfsUsbDevice& device) {
    const std::vector<std::uint8_t> bytes = readBytes(device.path / "descriptors");
    if (bytes.empty()) return std::nullopt;
    const auto split = static_cast<std::ptrdiff_t>(std::min(bytes.size(), deviceDescriptorLength));
    UsbDescriptors descriptors{{bytes.begin(), bytes.begin() + split}, {}};
    // Empty while the device is not configured (or not authorised).
    const auto active = parseNumber<std::uint8_t>(readText(device.path / "bConfigurationValue"));
    if (active) {
        const auto configuration =
            configurationWithValue(std::span(bytes).subspan(static_cast<std::size_t>(split)), *active);
        descriptors.configuration.assign(configuration.begin(), configuration.end());
    }
    return descriptors;
}

std::uint32_t usbSpeed(const SysfsUsbDevice& device) {
    return parseNumber<std::uint32_t>(readText(device.path / "speed")).value_or(0);
}

std::optional<UsbIdentity> usbIdentityOfVideoNode(const fs::path& sysfs, std::string_view node) {
    const fs::path name = fs::path(node).filename();
    if (name.empty()) return std::nullopt;
    const fs::path interface = resolved(sysfs / "class/video4linux" / name / "device");
    if (interface.empty()) return std::nullopt;
    const std::string deviceName = interface.parent_path().filename().string();
    const auto number = interfaceNumberOf(interface.filename().string(), deviceName);
    if (!number) return std::nullopt;
    const auto device = readDevice(sysfs / "bus/usb/devices" / deviceName, rootHubs(sysfs));
    if (!device) return std::nullopt;
    UsbIdentity identity{device->locationID, device->vendorID, device->productID, *number, true,
                         device->product,    device->name};
    if (const auto descriptors = usbDescriptors(*device)) {
        const auto functions = videoControlInterfaces(descriptors->configuration);
        identity.isFirstVideoFunction = functions.empty() || functions.front() == *number;
    }
    return identity;
}

std::vector<std::string> videoNodesOfInterface(const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
    std::vector<std::tuple<unsigned, unsigned, std::string>> nodes;
    for (const fs::path& folder : entriesOf(device.path)) {
        if (interfaceNumberOf(folder.filename().string(), device.name) != interfaceNumber) continue;
        for (const fs::path& node : entriesOf(folder / "video4linux")) {
            const std::string name = node.filename().string();
            if (!name.starts_with("video")) continue;
            const auto number = parseNumber<unsigned>(std::string_view(name).substr(5));
            if (!number) continue;
            nodes.emplace_back(parseNumber<unsigned>(readText(node / "index")).value_or(0), *number, name);
        }
    }
    std::ranges::sort(nodes);
    std::vector<std::string> names;
    names.reserve(nodes.size());
    for (auto& node : nodes)
        names.push_back(std::move(std::get<2>(node)));
    return names;
}

} // namespace tavelo
