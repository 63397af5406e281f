// SPDX-License-Identifier: MIT
// Compares the answers of a virtual camera behind the kernel's driver with those of the same firmware in this
// process, byte for byte.  Prints one line per control; exit status 1 if any differs.
//
// Usage: kernel_controls_check /dev/videoN [BRIGHTNESS]
// With BRIGHTNESS it only binds the node's camera like the panel does, sets that value and prints the value
// read back.

#include <linux/v4l2-controls.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/kernel/backend.h"
#include "platform/linux/v4l2/v4l2_controls.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "support/manual_main_queue.h"
#include "support/standard_error_diagnostics.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t classRead = 0xA1;
constexpr std::uint8_t classWrite = 0x21;
constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t getMin = 0x82;
constexpr std::uint8_t getMax = 0x83;
constexpr std::uint8_t getRes = 0x84;
constexpr std::uint8_t getInfo = 0x86;
constexpr std::uint8_t getDef = 0x87;
// At least as long as any control; answers have the control's own length.
constexpr std::uint16_t askedLength = 8;

struct Reply {
    bool succeeded = false;
    Bytes bytes; ///< read only

    friend bool operator==(const Reply&, const Reply&) = default;
};

std::string textOf(const Reply& reply) {
    if (!reply.succeeded) return "refused";
    std::string text = reply.bytes.empty() ? "-" : "";
    for (const std::uint8_t byte : reply.bytes) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", unsigned{byte});
        text += digits.data();
    }
    return text;
}

// The camera behind the kernel's driver and the same firmware in this process ("twin").
class Comparison {
public:
    Comparison(UsbInterface& kernel, VirtualCameraFirmware& twin) : kernel_(kernel), twin_(twin) {}

    Reply askKernel(const FirmwareControl& control, std::uint8_t request, Bytes data) {
        UsbControlRequest usb{
            typeOf(request), request, valueOf(control), indexOf(control), std::uint16_t(data.size()),
            data.data(),     0};
        if (kernel_.ControlRequest(usb) != ErrorCode::none) return {};
        if (request == setCur) lastWritten_ = data;
        data.resize(request == setCur ? 0 : usb.bytesDone);
        return {true, data};
    }

    /// The data buffer after the last write through the kernel.
    const Bytes& lastWritten() const { return lastWritten_; }

    Reply askTwin(const FirmwareControl& control, std::uint8_t request, const Bytes& data) {
        const UsbSetup setup{typeOf(request), request, valueOf(control), indexOf(control),
                             std::uint16_t(data.size())};
        const UsbReply reply =
            twin_.control(setup, request == setCur ? std::span(data) : std::span<const std::uint8_t>());
        if (reply.kind == UsbReplyKind::done) return {true, reply.data};
        return {reply.kind == UsbReplyKind::stall && request != setCur, {}};
    }

    void expectAlike(const FirmwareControl& control, std::string_view what, std::uint8_t request,
                     const Bytes& data) {
        Reply kernel = askKernel(control, request, data);
        Reply twin = askTwin(control, request, data);
        // Ignores the autoupdate flag, which only the driver knows.
        if (request == getInfo && !twin.bytes.empty()) twin.bytes[0] &= 0xF7;
        if (request == getInfo && !kernel.bytes.empty()) kernel.bytes[0] &= 0xF7;
        expect(kernel == twin, what, textOf(kernel), textOf(twin));
    }

    void expect(bool right, std::string_view what, const std::string& kernel, const std::string& camera) {
        ++answers_;
        if (right) return;
        ++differences_;
        std::printf("     %.*s: %s through the kernel, %s in the camera\n", int(what.size()), what.data(),
                    kernel.c_str(), camera.c_str());
    }

    /// Prints the line for the comparisons since the last call.
    void finish(std::string_view subject) {
        std::printf("%s %-24.*s %d answers\n", differences_ == 0 ? "ok  " : "FAIL", int(subject.size()),
                    subject.data(), answers_);
        failed_ = failed_ || differences_ > 0;
        answers_ = differences_ = 0;
    }

    bool failed() const { return failed_; }

private:
    static std::uint8_t typeOf(std::uint8_t request) { return request == setCur ? classWrite : classRead; }
    static std::uint16_t valueOf(const FirmwareControl& control) {
        return static_cast<std::uint16_t>(control.address.selector << 8U);
    }
    std::uint16_t indexOf(const FirmwareControl& control) const {
        const bool terminal = control.address.entity == UvcEntity::cameraTerminal;
        const unsigned entity = terminal ? twin_.model().terminalID : twin_.model().unitID;
        return static_cast<std::uint16_t>(entity << 8U | kernel_.GetInterfaceNumber());
    }

    UsbInterface& kernel_;
    VirtualCameraFirmware& twin_;
    Bytes lastWritten_;
    int answers_ = 0;
    int differences_ = 0;
    bool failed_ = false;
};

// True if the kernel has no control for this.
bool isUnmapped(const FirmwareControl& control) {
    return control.address == control::scanningMode || control.address == control::roll ||
           control.address == control::exposureTimeRelative;
}

Bytes bytesOf(const FirmwareControl& control, std::int64_t value) {
    // Both halves have the row's range.  Different values show if they are swapped; whole steps avoid the
    // driver's rounding.
    const std::int64_t packed =
        control.kind == ControlKind::panTilt ? packPanTilt(std::int32_t(value), std::int32_t(-value)) : value;
    Bytes bytes;
    for (unsigned i = 0; i < control.size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(packed) >> (8 * i)));
    return bytes;
}

// Turns all automatic controls off, so that every control is writable, then sets the defaults.
void settle(Comparison& both) {
    for (const auto kind :
         {ControlKind::modes, ControlKind::toggle, ControlKind::range, ControlKind::panTilt}) {
        for (const FirmwareControl& control : firmwareControls()) {
            if (control.kind != kind || isUnmapped(control)) continue;
            const std::int64_t manual = kind == ControlKind::modes ? 1 : 0;
            const bool automatic = kind == ControlKind::modes || kind == ControlKind::toggle;
            both.expectAlike(control, control.name, setCur,
                             bytesOf(control, automatic ? manual : control.defaultValue));
        }
    }
    both.finish("settled");
}

std::vector<std::int64_t> valuesFor(const FirmwareControl& control) {
    switch (control.kind) {
        case ControlKind::modes:
            return {1, 2, 4, 8, 0, 3, 16, 1};
        case ControlKind::toggle:
            return {1, 0, 2, 1, 0};
        default:
            return {control.minimum,
                    control.maximum,
                    control.minimum - 1LL,
                    control.maximum + 1LL,
                    control.minimum + 1LL * control.resolution,
                    control.defaultValue};
    }
}

void compareControl(Comparison& both, const FirmwareControl& control) {
    const Bytes asked(askedLength, 0);
    both.expectAlike(control, "GET_INFO", getInfo, Bytes(1, 0));
    both.expectAlike(control, "GET_MIN", getMin, asked);
    both.expectAlike(control, "GET_MAX", getMax, asked);
    both.expectAlike(control, "GET_RES", getRes, asked);
    // The USB Video Class defines no default for this switch, so neither the driver nor we keep one.
    if (!(control.address == control::autoExposurePriority))
        both.expectAlike(control, "GET_DEF", getDef, asked);
    both.expectAlike(control, "GET_CUR", getCur, asked);
    for (const std::int64_t value : valuesFor(control)) {
        const std::string what = "SET_CUR " + std::to_string(value);
        both.expectAlike(control, what, setCur, bytesOf(control, value));
        both.expectAlike(control, "GET_CUR after " + what, getCur, asked);
    }
    both.finish(control.name);
}

// Reads complete without bytes, writes complete without effect.
void compareUnmapped(Comparison& both, const FirmwareControl& control) {
    const Reply nothing{true, {}};
    for (const std::uint8_t request : {getInfo, getCur, getMin, getMax, getRes, getDef}) {
        const Reply reply = both.askKernel(control, request, Bytes(askedLength, 0));
        both.expect(reply == nothing, "a read", textOf(reply), "nothing expected");
    }
    const Reply written = both.askKernel(control, setCur, bytesOf(control, 1));
    both.expect(written == nothing, "a write", textOf(written), "nothing expected");
    both.finish(std::string(control.name) + " (not mapped)");
}

// A manual control while its automatic control is on, and afterwards.
void compareGate(Comparison& both, ControlAddress automatic, std::int64_t on, ControlAddress manual) {
    const FirmwareControl& gate = *firmwareControl(automatic);
    const FirmwareControl& gated = *firmwareControl(manual);
    const std::int64_t off = gate.kind == ControlKind::modes ? 1 : 0;
    both.expectAlike(gate, "automatic on", setCur, bytesOf(gate, on));
    both.expectAlike(gated, "GET_INFO while automatic", getInfo, Bytes(1, 0));
    both.expectAlike(gated, "SET_CUR while automatic", setCur, bytesOf(gated, gated.minimum));
    both.expectAlike(gate, "automatic off", setCur, bytesOf(gate, off));
    both.expectAlike(gated, "GET_INFO while manual", getInfo, Bytes(1, 0));
    both.expectAlike(gated, "SET_CUR while manual", setCur, bytesOf(gated, gated.maximum));
    both.expectAlike(gated, "GET_CUR while manual", getCur, Bytes(askedLength, 0));
    both.expectAlike(gated, "back to the default", setCur, bytesOf(gated, gated.defaultValue));
    both.finish(std::string(gated.name) + " under " + std::string(gate.name) + " " + std::to_string(on));
}

// The driver rounds to the step and returns the rounded value.
void compareRounding(Comparison& both) {
    const FirmwareControl& control = *firmwareControl(control::whiteBalance);
    const std::int64_t asked = control.minimum + 3LL * control.resolution - 1;
    const bool taken = both.askKernel(control, setCur, bytesOf(control, asked)).succeeded;
    const Bytes held = both.askKernel(control, getCur, Bytes(askedLength, 0)).bytes;
    both.expect(taken && held == bytesOf(control, asked + 1), "the value that is taken",
                textOf({taken, held}), std::to_string(asked + 1));
    both.expect(both.lastWritten() == held, "the value that is told", textOf({taken, both.lastWritten()}),
                textOf({true, held}));
    both.expectAlike(control, "back to the default", setCur, bytesOf(control, control.defaultValue));
    both.finish("rounding");
}

// Another program tilts the camera while ours pans it.
void compareOtherProgram(Comparison& both, const std::string& node) {
    const FirmwareControl& control = *firmwareControl(control::panTilt);
    int error = 0;
    KernelNodeOpener opener;
    const auto other = openForControls(opener, node, error);
    Bytes value = both.askKernel(control, getCur, Bytes(askedLength, 0)).bytes;
    std::array<V4l2ControlValue, 1> tilt{{{V4L2_CID_TILT_ABSOLUTE, control.minimum}}};
    const bool tilted = other && value.size() == askedLength && setControls(*other, tilt) == 0;
    if (tilted) {
        const Bytes pan = bytesOf(control, control.maximum);
        std::copy_n(pan.begin(), 4, value.begin());
        both.askKernel(control, setCur, value);
    }
    const Bytes held = both.askKernel(control, getCur, Bytes(askedLength, 0)).bytes;
    const Bytes expected =
        bytesOf(*firmwareControl(control::panTilt), control.maximum); // with the minimum's tilt
    both.expect(tilted && control.minimum == -control.maximum && held == expected,
                "a pan beside another program's tilt", textOf({tilted, held}), textOf({true, expected}));
    both.expectAlike(control, "back to the default", setCur, bytesOf(control, control.defaultValue));
    both.finish("another program");
}

void restoreFactory(Comparison& both) {
    for (const FirmwareControl& control : firmwareControls()) {
        const bool automatic = control.kind == ControlKind::modes || control.kind == ControlKind::toggle;
        if (automatic && !isUnmapped(control))
            both.expectAlike(control, control.name, setCur, bytesOf(control, control.defaultValue));
    }
    both.finish("defaults restored");
}

// The virtual camera model with the entities found on the bus.
std::unique_ptr<VirtualCameraFirmware> twinOf(const BusProberDevice& camera, std::uint8_t interface) {
    for (int number = 1; number <= 60; ++number) {
        VirtualCameraModel model = virtualCameraModel(number);
        model.firstInterface = interface;
        if (model.terminalID == camera.terminalID && model.unitID == camera.unitID)
            return std::make_unique<VirtualCameraFirmware>(std::move(model));
    }
    return nullptr;
}

std::shared_ptr<const BusProberDevice> listedCamera(UsbPlatform& platform, std::uint32_t location,
                                                    std::uint8_t interface) {
    const auto prober = platform.initBusProber(2, nullptr);
    prober->refreshData(false);
    const auto& devices = prober->devicesArray();
    const auto found = std::ranges::find_if(devices, [&](const auto& device) {
        return device->locationID == location && device->controlInterface == interface;
    });
    return found == devices.end() ? nullptr : *found;
}

// The same steps that bind the panel to a camera.
std::shared_ptr<UsbInterface> openControl(UsbPlatform& platform, std::uint32_t location,
                                          std::uint8_t interface) {
    for (const auto& device : platform.listDevices()) {
        if (!device->CreatePlugInInterface() || !device->QueryInterface()) continue;
        if (device->GetLocationID() != location) continue;
        const auto numbers = device->CreateInterfaceIterator({.interfaceClass = 14, .interfaceSubClass = 1});
        const bool listed = numbers && std::ranges::find(*numbers, interface) != numbers->end();
        return listed ? device->openInterface(interface) : nullptr;
    }
    return nullptr;
}

int fail(const std::string& reason) {
    std::fprintf(stderr, "kernel_controls_check: %s\n", reason.c_str());
    return 2;
}

int setBrightness(const std::string& node, std::int64_t value) {
    const auto identity = usbIdentityOfVideoNode("/sys", node);
    if (!identity) return fail(node + " is no USB camera");
    testing::StandardErrorDiagnostics diagnostics;
    testing::ManualMainQueue mainQueue;
    const Backend backend = makeKernelBackend({mainQueue, diagnostics});
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    const std::string id = identity->captureIdentifier();
    if (!manager.uniqueIDIsCorrect(id)) return fail(id + " is not listed");
    if (!manager.refreshDataWithUniqueIDString(id)) return fail(id + " cannot be bound");
    bool taken = false;
    manager.setBrightWithComplitionHandle(value, [&](bool success) { taken = success; });
    std::printf("%s interface %d brightness %lld\n", id.c_str(), int(manager.interfaceNumber()),
                static_cast<long long>(manager.bright()->val()));
    manager.releasePlatform();
    return taken ? 0 : 1;
}

int check(const std::string& node) {
    const auto identity = usbIdentityOfVideoNode("/sys", node);
    if (!identity) return fail(node + " is no USB camera");
    std::printf("%s is %s \"%s\" at %s\n", node.c_str(), identity->captureIdentifier().c_str(),
                identity->productName.c_str(), identity->deviceName.c_str());
    testing::StandardErrorDiagnostics diagnostics;
    testing::ManualMainQueue mainQueue;
    const Backend backend = makeKernelBackend({mainQueue, diagnostics});
    const auto listed = listedCamera(*backend.usb, identity->locationID, identity->interfaceNumber);
    if (!listed) return fail("the bus prober does not list it");
    const auto twin = twinOf(*listed, identity->interfaceNumber);
    if (!twin) return fail("it is no virtual camera of ours");
    const auto interface = openControl(*backend.usb, identity->locationID, identity->interfaceNumber);
    if (!interface) return fail("its control interface cannot be opened");

    Comparison both(*interface, *twin);
    settle(both);
    for (const FirmwareControl& control : firmwareControls())
        isUnmapped(control) ? compareUnmapped(both, control) : compareControl(both, control);
    compareGate(both, control::autoFocus, 1, control::focus);
    compareGate(both, control::autoHue, 1, control::hue);
    compareGate(both, control::autoWhiteBalance, 1, control::whiteBalance);
    compareGate(both, control::autoExposureMode, 2, control::exposureTime);
    compareGate(both, control::autoExposureMode, 8, control::exposureTime);
    compareRounding(both);
    compareOtherProgram(both, node);
    restoreFactory(both);
    return both.failed() ? 1 : 0;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc == 3) return tavelo::setBrightness(argv[1], std::atoll(argv[2]));
    if (argc != 2) return tavelo::fail("usage: kernel_controls_check /dev/videoN [BRIGHTNESS]");
    return tavelo::check(argv[1]);
}
