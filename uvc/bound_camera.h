// SPDX-License-Identifier: MIT
// One binding of a manager, for work that takes longer than one call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/usb_interface.h"
#include "uvc/camera_binding.h"
#include "uvc/control_table.h"

namespace tavelo {

class KTUVCManager;
class KTUVCParameters;

/// What came of reading a control anew.
enum class ControlRefresh : std::uint8_t {
    same,
    changed,   ///< the record holds another value now
    overtaken, ///< this program wrote the control meanwhile: the record keeps that; ask again if in doubt
    failed,    ///< no answer, no such control, or another binding; the record keeps its value
};

/// The camera that a manager is bound to when this is made.
///
/// Once the manager is bound again every operation fails: nothing is sent and no record changes.
/// Thread-safe; the manager must outlive it.
class BoundCamera {
public:
    explicit BoundCamera(KTUVCManager& manager);

    BindingIdentity identity() const { return identity_; }
    /// Whether the manager still has this binding.
    bool isCurrent() const;

    /// Why the interface was closed; none while it is open, gone once the manager is bound again.
    ErrorCode failure() const;
    /// Reopens the interface if a failed request closed it; sends nothing.
    /// @return whether requests can be sent again
    bool openInterfaceAgain() const;

    /// Same as the operations of KTUVCManager with these names.
    void setControlWithComplitionHandle(KTUVCControl control, std::int64_t value,
                                        const std::function<void(bool success)>& handle) const;
    bool setBytesSizedToUnitSelector(const std::uint8_t* bytes, std::size_t size, std::int32_t unit,
                                     std::int32_t selector) const;
    void populateParam(const KTUVCParameters& record) const;
    ControlRefresh refreshControl(KTUVCControl control) const;

private:
    KTUVCManager* manager_;
    BindingIdentity identity_;
};

} // namespace tavelo
