// SPDX-License-Identifier: MIT
// An opened USB device whose answers are a fuzz target's input.
#pragma once

#include <algorithm>
#include <memory>

#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "platform/linux/usb/device/usb_handle.h"

namespace tavelo::fuzz {

class FuzzedTransfer final : public UsbTransfer {
public:
    ErrorCode submit() override { return ErrorCode::refused; }
    void cancel() override {}
};

/// Each request takes a byte for its outcome and, if it reads, a byte for the answer's length and the bytes.
/// It has no transfers.
class FuzzedHandle final : public UsbHandle {
public:
    explicit FuzzedHandle(FuzzInput& input) : input_(input) {}

    UsbResult request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                      std::chrono::milliseconds /*patience*/) override {
        const ErrorCode code = outcome();
        if ((setup.requestType & 0x80U) == 0) return {code, data.size()};
        const auto bytes = input_.bytes(std::min<std::size_t>(input_.byte(), data.size()));
        std::ranges::copy(bytes, data.begin());
        return {code, bytes.size()};
    }
    Error detachKernelDriver(std::uint8_t /*interface*/) override { return {}; }
    Error attachKernelDriver(std::uint8_t /*interface*/) override { return {}; }
    Error claimInterface(std::uint8_t /*interface*/) override { return {}; }
    void releaseInterface(std::uint8_t /*interface*/) override {}
    ErrorCode setAlternate(std::uint8_t /*interface*/, std::uint8_t /*alternate*/) override {
        return outcome();
    }
    ErrorCode clearHalt(std::uint8_t /*endpoint*/) override { return ErrorCode::none; }
    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                              UsbTransferListener& /*listener*/) override {
        // Its buffer is as long as this, once for each of the ring's transfers.
        expect(shape.length() > 0 && shape.length() <= std::size_t{8} << 20U);
        if (shape.isochronous) expect(shape.packets > 0);
        return std::make_unique<FuzzedTransfer>();
    }
    ErrorCode handleEvents(std::chrono::milliseconds /*atMost*/) override { return ErrorCode::gone; }

private:
    ErrorCode outcome() {
        constexpr std::uint8_t codes = static_cast<std::uint8_t>(ErrorCode::failed) + 1;
        const std::uint8_t choice =
            input_.isEmpty() ? static_cast<std::uint8_t>(ErrorCode::gone) : input_.byte();
        return choice < codes ? static_cast<ErrorCode>(choice) : ErrorCode::none;
    }

    FuzzInput& input_;
};

} // namespace tavelo::fuzz
