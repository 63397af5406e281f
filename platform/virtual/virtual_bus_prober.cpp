// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_bus_prober.h"

#include <utility>

#include "platform/uvc/descriptors.h"

namespace tavelo {

VirtualBusProber::VirtualBusProber(std::shared_ptr<VirtualBus> bus, BusProberDelegate* delegate)
    : bus_(std::move(bus)),
      delegate_(delegate),
      queue_("tavelo.virtualBusProber") {
    bus_->addListener(this);
}

VirtualBusProber::~VirtualBusProber() {
    bus_->removeListener(this);
}

void VirtualBusProber::refreshData(bool notify) {
    auto cameras = bus_->cameras();
    const bool changed = cameras != cameras_;
    std::vector<std::shared_ptr<const BusProberDevice>> devices;
    for (const auto& camera : cameras) {
        BusProberDevice device =
            probeDescriptors(camera->deviceDescriptor(), camera->configurationDescriptor());
        device.locationID = camera->model().locationID;
        device.name = camera->model().product;
        devices.push_back(std::make_shared<const BusProberDevice>(std::move(device)));
    }
    devices_ = std::move(devices);
    cameras_ = std::move(cameras);
    if (changed && notify) tellDelegate();
}

void VirtualBusProber::tellDelegate() {
    if (delegate_ == nullptr) return;
    queue_.async([delegate = delegate_] { delegate->busProberInformationDidChange(); });
}

} // namespace tavelo
