// SPDX-License-Identifier: MIT
// Keeps several transfers of one endpoint under way.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "platform/linux/usb/device/usb_handle.h"
#include "platform/thread_priority.h"

namespace tavelo {

/// Each transfer is submitted again as soon as its packets are consumed.  A thread of its own handles
/// events as long as transfers are under way.
///
/// Continues after damage, and ends by itself if the device is gone, the endpoint has halted, or only
/// damaged data comes.  Started once; thread-bound except for the two callbacks, which run on whatever
/// thread handles events, never two at once, and never after stop() has returned.
class TransferRing final : private UsbTransferListener {
public:
    /// Takes the packets of a transfer, valid during the call.
    using Consumer = std::function<void(std::span<const UsbPacket>)>;
    /// Called once, with the reason, if it ends by itself.
    using EndObserver = std::function<void(ErrorCode)>;

    /// The camera must outlive the ring.
    /// @param priority of the thread that handles events; may be null
    TransferRing(UsbHandle& camera, Consumer consume, EndObserver ended,
                 std::shared_ptr<ThreadPriority> priority = {});
    ~TransferRing() override;
    TransferRing(const TransferRing&) = delete;
    TransferRing& operator=(const TransferRing&) = delete;

    /// Uses fewer transfers than wanted if memory is short.  After a failure nothing is under way.
    ErrorCode start(const UsbTransferShape& shape, std::size_t count);

    /// Cancels all transfers and waits for each to end.
    void stop();

    static constexpr int mostFaultsInARow = 100;

private:
    void transferEnded(UsbTransfer& transfer, ErrorCode status,
                       std::span<const UsbPacket> packets) noexcept override;
    ErrorCode judge(ErrorCode status);
    void handleEvents();
    bool underWay() const;

    UsbHandle& camera_;
    const Consumer consume_;
    const EndObserver ended_;
    const std::shared_ptr<ThreadPriority> priority_;
    int faultsInARow_ = 0; // used by the threads that call back

    mutable std::mutex mutex_; // guards what follows
    std::vector<std::unique_ptr<UsbTransfer>> transfers_;
    std::size_t underWay_ = 0;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
