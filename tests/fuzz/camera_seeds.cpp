// SPDX-License-Identifier: MIT
// What virtual cameras answer, written down as the targets read it.
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "platform/linux/usb/stream/uvc_probe.h"
#include "platform/virtual/backend.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "probe/camera_probe.h"
#include "seed_files.h"
#include "support/manual_main_queue.h"
#include "support/wrapped_usb_device.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo::fuzz {
namespace {

namespace fs = std::filesystem;

// The outcome of a request that did not fail, which no fault shares.
constexpr std::uint8_t success = 63;

void appendAnswer(Bytes& told, std::span<const std::uint8_t> bytes) {
    told.push_back(success);
    told.push_back(static_cast<std::uint8_t>(bytes.size()));
    told.insert(told.end(), bytes.begin(), bytes.end());
}

class RecordingInterface final : public UsbInterface {
public:
    RecordingInterface(std::shared_ptr<UsbInterface> camera, Bytes& told)
        : camera_(std::move(camera)),
          told_(told) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        const ErrorCode code = camera_->ControlRequest(request);
        if ((request.bmRequestType & 0x80U) != 0)
            appendAnswer(told_, request.payload().first(request.bytesDone));
        else
            told_.push_back(success);
        return code;
    }
    void USBInterfaceClose() override { camera_->USBInterfaceClose(); }
    std::uint8_t GetInterfaceNumber() const override { return camera_->GetInterfaceNumber(); }

private:
    const std::shared_ptr<UsbInterface> camera_;
    Bytes& told_;
};

class RecordingInspector final : public CameraInspector {
public:
    RecordingInspector(std::unique_ptr<CameraInspector> camera, Bytes& told)
        : camera_(std::move(camera)),
          told_(told) {}

    RawAnswer ask(const RawQuestion& question) override {
        RawAnswer answer = camera_->ask(question);
        if (answer.kind == AnswerKind::answered)
            appendAnswer(told_, answer.bytes);
        else
            told_.insert(told_.end(), {0, 0}); // stalled
        return answer;
    }
    AnswerSource sourceOf(std::uint8_t entity) const override { return camera_->sourceOf(entity); }
    DriverView driverView(std::uint8_t /*entity*/, std::uint8_t /*selector*/) override {
        told_.insert(told_.end(), {2, 0}); // not asked
        return {};
    }
    std::string transport() const override { return camera_->transport(); }
    std::string node() const override { return camera_->node(); }

private:
    const std::unique_ptr<CameraInspector> camera_;
    Bytes& told_;
};

testing::UsbWrapping recordingTo(Bytes& told) {
    return {.interface =
                [&told](std::shared_ptr<UsbInterface> camera) {
                    return std::make_shared<RecordingInterface>(std::move(camera), told);
                },
            .inspector =
                [&told](std::unique_ptr<CameraInspector> camera) {
                    return std::make_unique<RecordingInspector>(std::move(camera), told);
                }};
}

class RecordingPlatform final : public UsbPlatform {
public:
    RecordingPlatform(UsbPlatform& platform, Bytes& told) : platform_(platform), told_(told) {}

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override {
        return platform_.initBusProber(scope, delegate);
    }
    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        return testing::wrapped(platform_.listDevices(), recordingTo(told_));
    }

private:
    UsbPlatform& platform_;
    Bytes& told_;
};

// Bound, then everything is done once.
void writeReplies(const fs::path& folder, UsbPlatform& cameras, std::uint32_t location) {
    Bytes told{1}; // the descriptors list every control
    RecordingPlatform recording(cameras, told);
    KTUVCManager manager(KTUVCEnvironment{.usb = &recording});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    manager.refreshDataWithLocationID({{location, location, location}});
    writeSeed(folder / "bound", told);
    const Bytes bound = told;
    told.push_back(2);
    manager.resetParamsToDefaults();
    told.push_back(3);
    manager.sendParamsToDevice();
    told.push_back(7);
    writeSeed(folder / "written", told);
    // The control of an extension unit: length, abilities and five values.
    Bytes unit{1};
    unit.insert(unit.end(), bound.begin() + 1, bound.end());
    unit.push_back(5);
    appendAnswer(unit, Bytes{9, 0});
    appendAnswer(unit, Bytes{3});
    for (int i = 0; i < 5; ++i)
        appendAnswer(unit, Bytes(9, 0x55));
    writeSeed(folder / "unit", unit);
    // The same over raw USB, and a driver that says nothing but zeros.
    unit.front() = 4 + 1;
    writeSeed(folder / "usb", unit);
    Bytes zeros(1024);
    for (std::size_t i = 0; i < zeros.size(); i += 20)
        zeros[i] = 0xFF;
    zeros.insert(zeros.begin(), 8 + 1);
    writeSeed(folder / "driver", zeros);
}

void writeProbe(const fs::path& file, UsbPlatform& cameras) {
    Bytes told;
    testing::WrappedUsbDevice device(std::move(cameras.listDevices().front()), recordingTo(told));
    Error error;
    static_cast<void>(probeCamera(device, std::nullopt, {"1.0", "6.1.0"}, error));
    const UsbDeviceFacts facts = device.facts().value_or(UsbDeviceFacts());
    Bytes input;
    appendNumber(
        input,
        static_cast<std::uint32_t>(facts.descriptors.device.size() + facts.descriptors.configuration.size()),
        2);
    input.insert(input.end(), facts.descriptors.device.begin(), facts.descriptors.device.end());
    input.insert(input.end(), facts.descriptors.configuration.begin(), facts.descriptors.configuration.end());
    appendText(input, facts.product);
    input.insert(input.end(), told.begin(), told.end());
    writeSeed(file, input);
}

// The camera takes the first proposal.
void writeNegotiation(const fs::path& file, VirtualCameraModel model, StreamTransport transport) {
    model.transport = transport;
    const Bytes device = makeDeviceDescriptor(model);
    const Bytes configuration = makeConfigurationDescriptor(model);
    Bytes input;
    appendNumber(input, static_cast<std::uint32_t>(device.size() + configuration.size()), 2);
    input.insert(input.end(), device.begin(), device.end());
    input.insert(input.end(), configuration.begin(), configuration.end());
    input.insert(input.end(), {success, success}); // alternate setting 0, the proposal
    UvcProbe probe(0x0110);
    probe.setFrame(1, 1);
    probe.setFrameInterval(333'333);
    appendAnswer(input, probe.bytes());
    input.insert(input.end(), {success, success, success}); // commit, alternate setting, the end
    writeSeed(file, input);
}

} // namespace

void writeCameraSeeds(const fs::path& folder) {
    testing::ManualMainQueue mainQueue;
    const VirtualBackend backend = makeVirtualBackend(1, {}, mainQueue);
    const VirtualCameraModel& model = backend.bus->camera(1)->model();
    writeReplies(folder / "replies", *backend.usb, model.locationID);
    writeProbe(folder / "answers/virtual", *backend.usb);
    writeNegotiation(folder / "negotiations/isochronous", model, StreamTransport::isochronous);
    writeNegotiation(folder / "negotiations/bulk", model, StreamTransport::bulk);
}

} // namespace tavelo::fuzz
