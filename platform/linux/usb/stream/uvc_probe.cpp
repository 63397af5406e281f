// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <algorithm>

#include "platform/linux/usb/stream/little_endian.h"

namespace tavelo {
namespace {

constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t probeControl = 0x01;
constexpr std::uint8_t commitControl = 0x02;

constexpr std::size_t frameIntervalAt = 4;
constexpr std::size_t maxFrameSizeAt = 18;
constexpr std::size_t maxPayloadAt = 22;

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

UsbPortStatus probeStream(UsbStreamPort& port, UvcProbe& probe) {
    std::size_t done = 0;
    const UsbPortStatus asked = port.request({setCur, probeControl, probe.bytes()}, done);
    if (asked != UsbPortStatus::ok) return asked;
    UvcProbe answer = probe;
    const UsbPortStatus answered = port.request({getCur, probeControl, answer.bytes()}, done);
    if (answered != UsbPortStatus::ok) return answered;
    if (done < UvcProbe::smallest) return UsbPortStatus::stalled;
    answer.shrink(std::min(done, answer.bytes().size()));
    probe = answer;
    return UsbPortStatus::ok;
}

UsbPortStatus commitStream(UsbStreamPort& port, const UvcProbe& probe) {
    UvcProbe copy = probe; // a request's bytes may be overwritten
    std::size_t done = 0;
    return port.request({setCur, commitControl, copy.bytes()}, done);
}

} // namespace tavelo
