// SPDX-License-Identifier: MIT
// What the USB bus knows of its cameras without asking them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavelo {

/// One camera on the bus, as its descriptors describe it.  A device with several video functions (a colour
/// and an infrared camera, say) has a record for each.
struct BusProberDevice {
    std::uint32_t locationID = 0;
    /// The number of the function's video-control interface; nothing if the descriptors do not tell.
    std::optional<std::uint8_t> controlInterface;
    /// Entity identifiers; -1 where the descriptors do not tell.
    std::int32_t terminalID = -1;
    std::int32_t unitID = -1;
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

/// Told when the bus changed.
class BusProberDelegate {
public:
    virtual ~BusProberDelegate() = default;

    /// Called on the prober's own thread.
    virtual void busProberInformationDidChange() = 0;
};

/// Lists the cameras of the USB bus.  Thread-bound to the main thread except the delegate's call.
class BusProber {
public:
    virtual ~BusProber() = default;

    /// Rescans the bus; devicesArray() is new afterwards.  Records handed out before stay valid.
    /// @param notify whether the delegate is told of a change that this scan finds
    virtual void refreshData(bool notify) = 0;

    /// The functions of one device stand together, in the order of its descriptors.
    virtual const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const = 0;
};

} // namespace tavelo
