// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <algorithm>
#include <chrono>

#include "platform/linux/usb/stream/little_endian.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// Some cameras wake their sensor before they answer a probe or a commit.
constexpr auto patience = 5s;

constexpr std::uint8_t classInterfaceIn = 0xA1;
constexpr std::uint8_t classInterfaceOut = 0x21;
constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t probeControl = 0x01;
constexpr std::uint8_t commitControl = 0x02;

constexpr std::size_t frameIntervalAt = 4;
constexpr std::size_t maxFrameSizeAt = 18;
constexpr std::size_t maxPayloadAt = 22;

UsbResult write(UsbHandle& camera, std::uint8_t interface, unsigned control, UvcProbe& probe) {
    const auto value = static_cast<std::uint16_t>(control << 8U);
    return camera.request({classInterfaceOut, setCur, value, interface}, probe.bytes(), patience);
}

} // namespace

UvcProbe::UvcProbe(std::uint16_t version) : size_(sizeFor(version)) {
    bytes_[0] = 1;
}

std::uint32_t UvcProbe::frameInterval() const {
    return littleEndianAt(bytes_, frameIntervalAt, 4);
}

std::uint32_t UvcProbe::maxFrameSize() const {
    return littleEndianAt(bytes_, maxFrameSizeAt, 4);
}

// Some firmware keeps 16 bits and sign-extends them.
std::uint32_t UvcProbe::maxPayload() const {
    const std::uint32_t told = littleEndianAt(bytes_, maxPayloadAt, 4);
    return told >= 0xFFFF'0000U ? told & 0xFFFFU : told;
}

void UvcProbe::setFrame(std::uint8_t formatIndex, std::uint8_t frameIndex) {
    bytes_[2] = formatIndex;
    bytes_[3] = frameIndex;
}

void UvcProbe::setFrameInterval(std::uint32_t interval) {
    putLittleEndian(bytes_, frameIntervalAt, 4, interval);
}

ErrorCode probeStream(UsbHandle& camera, std::uint8_t interface, UvcProbe& probe) {
    const UsbResult asked = write(camera, interface, probeControl, probe);
    if (asked.code != ErrorCode::none) return asked.code;
    UvcProbe answer = probe;
    const UsbResult answered =
        camera.request({classInterfaceIn, getCur, probeControl << 8U, interface}, answer.bytes(), patience);
    if (answered.code != ErrorCode::none) return answered.code;
    if (answered.bytes < UvcProbe::smallest) return ErrorCode::refused;
    answer.shrink(std::min(answered.bytes, answer.bytes().size()));
    probe = answer;
    return ErrorCode::none;
}

ErrorCode commitStream(UsbHandle& camera, std::uint8_t interface, const UvcProbe& probe) {
    UvcProbe copy = probe; // a request's bytes may be overwritten
    return write(camera, interface, commitControl, copy).code;
}

} // namespace tavelo
