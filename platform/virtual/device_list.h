// SPDX-License-Identifier: MIT
// The capture half of the virtual backend.
#pragma once

#include <memory>

#include "platform/common/capture_device_list.h"
#include "platform/common/listed_capture_platform.h"
#include "platform/main_queue.h"
#include "platform/virtual/virtual_bus.h"

namespace tavelo {

/// Lists the cameras on the bus as of the last change reported to the observers.
class VirtualCapturePlatform final
    : public ListedCapturePlatform<CaptureDeviceList<std::shared_ptr<VirtualCameraFirmware>>>,
      private VirtualBusListener {
public:
    /// @param mainQueue must outlive this
    VirtualCapturePlatform(std::shared_ptr<VirtualBus> bus, MainQueue& mainQueue,
                           CaptureFormatRequest format);
    ~VirtualCapturePlatform() override;

    VirtualCapturePlatform(const VirtualCapturePlatform&) = delete;
    VirtualCapturePlatform& operator=(const VirtualCapturePlatform&) = delete;

private:
    void virtualBusDidChange() override;
    void readBus();

    const std::shared_ptr<VirtualBus> bus_;
    MainQueue& mainQueue_;
    const std::shared_ptr<const bool> alive_ =
        std::make_shared<const bool>(true); // lets late tasks see that this is gone
};

} // namespace tavelo
