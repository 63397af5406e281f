// SPDX-License-Identifier: MIT
// The capture half of the virtual backend.
#pragma once

#include <memory>
#include <vector>

#include "platform/capture.h"
#include "platform/common/capture_device_list.h"
#include "platform/main_queue.h"
#include "platform/virtual/virtual_bus.h"

namespace tavelo {

/// Lists the cameras on the bus as of the last change reported to the observers.
class VirtualCapturePlatform final : public CapturePlatform, private VirtualBusListener {
public:
    /// @param mainQueue must outlive this
    VirtualCapturePlatform(std::shared_ptr<VirtualBus> bus, MainQueue& mainQueue,
                           CaptureFormatRequest format);
    ~VirtualCapturePlatform() override;

    VirtualCapturePlatform(const VirtualCapturePlatform&) = delete;
    VirtualCapturePlatform& operator=(const VirtualCapturePlatform&) = delete;

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override;
    std::unique_ptr<CaptureSession> makeSession() override;
    void addObserver(CaptureDeviceObserver* observer) override;
    void removeObserver(CaptureDeviceObserver* observer) override;

private:
    void virtualBusDidChange() override;
    void readBus();

    const std::shared_ptr<VirtualBus> bus_;
    MainQueue& mainQueue_;
    CaptureDeviceList<std::shared_ptr<VirtualCameraFirmware>> list_;
    const std::shared_ptr<const bool> alive_ =
        std::make_shared<const bool>(true); // lets late tasks see that this is gone
};

} // namespace tavelo
