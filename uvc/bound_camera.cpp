// SPDX-License-Identifier: MIT
#include "uvc/bound_camera.h"

#include "uvc/kt_uvc_manager.h"

namespace tavelo {

BoundCamera::BoundCamera(KTUVCManager& manager) : manager_(&manager), identity_(manager.bindingIdentity()) {}

bool BoundCamera::isCurrent() const {
    return manager_->bindingIdentity() == identity_;
}

ErrorCode BoundCamera::failure() const {
    const CameraBinding binding = manager_->binding_.get();
    return binding.identity == identity_ ? binding.failure : ErrorCode::gone;
}

bool BoundCamera::openInterfaceAgain() const {
    return manager_->openInterfaceOf(identity_);
}

void BoundCamera::setControlWithComplitionHandle(KTUVCControl control, std::int64_t value,
                                                 const std::function<void(bool success)>& handle) const {
    const bool success = manager_->setControl(controlRow(control), value, identity_);
    if (handle) handle(success);
}

bool BoundCamera::setBytesSizedToUnitSelector(const std::uint8_t* bytes, std::size_t size, std::int32_t unit,
                                              std::int32_t selector) const {
    const CameraBinding binding = manager_->binding_.get();
    return binding.identity == identity_ && manager_->writeBytes(binding, bytes, size, unit, selector);
}

void BoundCamera::populateParam(const KTUVCParameters& record) const {
    const CameraBinding binding = manager_->binding_.get();
    if (binding.identity == identity_) manager_->readCurrent(binding, record);
}

ControlRefresh BoundCamera::refreshControl(KTUVCControl control) const {
    return manager_->refresh(controlRow(control), identity_);
}

} // namespace tavelo
