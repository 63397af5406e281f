// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_camera_claims.h"

#include <algorithm>
#include <utility>

namespace tavelo {

std::vector<std::uint8_t> UsbCameraAddress::interfaces() const {
    std::vector<std::uint8_t> all(1 + streamingInterfaces.size(), controlInterface);
    std::ranges::copy(streamingInterfaces, all.begin() + 1);
    return all;
}

// An opened device whose interfaces are ours.  If a later step fails, what was already taken goes back too.
class UsbCameraClaims::TakenCamera {
public:
    TakenCamera(std::unique_ptr<UsbHandle> handle, UsbCameraAddress camera, Diagnostics& diagnostics)
        : handle_(std::move(handle)),
          camera_(std::move(camera)),
          diagnostics_(diagnostics) {}

    ~TakenCamera() {
        giveBack();
        watch_.reset(); // last: until here there was something to watch
    }
    TakenCamera(const TakenCamera&) = delete;
    TakenCamera& operator=(const TakenCamera&) = delete;

    bool take(const WatchStarter& watch, Error& error) {
        if (watch) watch_ = watch(camera_.device, camera_.controlInterface);
        if (watch && !watch_)
            report("no watch over it: after a crash of this program the kernel's driver will not have it");
        // The driver releases the streaming interfaces before the control interface.
        std::vector<std::uint8_t> interfaces = camera_.interfaces();
        std::ranges::reverse(interfaces);
        for (const std::uint8_t interface : interfaces) {
            error = takeInterface(interface);
            if (error.code == ErrorCode::none) continue;
            error.text = "cannot take interface " + std::to_string(interface) + " of " +
                         camera_.device.path() + ": " + error.text;
            return false;
        }
        return true;
    }

    UsbHandle* handle() const { return handle_.get(); }

private:
    Error takeInterface(std::uint8_t interface) {
        Error error = handle_->detachKernelDriver(interface);
        if (error.code == ErrorCode::none) detached_ = true;
        // Invalid: no driver holds it.
        if (error.code != ErrorCode::none && error.code != ErrorCode::invalid) return error;
        error = handle_->claimInterface(interface);
        if (error.code == ErrorCode::none) claimed_.push_back(interface);
        // The device has another configuration now.
        if (error.code == ErrorCode::invalid) error.code = ErrorCode::gone;
        return error;
    }

    // The driver that probes the control interface takes the others itself, and needs them free.
    void giveBack() {
        for (const std::uint8_t interface : claimed_)
            handle_->releaseInterface(interface);
        if (claimed_.empty() && !detached_) return;
        const Error error = handle_->attachKernelDriver(camera_.controlInterface);
        // Busy: a driver was quicker.  Invalid: no driver in this kernel wants it.
        const bool fine = error.code == ErrorCode::none || error.code == ErrorCode::busy ||
                          error.code == ErrorCode::invalid || error.code == ErrorCode::gone;
        if (!fine) report("giving it back to the kernel's driver: " + error.text);
    }

    void report(const std::string& reason) const { diagnostics_.report(camera_.device.path(), reason); }

    const std::unique_ptr<UsbHandle> handle_;
    const UsbCameraAddress camera_;
    Diagnostics& diagnostics_;
    std::vector<std::uint8_t> claimed_;
    bool detached_ = false;
    std::shared_ptr<void> watch_;
};

class UsbCameraClaims::Claim {
public:
    /// The slot already counts this holder.
    Claim(std::shared_ptr<SerialQueue> returns, std::shared_ptr<UsbHandleOpener> opener,
          std::shared_ptr<Slot> slot)
        : returns_(std::move(returns)),
          opener_(std::move(opener)),
          slot_(std::move(slot)) {}

    ~Claim() {
        const std::lock_guard lock(slot_->mutex);
        if (--slot_->holders > 0) return;
        returns_->async([opener = opener_, slot = slot_] { giveBackUnlessHeld(*slot); });
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

private:
    const std::shared_ptr<SerialQueue> returns_;
    const std::shared_ptr<UsbHandleOpener> opener_; // handles must not outlive it
    const std::shared_ptr<Slot> slot_;
};

UsbCameraClaims::UsbCameraClaims(std::shared_ptr<UsbHandleOpener> opener, WatchStarter watch,
                                 Diagnostics& diagnostics)
    : opener_(std::move(opener)),
      watch_(std::move(watch)),
      diagnostics_(diagnostics),
      returns_(std::make_shared<SerialQueue>("usb.returns")) {}

UsbCameraClaims::~UsbCameraClaims() = default;

void UsbCameraClaims::giveBackUnlessHeld(Slot& slot) {
    const std::lock_guard lock(slot.mutex);
    if (slot.holders > 0) return; // claimed again meanwhile
    slot.taken.reset();
    slot.mustGoBack = false;
    slot.wentBack.notify_all();
}

std::shared_ptr<UsbCameraClaims::Slot> UsbCameraClaims::slotOf(const UsbCameraAddress& camera) {
    const std::lock_guard lock(mutex_);
    // A slot that nobody refers to is free: whoever wants one has to come here first.
    std::erase_if(slots_, [](const auto& entry) { return entry.second.use_count() == 1; });
    std::shared_ptr<Slot>& slot = slots_[{camera.device, camera.controlInterface}];
    if (!slot) slot = std::make_shared<Slot>();
    return slot;
}

std::shared_ptr<UsbHandle> UsbCameraClaims::acquire(const UsbCameraAddress& camera, Error& error) {
    error = {};
    const std::shared_ptr<Slot> slot = slotOf(camera);
    std::unique_lock lock(slot->mutex);
    slot->wentBack.wait(lock, [&] { return !slot->mustGoBack; });
    if (!slot->taken) {
        std::unique_ptr<UsbHandle> handle = opener_->open(camera.device, error);
        if (!handle) {
            error.text = "cannot open " + camera.device.path() + ": " + error.text;
            return nullptr;
        }
        slot->taken = std::make_unique<TakenCamera>(std::move(handle), camera, diagnostics_);
        if (!slot->taken->take(watch_, error)) {
            slot->mustGoBack = true;
            returns_->async([opener = opener_, slot] { giveBackUnlessHeld(*slot); });
            return nullptr;
        }
    }
    ++slot->holders;
    return {std::make_shared<Claim>(returns_, opener_, slot), slot->taken->handle()};
}

} // namespace tavelo
