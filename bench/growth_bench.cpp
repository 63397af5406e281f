// SPDX-License-Identifier: MIT
// How the time of what happens at the start grows: with the camera's answer time, with the devices on the
// bus, with the cameras among them.  The devices are a folder tree like the kernel's sysfs, so all of them
// are in the page cache.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fake_sysfs.h"
#include "fake_video_nodes.h"
#include "platform/linux/bus/sysfs_bus_prober.h"
#include "platform/linux/v4l2/video_nodes.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "support/bound_virtual_camera.h"

namespace tavelo {
namespace {

/// A camera that answers each request after the same time.
class SlowInterface final : public UsbInterface {
public:
    SlowInterface(std::shared_ptr<UsbInterface> camera, std::chrono::microseconds answerTime)
        : camera_(std::move(camera)),
          answerTime_(answerTime) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        ++requests_;
        // Not a sleep, which ends some 60 microseconds late.
        for (const auto end = std::chrono::steady_clock::now() + answerTime_;
             std::chrono::steady_clock::now() < end;) {
        }
        return camera_->ControlRequest(request);
    }
    void USBInterfaceClose() override { camera_->USBInterfaceClose(); }
    std::uint8_t GetInterfaceNumber() const override { return camera_->GetInterfaceNumber(); }

    std::int64_t requests() const { return requests_; }

private:
    const std::shared_ptr<UsbInterface> camera_;
    const std::chrono::microseconds answerTime_;
    std::int64_t requests_ = 0;
};

void binding(benchmark::State& state) {
    testing::BoundVirtualCamera bound;
    const auto camera =
        std::make_shared<SlowInterface>(bound.manager.interface(), std::chrono::microseconds(state.range(0)));
    bound.manager.setInterface(camera);
    for (auto _ : state)
        bound.manager.generalInit();
    state.counters["requests"] = static_cast<double>(camera->requests() / state.iterations());
}
BENCHMARK(binding)->ArgName("answer_us")->Arg(0)->Arg(125)->Arg(250)->Arg(500)->Arg(1000)->Arg(2000);

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t capturesAndStreams = 0x0400'0001; // the kernel's capabilities of a node

/// A device of the class "vendor specific" with one interface: a keyboard is no larger.
Bytes descriptorsOfNoCamera() {
    return {18, 1, 0,  2, 0, 0, 0, 64,   0x6D, 0x04, 0x01, 0, 0, 1, 0,    0, 0, 1,
            9,  2, 18, 0, 1, 1, 0, 0x80, 50,   9,    4,    0, 0, 0, 0xFF, 0, 0, 0};
}

Bytes descriptorsOfCamera() {
    const VirtualCameraModel model = virtualCameraModel(1);
    Bytes bytes = makeDeviceDescriptor(model);
    const Bytes configuration = makeConfigurationDescriptor(model);
    bytes.insert(bytes.end(), configuration.begin(), configuration.end());
    return bytes;
}

/// As many devices as one bus has room for: up to 127.
class Bus {
public:
    Bus() { tree.addRootHub("pci0000:00/0000:00:14.0", 1); }

    std::string plug(const Bytes& descriptors) {
        const std::string name = "1-" + std::to_string(++devices_);
        tree.addDevice({.name = name, .descriptors = descriptors, .deviceNumber = devices_});
        return name;
    }
    void plugCamera() {
        const std::string node = "video" + std::to_string(devices_);
        tree.addVideoNode(plug(descriptorsOfCamera()) + ":1.0", node, 0);
        opener->capabilities(node, capturesAndStreams);
    }

    test::FakeSysfs tree;
    std::shared_ptr<FakeNodeOpener> opener = std::make_shared<FakeNodeOpener>();

private:
    int devices_ = 0;
};

void probing(benchmark::State& state) {
    Bus bus;
    bus.plugCamera();
    for (std::int64_t number = 1; number < state.range(0); ++number)
        bus.plug(descriptorsOfNoCamera());
    for (auto _ : state) {
        SysfsBusProber prober(nullptr, bus.tree.root(), nullptr);
        prober.refreshData(false);
        if (prober.devicesArray().size() != 1) state.SkipWithError("the camera was not found");
    }
}
BENCHMARK(probing)->ArgName("devices")->Arg(1)->Arg(16)->Arg(32)->Arg(64)->Arg(96)->Arg(127);

void listing(benchmark::State& state) {
    Bus bus;
    for (std::int64_t number = 0; number < state.range(0); ++number)
        bus.plugCamera();
    for (auto _ : state) {
        SysfsBusProber prober(nullptr, bus.tree.root(), nullptr);
        prober.refreshData(false);
        VideoNodeScanner scanner(bus.tree.root(), bus.opener);
        const std::size_t found = scanner.scan().size();
        if (std::cmp_not_equal(found, state.range(0)) || prober.devicesArray().size() != found)
            state.SkipWithError("a camera was not found");
    }
}
BENCHMARK(listing)->ArgName("cameras")->Arg(1)->Arg(4)->Arg(8)->Arg(12)->Arg(16);

} // namespace
} // namespace tavelo

BENCHMARK_MAIN();
