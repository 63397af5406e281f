// SPDX-License-Identifier: MIT
// A USB device to be inspected: scripted answers, and a record of the questions.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/usb_interface.h"

namespace tavelo::testing {

/// What the device answers and was asked; outlives it.
struct InspectedDevice {
    using Key = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>; // entity, selector, bRequest

    std::optional<UsbDeviceFacts> facts;
    std::uint32_t location = 0x14200000;
    bool opens = true;
    std::map<Key, RawAnswer> answers; ///< what is missing stalls
    AnswerSource source = AnswerSource::camera;
    DriverView driver; ///< for every control
    std::vector<RawQuestion> questions;
    std::vector<std::uint8_t> opened; ///< interfaces

    std::size_t asked(std::uint8_t entity, std::uint8_t selector) const {
        std::size_t count = 0;
        for (const RawQuestion& question : questions)
            count += question.entity == entity && question.selector == selector ? 1U : 0U;
        return count;
    }
};

class FakeInspectedDevice final : public UsbDevice {
public:
    explicit FakeInspectedDevice(InspectedDevice& device) : device_(device) {}

    bool CreatePlugInInterface() override { return true; }
    bool QueryInterface() override { return true; }
    std::uint32_t GetLocationID() const override { return device_.location; }
    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& /*match*/) override {
        return std::nullopt;
    }
    std::shared_ptr<UsbInterface> openInterface(std::uint8_t /*number*/) override { return nullptr; }
    std::optional<UsbDeviceFacts> facts() override { return device_.facts; }
    std::unique_ptr<CameraInspector> openInspector(std::uint8_t number) override {
        device_.opened.push_back(number);
        if (!device_.opens) return nullptr;
        return std::make_unique<Inspector>(device_);
    }

private:
    class Inspector final : public CameraInspector {
    public:
        explicit Inspector(InspectedDevice& device) : device_(device) {}

        RawAnswer ask(const RawQuestion& question) override {
            device_.questions.push_back(question);
            const auto found = device_.answers.find({question.entity, question.selector, question.bRequest});
            return found != device_.answers.end() ? found->second : RawAnswer{AnswerKind::stalled, {}};
        }
        AnswerSource sourceOf(std::uint8_t /*entity*/) const override { return device_.source; }
        DriverView driverView(std::uint8_t /*entity*/, std::uint8_t /*selector*/) override {
            return device_.driver;
        }
        std::string transport() const override { return "usb"; }
        std::string node() const override { return "/dev/video7"; }

    private:
        InspectedDevice& device_;
    };

    InspectedDevice& device_;
};

} // namespace tavelo::testing
