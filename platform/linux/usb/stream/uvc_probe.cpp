// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/uvc_probe.h"

#include <algorithm>

#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

constexpr std::size_t frameIntervalAt = 4;
constexpr std::size_t maxFrameSizeAt = 18;
constexpr std::size_t maxPayloadAt = 22;

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

UsbPortStatus probeStream(UsbStreamPort& port, UvcProbe& probe) {
    std::size_t done = 0;
    const UsbPortStatus asked =
        port.request({codeOf(UvcRequest::setCur), uvc::probeControl, probe.bytes()}, done);
    if (asked != UsbPortStatus::ok) return asked;
    UvcProbe answer = probe;
    const UsbPortStatus answered =
        port.request({codeOf(UvcRequest::getCur), uvc::probeControl, answer.bytes()}, done);
    if (answered != UsbPortStatus::ok) return answered;
    if (done < UvcProbe::smallest) return UsbPortStatus::stalled;
    answer.shrink(std::min(done, answer.bytes().size()));
    probe = answer;
    return UsbPortStatus::ok;
}

UsbPortStatus commitStream(UsbStreamPort& port, const UvcProbe& probe) {
    UvcProbe copy = probe; // a request's bytes may be overwritten
    std::size_t done = 0;
    return port.request({codeOf(UvcRequest::setCur), uvc::commitControl, copy.bytes()}, done);
}

} // namespace tavelo
