// SPDX-License-Identifier: MIT
// A fake USB device controlled by the test.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "platform/virtual/firmware/usb_gadget.h"

namespace tavelo::test {

/// One interface with an isochronous endpoint 0x81 (64-byte packets, one per microframe), a bulk endpoint
/// 0x82 (512-byte packets) and an interrupt endpoint 0x83 (16-byte packets, polled every 2 ms).
class FakeGadget : public UsbGadget {
public:
    using Packet = std::vector<std::uint8_t>;

    std::span<const std::uint8_t> deviceDescriptor() const override { return device_; }
    std::span<const std::uint8_t> configurationDescriptor() const override { return configuration_; }

    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out) override {
        if (setup.bmRequestType == 0 && setup.bRequest == 9) {
            const std::scoped_lock lock(mutex_);
            ++deconfigured_;
            return {};
        }
        return onControl ? onControl(setup, out) : UsbReply{};
    }

    std::optional<std::size_t> in(std::uint8_t endpoint, std::span<std::uint8_t> packet) override {
        const std::scoped_lock lock(mutex_);
        ++asked_[endpoint & 0x0FU];
        auto& queue = packets_[endpoint & 0x0FU];
        if (queue.empty()) return std::nullopt;
        const Packet next = std::move(queue.front());
        queue.pop_front();
        std::copy_n(next.begin(), std::min(next.size(), packet.size()), packet.begin());
        return next.size();
    }

    /// Appends a packet to an endpoint's queue.
    void queue(std::uint8_t endpoint, Packet packet) {
        const std::scoped_lock lock(mutex_);
        packets_[endpoint].push_back(std::move(packet));
    }

    /// How often an endpoint was asked for a packet.
    int asked(std::uint8_t endpoint) const {
        const std::scoped_lock lock(mutex_);
        return asked_[endpoint];
    }
    int deconfigured() const {
        const std::scoped_lock lock(mutex_);
        return deconfigured_;
    }

    /// Set before the device is plugged in.
    std::function<UsbReply(const UsbSetup&, std::span<const std::uint8_t>)> onControl;

private:
    const std::vector<std::uint8_t> device_{18,   1,    0,    2,    0xEF, 2, 1, 64, 0x34,
                                            0x12, 0x78, 0x56, 0x05, 0x01, 0, 0, 0,  1};
    const std::vector<std::uint8_t> configuration_{
        9, 2, 48,   0, 1,  3,  0, 0x80, 50, // configuration 3
        9, 4, 0,    0, 0,  14, 1, 0,    0,  // interface 0
        9, 4, 0,    1, 3,  14, 1, 0,    0,  // its alternate setting with the endpoints
        7, 5, 0x81, 5, 64, 0,  1, 7,    5,  0x82, 2, 0, 2, 0, 7, 5, 0x83, 3, 16, 0, 5};

    mutable std::mutex mutex_; // guards what follows
    std::deque<Packet> packets_[16];
    int asked_[16]{};
    int deconfigured_ = 0;
};

} // namespace tavelo::test
