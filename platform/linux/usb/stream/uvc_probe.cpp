// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <algorithm>
#include <chrono>

#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// Some cameras wake their sensor before they answer a probe or a commit.
constexpr auto patience = 5s;

constexpr std::size_t frameIntervalAt = 4;
constexpr std::size_t maxFrameSizeAt = 18;
constexpr std::size_t maxPayloadAt = 22;

UsbResult write(UsbHandle& camera, std::uint8_t interface, unsigned control, UvcProbe& probe) {
    const auto value = static_cast<std::uint16_t>(control << 8U);
    return camera.request({uvc::classInterfaceOut, codeOf(UvcRequest::setCur), value, interface},
                          probe.bytes(), patience);
}

} // namespace

UvcProbe::UvcProbe(std::uint16_t version) : size_(sizeFor(version)) {
    bytes_[0] = 1;
}

std::uint32_t UvcProbe::frameInterval() const {
    return doubleWordAt(bytes_, frameIntervalAt);
}

std::uint32_t UvcProbe::maxFrameSize() const {
    return doubleWordAt(bytes_, maxFrameSizeAt);
}

// Some firmware keeps 16 bits and sign-extends them.
std::uint32_t UvcProbe::maxPayload() const {
    const std::uint32_t told = doubleWordAt(bytes_, maxPayloadAt);
    return told >= 0xFFFF'0000U ? told & 0xFFFFU : told;
}

void UvcProbe::setFrame(std::uint8_t formatIndex, std::uint8_t frameIndex) {
    bytes_[2] = formatIndex;
    bytes_[3] = frameIndex;
}

void UvcProbe::setFrameInterval(std::uint32_t interval) {
    putLittleEndian(interval, std::span(bytes_).subspan(frameIntervalAt, 4));
}

ErrorCode probeStream(UsbHandle& camera, std::uint8_t interface, UvcProbe& probe) {
    const UsbResult asked = write(camera, interface, uvc::probeControl, probe);
    if (asked.code != ErrorCode::none) return asked.code;
    UvcProbe answer = probe;
    const UsbResult answered = camera.request(
        {uvc::classInterfaceIn, codeOf(UvcRequest::getCur), uvc::probeControl << 8U, interface},
        answer.bytes(), patience);
    if (answered.code != ErrorCode::none) return answered.code;
    if (answered.bytes < UvcProbe::smallest) return ErrorCode::refused;
    answer.shrink(std::min(answered.bytes, answer.bytes().size()));
    probe = answer;
    return ErrorCode::none;
}

ErrorCode commitStream(UsbHandle& camera, std::uint8_t interface, const UvcProbe& probe) {
    UvcProbe copy = probe; // a request's bytes may be overwritten
    return write(camera, interface, uvc::commitControl, copy).code;
}

} // namespace tavelo
