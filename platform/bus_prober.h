// SPDX-License-Identifier: MIT
// The cameras on the USB bus, as their descriptors describe them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/extension_unit.h"

namespace tavelo {

/// A camera on the bus.  A device with several video functions (such as a colour and an infrared camera) has
/// one record for each.
struct BusProberDevice {
    std::uint32_t locationID = 0;
    /// The number of the function's video-control interface; absent if the descriptors do not say.
    std::optional<std::uint8_t> controlInterface;
    /// Entity identifiers; -1 if the descriptors do not say.
    std::int32_t terminalID = -1;
    std::int32_t unitID = -1;
    std::vector<ExtensionUnit> extensionUnits; ///< no identifier twice
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::string name; ///< the product string, or empty

    bool supportScanningMode = false;
    bool supportAutoExposureMode = false;
    bool supportAutoExposurePriority = false;
    bool supportExposureTime = false;
    bool supportIris = false;
    bool supportAutoFocus = false;
    bool supportFocus = false;
    bool supportZoom = false;
    bool supportPan = false;
    bool supportTilt = false;
    bool supportRoll = false;
    bool supportBacklight = false;
    bool supportBright = false;
    bool supportContrast = false;
    bool supportGain = false;
    bool supportPowerLine = false;
    bool supportAutoHue = false;
    bool supportHue = false;
    bool supportSaturation = false;
    bool supportSharpness = false;
    bool supportGamma = false;
    bool supportAutoWhiteBalance = false;
    bool supportWhiteBalance = false;

    friend bool operator==(const BusProberDevice&, const BusProberDevice&) = default;
};

/// Notified when the bus changes.
class BusProberDelegate {
public:
    virtual ~BusProberDelegate() = default;

    /// Called on the prober's own thread.
    virtual void busProberInformationDidChange() = 0;
};

/// Lists the cameras on the USB bus.  Main thread only, except for the delegate's call.
class BusProber {
public:
    virtual ~BusProber() = default;

    /// Rescans the bus and rebuilds devicesArray().  Records handed out before stay valid.
    /// @param notify whether to notify the delegate if this scan finds a change
    virtual void refreshData(bool notify) = 0;

    /// Functions of one device are adjacent, in the order of its descriptors.
    virtual const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const = 0;
};

} // namespace tavelo
