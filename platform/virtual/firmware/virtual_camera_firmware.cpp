// SPDX-License-Identifier: MIT
#include "platform/virtual/firmware/virtual_camera_firmware.h"

#include <algorithm>
#include <utility>

#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/control_bank.h"
#include "platform/virtual/firmware/recorded_controls.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"

namespace tavelo {
namespace {

bool isRead(const UsbSetup& setup) {
    return (setup.bmRequestType & uvc::directionIn) != 0;
}

bool concerns(const FirmwareFault& fault, ControlAddress address, const UsbSetup& setup) {
    if (fault.control && *fault.control != address) return false;
    if (fault.request && *fault.request != static_cast<UvcRequest>(setup.bRequest)) return false;
    if (fault.direction == FaultDirection::both) return true;
    return isRead(setup) == (fault.direction == FaultDirection::reads);
}

} // namespace

VirtualCameraFirmware::VirtualCameraFirmware(VirtualCameraModel model)
    : model_(std::move(model)),
      deviceDescriptor_(makeDeviceDescriptor(model_)),
      configurationDescriptor_(makeConfigurationDescriptor(model_)),
      controls_(makeControls(model_)),
      negotiation_(model_) {}

VirtualCameraFirmware::~VirtualCameraFirmware() = default;

std::unique_ptr<FirmwareControls> VirtualCameraFirmware::makeControls(const VirtualCameraModel& model) {
    if (model.recorded) return std::make_unique<RecordedControls>(model);
    return std::make_unique<ControlBank>(model);
}

UsbReply VirtualCameraFirmware::control(const UsbSetup& setup, std::span<const std::uint8_t> out,
                                        FirmwareHost host) {
    std::unique_lock lock(mutex_);
    Answer given = answer(setup, out, lock);
    RequestRecord record{setup, {}, given.reply.kind, given.errorCode};
    if (isRead(setup))
        record.data = given.reply.data;
    else
        record.data.assign(out.begin(), out.end());
    log_.push_back(record);
    if (log_.size() > rememberedRequests) log_.pop_front();
    lock.unlock();

    {
        const std::scoped_lock watching(observersMutex_);
        for (FirmwareObserver* observer : observers_)
            observer->requestAnswered(record);
    }
    if (given.set) tellSet(*given.set, host);
    return std::move(given.reply);
}

void VirtualCameraFirmware::tellSet(ControlAddress address, FirmwareHost host) {
    const std::uint8_t entity =
        address.entity == UvcEntity::cameraTerminal ? model_.terminalID : model_.unitID;
    const std::scoped_lock watching(observersMutex_);
    ChangedControl change{address, {}};
    {
        const std::scoped_lock lock(mutex_);
        change.value = controls_->read(entity, address.selector, UvcRequest::getCur).data;
    }
    for (FirmwareObserver* observer : observers_)
        observer->controlSet(change, host);
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answer(const UsbSetup& setup,
                                                            std::span<const std::uint8_t> out,
                                                            std::unique_lock<std::mutex>& lock) {
    if (vanished_) return silent();
    Answer given;
    switch (setup.bmRequestType & uvc::typeMask) {
        case 0:
            given = answerStandard(setup);
            break;
        case uvc::typeClass:
            given = answerClass(setup, out, lock);
            break;
        default:
            given = refused(0);
            break;
    }
    if (given.reply.data.size() > setup.wLength) given.reply.data.resize(setup.wLength);
    return given;
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::delivered(std::vector<std::uint8_t> data) {
    return {{UsbReplyKind::done, std::move(data)}, 0};
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::refused(std::uint8_t errorCode) {
    return {{UsbReplyKind::stall, {}}, errorCode};
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::silent() {
    return {{UsbReplyKind::silence, {}}, 0};
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerClass(const UsbSetup& setup,
                                                                 std::span<const std::uint8_t> out,
                                                                 std::unique_lock<std::mutex>& lock) {
    if ((setup.bmRequestType & uvc::recipientMask) != uvc::recipientInterface)
        return refused(uvc::errorInvalidRequest);
    const auto interface = static_cast<std::uint8_t>(setup.wIndex);
    const std::uint8_t entity = highByte(setup.wIndex);
    if (interface == model_.streamingInterface()) return answerStreaming(setup, out);
    if (interface != model_.controlInterface()) return refused(uvc::errorInvalidRequest);
    if (entity == 0) return answerErrorCode(setup);

    const std::uint8_t unreachable = controls_->entityError(entity);
    Answer given = unreachable != 0 ? refused(unreachable) : answerControl(setup, out, lock);
    if (given.reply.kind != UsbReplyKind::silence) errorCode_ = given.errorCode;
    return given;
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerControl(const UsbSetup& setup,
                                                                   std::span<const std::uint8_t> out,
                                                                   std::unique_lock<std::mutex>& lock) {
    const std::uint8_t entity = highByte(setup.wIndex);
    const std::uint8_t selector = highByte(setup.wValue);
    const auto request = static_cast<UvcRequest>(setup.bRequest);
    const std::optional<ControlAddress> address = controls_->addressOf(entity, selector);
    const auto fault = address ? orderedFault(*address, setup, lock) : std::nullopt;
    if (vanished_ || (fault && fault->kind == FaultKind::silence)) return silent();
    if (fault && fault->kind == FaultKind::stall) return refused(fault->errorCode);

    if (!isRead(setup) && request != UvcRequest::setCur) return refused(uvc::errorInvalidRequest);
    ControlResult result =
        isRead(setup) ? controls_->read(entity, selector, request) : controls_->write(entity, selector, out);
    if (fault) result.data.resize(std::min(result.data.size(), fault->length));
    return {{result.kind, std::move(result.data)}, result.errorCode, result.set};
}

// The fault that applies: silence before stall before short reply.  Waits for delays itself.
std::optional<FirmwareFault> VirtualCameraFirmware::orderedFault(ControlAddress address,
                                                                 const UsbSetup& setup,
                                                                 std::unique_lock<std::mutex>& lock) {
    std::chrono::milliseconds wait{0};
    for (const FirmwareFault& fault : faults_)
        if (fault.kind == FaultKind::delay && concerns(fault, address, setup)) wait += fault.wait;
    if (wait.count() > 0) {
        const std::uint64_t before = faultsCleared_;
        changed_.wait_for(lock, wait, [&] { return vanished_ || faultsCleared_ != before; });
    }
    for (const FaultKind kind : {FaultKind::silence, FaultKind::stall, FaultKind::shortReply})
        for (const FirmwareFault& fault : faults_)
            if (fault.kind == kind && concerns(fault, address, setup)) return fault;
    return std::nullopt;
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerErrorCode(const UsbSetup& setup) const {
    if (setup.wValue >> 8U != uvc::requestErrorCodeControl) return refused(uvc::errorInvalidControl);
    if (setup.bmRequestType != uvc::classInterfaceIn) return refused(uvc::errorInvalidRequest);
    const auto request = static_cast<UvcRequest>(setup.bRequest);
    if (request == UvcRequest::getCur) return delivered({errorCode_});
    if (request == UvcRequest::getInfo) return delivered({uvc::infoGet});
    return refused(uvc::errorInvalidRequest);
}

VirtualCameraFirmware::Answer VirtualCameraFirmware::answerStreaming(const UsbSetup& setup,
                                                                     std::span<const std::uint8_t> out) {
    const std::uint8_t selector = highByte(setup.wValue);
    const auto request = static_cast<UvcRequest>(setup.bRequest);
    if (isRead(setup)) {
        StreamNegotiation::Result result = negotiation_.read(selector, request);
        return result.errorCode == 0 ? delivered(std::move(result.data)) : refused(result.errorCode);
    }
    if (request != UvcRequest::setCur) return refused(uvc::errorInvalidRequest);
    const std::uint8_t code = negotiation_.write(selector, out).errorCode;
    if (code != 0) return refused(code);
    if (selector == uvc::commitControl && model_.transport == StreamTransport::bulk) bulkRunning_ = true;
    return delivered({});
}

std::optional<StreamFormat> VirtualCameraFirmware::committedFormat() const {
    const std::scoped_lock lock(mutex_);
    return negotiation_.committed();
}

bool VirtualCameraFirmware::streaming() const {
    const std::scoped_lock lock(mutex_);
    return !vanished_ && negotiation_.committed().has_value() && (bulkRunning_ || alternateSetting_ > 0);
}

std::uint8_t VirtualCameraFirmware::alternateSetting() const {
    const std::scoped_lock lock(mutex_);
    return alternateSetting_;
}

bool VirtualCameraFirmware::listsControl(std::uint8_t entityID, std::uint8_t selector) const {
    const std::scoped_lock lock(mutex_);
    return controls_->lists(entityID, selector);
}

std::optional<std::int64_t> VirtualCameraFirmware::controlValue(ControlAddress address) const {
    const std::scoped_lock lock(mutex_);
    return controls_->value(address);
}

bool VirtualCameraFirmware::setControlValue(ControlAddress address, std::int64_t value) {
    {
        const std::scoped_lock lock(mutex_);
        if (!controls_->setValue(address, value)) return false;
    }
    tellSet(address, 0);
    return true;
}

std::optional<ControlLimits> VirtualCameraFirmware::controlLimits(ControlAddress address) const {
    const std::scoped_lock lock(mutex_);
    return controls_->limits(address);
}

PictureSettings VirtualCameraFirmware::pictureSettings() const {
    const std::scoped_lock lock(mutex_);
    return controls_->pictureSettings();
}

void VirtualCameraFirmware::order(const FirmwareFault& fault) {
    const std::scoped_lock lock(mutex_);
    faults_.push_back(fault);
}

void VirtualCameraFirmware::clearFaults() {
    const std::scoped_lock lock(mutex_);
    faults_.clear();
    ++faultsCleared_;
    changed_.notify_all();
}

void VirtualCameraFirmware::vanish() {
    {
        const std::scoped_lock lock(mutex_);
        if (std::exchange(vanished_, true)) return;
        changed_.notify_all();
    }
    const std::scoped_lock watching(observersMutex_);
    for (FirmwareObserver* observer : observers_)
        observer->vanished();
}

bool VirtualCameraFirmware::present() const {
    const std::scoped_lock lock(mutex_);
    return !vanished_;
}

std::vector<RequestRecord> VirtualCameraFirmware::requestLog() const {
    const std::scoped_lock lock(mutex_);
    return {log_.begin(), log_.end()};
}

void VirtualCameraFirmware::clearRequestLog() {
    const std::scoped_lock lock(mutex_);
    log_.clear();
}

void VirtualCameraFirmware::addObserver(FirmwareObserver* observer) {
    const std::scoped_lock lock(observersMutex_);
    observers_.push_back(observer);
}

void VirtualCameraFirmware::removeObserver(FirmwareObserver* observer) {
    const std::scoped_lock lock(observersMutex_);
    std::erase(observers_, observer);
}

} // namespace tavelo
