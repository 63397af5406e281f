// SPDX-License-Identifier: MIT
// What a camera and its driver answer when everything is asked of it; the report, the pack, and the virtual
// camera that are made of the answers.
//
// Input: two bytes of the descriptors' length, the descriptors (18 bytes of the device's first), a product
// string that ends with a zero byte, then the answers: a byte for the outcome, one for the length, and the
// bytes.
#include <array>
#include <memory>
#include <string>
#include <utility>

#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "platform/uvc/camera_record.h"
#include "platform/virtual/firmware/recorded_model.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "platform/virtual/usbip/gadget_layout.h"
#include "probe/camera_probe.h"
#include "probe/json/pack.h"
#include "probe/json/report_json.h"
#include "probe/report_text.h"

namespace {

using tavelo::AnswerKind;
using tavelo::fuzz::expect;
using tavelo::fuzz::FuzzInput;

constexpr std::size_t deviceDescriptorSize = 18;

class FuzzedInspector final : public tavelo::CameraInspector {
public:
    explicit FuzzedInspector(FuzzInput& input) : input_(input) {}

    tavelo::RawAnswer ask(const tavelo::RawQuestion& question) override {
        const AnswerKind kind = outcome();
        const auto bytes = input_.bytes(std::min<std::size_t>(input_.byte(), question.wLength));
        if (kind != AnswerKind::answered) return {kind, {}};
        return {kind, {bytes.begin(), bytes.end()}};
    }
    tavelo::AnswerSource sourceOf(std::uint8_t entity) const override {
        return entity % 2 == 0 ? tavelo::AnswerSource::camera : tavelo::AnswerSource::driver;
    }
    tavelo::DriverView driverView(std::uint8_t /*entity*/, std::uint8_t /*selector*/) override {
        tavelo::DriverView view{outcome(), {}};
        const int count = input_.byte() % 3;
        for (int left = view.kind == AnswerKind::answered ? count : 0; left > 0; --left)
            view.controls.push_back({input_.number(), "Control", static_cast<std::int32_t>(input_.number()),
                                     static_cast<std::int32_t>(input_.number()),
                                     static_cast<std::int32_t>(input_.number()),
                                     static_cast<std::int32_t>(input_.number()), input_.number()});
        return view;
    }
    std::string transport() const override { return "kernel"; }
    std::string node() const override { return "/dev/video0"; }

private:
    // Mostly answers: after a few silences a camera is asked no more.
    AnswerKind outcome() {
        constexpr std::array rest{AnswerKind::stalled, AnswerKind::timedOut, AnswerKind::notAsked,
                                  AnswerKind::failed, AnswerKind::gone};
        const std::uint8_t choice = input_.byte();
        return choice < rest.size() ? rest.at(choice) : AnswerKind::answered;
    }

    FuzzInput& input_;
};

class FuzzedDevice final : public tavelo::UsbDevice {
public:
    explicit FuzzedDevice(FuzzInput& input) : input_(input) {
        const std::size_t size = input_.number(2);
        const auto device = input_.bytes(std::min(size, deviceDescriptorSize));
        const auto configuration = input_.bytes(size - device.size());
        facts_.descriptors = {{device.begin(), device.end()}, {configuration.begin(), configuration.end()}};
        facts_.product = input_.text();
        facts_.speed = 480;
    }

    bool CreatePlugInInterface() override { return true; }
    bool QueryInterface() override { return true; }
    std::uint32_t GetLocationID() const override { return 0x14200000; }
    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const tavelo::UsbInterfaceMatch& /*match*/) override {
        return std::nullopt;
    }
    std::shared_ptr<tavelo::UsbInterface> openInterface(std::uint8_t /*number*/) override { return nullptr; }
    std::optional<tavelo::UsbDeviceFacts> facts() override { return facts_; }
    std::unique_ptr<tavelo::CameraInspector> openInspector(std::uint8_t /*number*/) override {
        return std::make_unique<FuzzedInspector>(input_);
    }

private:
    FuzzInput& input_;
    tavelo::UsbDeviceFacts facts_;
};

// Every class request of a host to the camera that is like the recorded one.
void askLikeAHost(const tavelo::CameraRecord& record) {
    tavelo::Error error;
    auto model = tavelo::modelLike(record, 1, error);
    expect(model.has_value() == error.text.empty());
    if (!model) return;
    tavelo::VirtualCameraFirmware camera(std::move(*model));
    for (const tavelo::UsbSetup setup : {tavelo::UsbSetup{0x00, 9, 1, 0, 0},
                                         {0x80, 6, 0x0100, 0, 18},
                                         {0x80, 6, 0x0200, 0, 512},
                                         {0x80, 6, 0x0302, 0, 255}})
        camera.control(setup, {});
    const std::vector<std::uint8_t> written(8, 1);
    for (const tavelo::ControlRecord& control : record.controls) {
        const auto value = static_cast<std::uint16_t>(control.selector << 8U);
        const auto index = static_cast<std::uint16_t>(control.entity << 8U | record.controlInterface);
        for (const tavelo::UvcRequest read : tavelo::controlReads) {
            const auto reply = camera.control({0xA1, tavelo::codeOf(read), value, index, 8}, {});
            expect(reply.data.size() <= 8);
        }
        camera.control({0x21, tavelo::codeOf(tavelo::UvcRequest::setCur), value, index, 8}, written);
    }
    static_cast<void>(camera.pictureSettings());
    const auto layout = tavelo::usbip::layoutOf(camera.configurationDescriptor());
    for (const tavelo::usbip::Endpoint& endpoint : layout.endpoints)
        expect(layout.find(endpoint.address).has_value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    FuzzedDevice device(input);
    tavelo::Error error;
    const auto record = tavelo::probeCamera(device, std::nullopt, {"1.0", "6.1.0"}, error);
    if (!record) {
        expect(!error.text.empty());
        return 0;
    }
    expect(record->controls.size() <= tavelo::mostControlRecords);
    // Each takes its time, so that an input goes one of two ways.
    if (size % 2 == 0) {
        expect(!tavelo::reportText(*record).empty() && !tavelo::reportJson(*record).empty());
        return 0;
    }
    // Whatever a camera says, its pack can be read again.
    const auto again = tavelo::readPack(tavelo::writePack(*record), error);
    expect(again.has_value() && again->controls == record->controls &&
           again->descriptors == record->descriptors);
    askLikeAHost(*again);
    return 0;
}
