// SPDX-License-Identifier: MIT
// Takes a camera over USB and executes commands from standard input, so that a test can check the effects.
//
// Usage: usb_transport_check DEVICE [INTERFACE]
// DEVICE is the kernel's name (1-4), INTERFACE the control interface of one of its video functions.
//
// Prints "bound" once all controls are read, then for each "control NUMBER SUPPORTED VALUE MINIMUM MAXIMUM
// DEFAULT", then "ready".  Commands, one per line, each answered with one line:
//   set NUMBER VALUE                   "taken" or "refused"
//   send TYPE REQUEST VALUE INDEX DATA numbers in hexadecimal, data as digits; for a read, zeros:
//                                      the status as a number, bytes transferred, the data, milliseconds
// Exits cleanly at the end of its input.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/usb/backend.h"
#include "support/manual_main_queue.h"
#include "support/standard_error_diagnostics.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {
namespace {

std::vector<std::uint8_t> bytesOf(const std::string& digits) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
        bytes.push_back(std::uint8_t(std::strtoul(digits.substr(at, 2).c_str(), nullptr, 16)));
    return bytes;
}

std::string set(KTUVCManager& manager, std::istream& words) {
    unsigned number = 0;
    std::int64_t value = 0;
    if (!(words >> number >> value) || number >= controlCount) return "what?";
    bool taken = false;
    manager.setControlWithComplitionHandle(KTUVCControl(number), value,
                                           [&](bool success) { taken = success; });
    return taken ? "taken" : "refused";
}

std::string send(UsbInterface& interface, std::istream& words) {
    unsigned type = 0;
    unsigned code = 0;
    unsigned value = 0;
    unsigned index = 0;
    std::string digits;
    if (!(words >> std::hex >> type >> code >> value >> index >> digits)) return "what?";
    std::vector<std::uint8_t> data = bytesOf(digits);
    UsbControlRequest request{std::uint8_t(type),
                              std::uint8_t(code),
                              std::uint16_t(value),
                              std::uint16_t(index),
                              std::uint16_t(data.size()),
                              data.data(),
                              0};
    const auto begin = std::chrono::steady_clock::now();
    const ErrorCode status = interface.ControlRequest(request);
    const auto took =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    std::ostringstream answer;
    answer << int(status) << ' ' << request.bytesDone << ' ' << std::hex;
    for (const std::uint8_t byte : data)
        answer << unsigned(byte >> 4U) << unsigned(byte & 0xFU);
    answer << ' ' << std::dec << took.count();
    return answer.str();
}

void printControls(const KTUVCManager& manager) {
    for (std::size_t i = 0; i < controlCount; ++i) {
        const KTUVCParameters& control = *manager.parametersArray()[i];
        std::printf("control %zu %d %lld %lld %lld %lld\n", i, control.supported() ? 1 : 0,
                    static_cast<long long>(control.val()), static_cast<long long>(control.min()),
                    static_cast<long long>(control.max()), static_cast<long long>(control.def()));
    }
}

int fail(const std::string& reason) {
    std::fprintf(stderr, "usb_transport_check: %s\n", reason.c_str());
    return 2;
}

int check(const std::string& name, std::optional<std::uint8_t> interface) {
    const auto devices = usbDevices("/sys");
    const auto device = std::ranges::find(devices, name, &SysfsUsbDevice::name);
    if (device == devices.end()) return fail("no device " + name);
    const std::uint32_t location = device->locationID;
    testing::ManualMainQueue mainQueue;
    testing::StandardErrorDiagnostics diagnostics;
    const Backend backend = makeUsbBackend({mainQueue, diagnostics});
    if (!backend.usb) return fail("the cameras cannot be taken over USB");
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    if (!manager.refreshDataWithLocationID({{location, location, location}, interface}))
        return fail("it cannot be bound");
    if (!manager.interface()) return fail("it cannot be opened");
    std::puts("bound");
    printControls(manager);
    std::puts("ready");
    std::fflush(stdout);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string order;
        words >> order;
        const std::string answer = order == "set"    ? set(manager, words)
                                   : order == "send" ? send(*manager.interface(), words)
                                                     : "what?";
        std::puts(answer.c_str());
        std::fflush(stdout);
    }
    manager.releasePlatform();
    return 0;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) return tavelo::fail("usage: usb_transport_check DEVICE [INTERFACE]");
    const auto interface =
        argc == 3 ? std::optional(static_cast<std::uint8_t>(std::atoi(argv[2]))) : std::nullopt;
    return tavelo::check(argv[1], interface);
}
