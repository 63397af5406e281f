// SPDX-License-Identifier: MIT
// Cameras taken from the kernel's driver, and given back to it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/diagnostics.h"
#include "platform/error.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/serial_queue.h"

namespace tavelo {

/// A video function that somebody wants to claim.
struct UsbCameraAddress {
    UsbAddress device;
    std::uint8_t controlInterface = 0;
    std::vector<std::uint8_t> streamingInterfaces;

    /// The control interface, then the others.
    std::vector<std::uint8_t> interfaces() const;
};

/// Which cameras are taken, and by how many holders.
///
/// The first to ask takes the camera from its driver, later ones share it.  After the last share is gone,
/// the interfaces are released and the kernel's driver gets the camera back, unless somebody asks for it
/// before.  Thread-safe; taking and giving back the same camera wait for each other, different cameras do
/// not.
///
/// Cameras go back on a thread of the claims, since it takes as long as the driver's probe.  That thread
/// ends with the claims and the last share; only whoever drops the last of these waits until every camera is
/// back.
class UsbCameraClaims {
public:
    /// Starts to watch over a camera that is about to be taken.  The watch ends with the last reference to
    /// the result; null if the camera cannot be watched.
    using WatchStarter =
        std::function<std::shared_ptr<void>(const UsbAddress&, std::uint8_t controlInterface)>;

    /// @param diagnostics must outlive the claims
    UsbCameraClaims(std::shared_ptr<UsbHandleOpener> opener, WatchStarter watch, Diagnostics& diagnostics);
    ~UsbCameraClaims();
    UsbCameraClaims(const UsbCameraClaims&) = delete;
    UsbCameraClaims& operator=(const UsbCameraClaims&) = delete;

    /// Null with the reason if the camera cannot be taken; what was taken of it goes back then.
    /// @return one holder's share of the camera, which may outlive this object
    std::shared_ptr<UsbHandle> acquire(const UsbCameraAddress& camera, Error& error);

private:
    class TakenCamera;
    class Claim;
    /// The state of a camera, taken or not.
    struct Slot {
        std::mutex mutex; // guards the rest; held while the camera is taken and given back
        int holders = 0;
        std::unique_ptr<TakenCamera> taken;
        bool mustGoBack = false; ///< taking it failed halfway
        std::condition_variable wentBack;
    };
    static void giveBackUnlessHeld(Slot& slot);

    std::shared_ptr<Slot> slotOf(const UsbCameraAddress& camera);

    const std::shared_ptr<UsbHandleOpener> opener_;
    const WatchStarter watch_;
    Diagnostics& diagnostics_;
    const std::shared_ptr<SerialQueue> returns_; ///< claims keep it too

    std::mutex mutex_; // guards slots_
    std::map<std::pair<UsbAddress, std::uint8_t>, std::shared_ptr<Slot>> slots_;
};

} // namespace tavelo
