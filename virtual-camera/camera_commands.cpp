// SPDX-License-Identifier: MIT
#include "virtual-camera/camera_commands.h"

#include <charconv>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <sstream>
#include <vector>

#include "platform/virtual/firmware/firmware_control.h"
#include "platform/virtual/firmware/firmware_fault.h"

namespace tavelo {
namespace {

using Words = std::span<const std::string>;

constexpr std::int64_t maxDelay = 600'000; // ms

std::string failure(const std::string& reason) {
    return "error " + reason;
}

std::optional<std::int64_t> number(const std::string& word) {
    std::int64_t value = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<std::int32_t> number32(const std::string& word) {
    const std::optional<std::int64_t> value = number(word);
    if (!value || *value != static_cast<std::int32_t>(*value)) return std::nullopt;
    return static_cast<std::int32_t>(*value);
}

/// The target of an order.
struct Subject {
    ServedCameras& cameras;
    int camera = 0;
    std::shared_ptr<VirtualCameraFirmware> firmware; ///< null while unplugged
};

// Orders for a control; `words` follow its name.
using ControlOrder = std::string (*)(VirtualCameraFirmware&, const FirmwareControl&, Words words);

std::string get(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    const std::optional<std::int64_t> value = camera.controlValue(control.address);
    if (!words.empty()) return failure("get CAMERA CONTROL");
    if (!value) return failure("the camera does not have it");
    if (control.kind == ControlKind::panTilt)
        return "ok " + std::to_string(panOf(*value)) + ' ' + std::to_string(tiltOf(*value));
    return "ok " + std::to_string(*value);
}

std::string set(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    const bool pair = control.kind == ControlKind::panTilt;
    std::optional<std::int64_t> value;
    if (pair && words.size() == 2) {
        const auto pan = number32(words[0]);
        const auto tilt = number32(words[1]);
        if (pan && tilt) value = packPanTilt(*pan, *tilt);
    }
    if (!pair && words.size() == 1) value = number(words[0]);
    if (!value) return failure(pair ? "set CAMERA panTilt PAN TILT" : "set CAMERA CONTROL VALUE");
    return camera.setControlValue(control.address, *value) ? "ok" : failure("the camera does not take it");
}

std::string limits(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    if (!words.empty()) return failure("limits CAMERA CONTROL");
    const std::optional<ControlLimits> told = camera.controlLimits(control.address);
    if (!told) return failure("the camera does not have it");
    std::string answer = "ok";
    for (const std::int64_t value : {told->minimum, told->maximum, told->resolution, told->defaultValue})
        answer += ' ' + std::to_string(value);
    return answer;
}

FirmwareFault faultOf(FaultKind kind, std::optional<ControlAddress> control) {
    FirmwareFault fault;
    fault.kind = kind;
    fault.control = control;
    return fault;
}

std::string refuse(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words, FaultKind kind,
                   const char* usage) {
    FirmwareFault fault = faultOf(kind, control.address);
    if (!words.empty() && (words[0] == "reads" || words[0] == "writes")) {
        fault.direction = words[0] == "reads" ? FaultDirection::reads : FaultDirection::writes;
        words = words.subspan(1);
    }
    if (kind == FaultKind::stall && words.size() == 1) {
        const std::optional<std::int64_t> code = number(words[0]);
        if (!code || *code < 0 || *code > 0xFF) return failure(usage);
        fault.errorCode = static_cast<std::uint8_t>(*code);
        words = {};
    }
    if (!words.empty()) return failure(usage);
    camera.order(fault);
    return "ok";
}

std::string stall(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    return refuse(camera, control, words, FaultKind::stall, "stall CAMERA CONTROL [reads|writes] [CODE]");
}

std::string silence(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    return refuse(camera, control, words, FaultKind::silence, "silence CAMERA CONTROL [reads|writes]");
}

std::string shortReply(VirtualCameraFirmware& camera, const FirmwareControl& control, Words words) {
    const std::optional<std::int64_t> bytes = words.size() == 1 ? number(words[0]) : std::nullopt;
    if (!bytes || *bytes < 0 || *bytes > 0xFFFF) return failure("short CAMERA CONTROL BYTES");
    FirmwareFault fault = faultOf(FaultKind::shortReply, control.address);
    fault.length = static_cast<std::size_t>(*bytes);
    camera.order(fault);
    return "ok";
}

// Orders for a camera that is plugged in.
using CameraOrder = std::string (*)(VirtualCameraFirmware&, Words words);

std::string delay(VirtualCameraFirmware& camera, Words words) {
    const std::optional<std::int64_t> wait = words.empty() ? std::nullopt : number(words[0]);
    if (!wait || *wait < 0 || *wait > maxDelay || words.size() > 2)
        return failure("delay CAMERA MILLISECONDS [CONTROL]");
    FirmwareFault fault = faultOf(FaultKind::delay, std::nullopt);
    fault.wait = std::chrono::milliseconds(*wait);
    if (words.size() == 2) {
        const FirmwareControl* control = firmwareControlNamed(words[1]);
        if (control == nullptr) return failure("no control " + words[1]);
        fault.control = control->address;
    }
    camera.order(fault);
    return "ok";
}

std::string clear(VirtualCameraFirmware& camera, Words words) {
    if (!words.empty()) return failure("clear CAMERA");
    camera.clearFaults();
    return "ok";
}

// Orders for a camera that may be unplugged.
using SlotOrder = std::string (*)(const Subject&);

std::string vanish(const Subject& subject) {
    return subject.cameras.vanish(subject.camera) ? "ok" : failure("it is not plugged in");
}

std::string plug(const Subject& subject) {
    return subject.cameras.plug(subject.camera) ? "ok" : failure("it is plugged in");
}

std::string status(const Subject& subject) {
    if (!subject.firmware) return "ok gone";
    std::string answer = subject.cameras.isImported(subject.camera) ? "ok attached" : "ok free";
    const std::optional<StreamFormat> format = subject.firmware->committedFormat();
    if (subject.firmware->streaming() && format)
        answer += std::string(format->encoding == StreamEncoding::yuyv ? " YUYV " : " MJPG ") +
                  std::to_string(format->width) + 'x' + std::to_string(format->height);
    return answer;
}

std::string execute(const Subject& subject, const std::string& verb, Words words) {
    static const std::map<std::string, SlotOrder, std::less<>> slotOrders{
        {"vanish", vanish}, {"plug", plug}, {"status", status}};
    static const std::map<std::string, CameraOrder, std::less<>> cameraOrders{{"delay", delay},
                                                                              {"clear", clear}};
    static const std::map<std::string, ControlOrder, std::less<>> controlOrders{
        {"get", get},     {"set", set},         {"limits", limits},
        {"stall", stall}, {"silence", silence}, {"short", shortReply}};

    if (const auto order = slotOrders.find(verb); order != slotOrders.end())
        return words.empty() ? order->second(subject) : failure(verb + " CAMERA");
    const auto cameraOrder = cameraOrders.find(verb);
    const auto controlOrder = controlOrders.find(verb);
    if (cameraOrder == cameraOrders.end() && controlOrder == controlOrders.end())
        return failure("no order " + verb);
    if (!subject.firmware) return failure("it is not plugged in");
    if (cameraOrder != cameraOrders.end()) return cameraOrder->second(*subject.firmware, words);
    const FirmwareControl* control = words.empty() ? nullptr : firmwareControlNamed(words[0]);
    if (control == nullptr)
        return failure(words.empty() ? verb + " CAMERA CONTROL" : "no control " + words[0]);
    return controlOrder->second(*subject.firmware, *control, words.subspan(1));
}

} // namespace

std::string CameraCommands::execute(std::string_view line) {
    std::vector<std::string> words;
    std::istringstream stream{std::string(line)};
    for (std::string word; stream >> word;)
        words.push_back(std::move(word));
    if (words.empty()) return failure("no order");
    const std::optional<std::int32_t> camera = words.size() > 1 ? number32(words[1]) : std::nullopt;
    if (!camera || *camera < 1 || *camera > cameras_.size()) return failure("which camera?");
    return tavelo::execute({cameras_, *camera, cameras_.camera(*camera)}, words[0], Words(words).subspan(2));
}

} // namespace tavelo
