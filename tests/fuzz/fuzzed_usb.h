// SPDX-License-Identifier: MIT
// A bus with one camera, whose interface answers with a fuzz target's input.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "fuzz_input.h"
#include "platform/usb_platform.h"

namespace tavelo::fuzz {

/// Each request takes its answer from the input: a byte for the outcome, for a read a byte for the length,
/// and the answer's bytes.  An answer may be shorter or longer than what was asked for.
class FuzzedInterface final : public UsbInterface {
public:
    explicit FuzzedInterface(FuzzInput& input) : input_(input) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        if (closed_) return ErrorCode::closed;
        constexpr std::uint8_t outcomes = 64; // most answers are no failure
        const std::uint8_t outcome = input_.byte() % outcomes;
        const bool reads = (request.bmRequestType & 0x80U) != 0;
        if (reads) request.bytesDone = input_.byte();
        const auto bytes =
            input_.bytes(std::min<std::size_t>(request.wLength, reads                ? request.bytesDone
                                                                : isRounded(outcome) ? request.wLength
                                                                                     : 0));
        std::ranges::copy(bytes, request.payload().begin());
        if (!reads) request.bytesDone = request.wLength;
        return outcome < codes ? static_cast<ErrorCode>(outcome) : ErrorCode::none;
    }
    void USBInterfaceClose() override { closed_ = true; }
    std::uint8_t GetInterfaceNumber() const override { return 0; }

private:
    static constexpr std::uint8_t codes = static_cast<std::uint8_t>(ErrorCode::failed) + 1;
    /// Whether the transport says what the camera took.
    static bool isRounded(std::uint8_t outcome) { return outcome >= codes && outcome % 2 == 0; }

    FuzzInput& input_;
    bool closed_ = false;
};

/// Opens the camera's interface.
using OpenInterface = std::function<std::shared_ptr<UsbInterface>()>;

class FuzzedDevice final : public UsbDevice {
public:
    FuzzedDevice(const OpenInterface& open, std::uint32_t location) : open_(open), location_(location) {}

    bool CreatePlugInInterface() override { return true; }
    bool QueryInterface() override { return true; }
    std::uint32_t GetLocationID() const override { return location_; }
    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& /*match*/) override {
        return std::vector<std::uint8_t>{0};
    }
    std::shared_ptr<UsbInterface> openInterface(std::uint8_t /*number*/) override { return open_(); }
    std::optional<UsbDeviceFacts> facts() override { return std::nullopt; }
    std::unique_ptr<CameraInspector> openInspector(std::uint8_t /*number*/) override { return nullptr; }

private:
    const OpenInterface& open_;
    const std::uint32_t location_;
};

class FuzzedPlatform final : public UsbPlatform {
public:
    FuzzedPlatform(OpenInterface open, BusProberDevice record)
        : open_(std::move(open)),
          record_(std::make_shared<const BusProberDevice>(std::move(record))) {}

    std::unique_ptr<BusProber> initBusProber(int /*scope*/, BusProberDelegate* /*delegate*/) override {
        return std::make_unique<Prober>(record_);
    }
    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        std::vector<std::unique_ptr<UsbDevice>> devices;
        devices.push_back(std::make_unique<FuzzedDevice>(open_, record_->locationID));
        return devices;
    }

private:
    class Prober final : public BusProber {
    public:
        explicit Prober(std::shared_ptr<const BusProberDevice> record) : records_{std::move(record)} {}
        void refreshData(bool /*notify*/) override {}
        const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const override {
            return records_;
        }

    private:
        const std::vector<std::shared_ptr<const BusProberDevice>> records_;
    };

    const OpenInterface open_;
    const std::shared_ptr<const BusProberDevice> record_;
};

} // namespace tavelo::fuzz
