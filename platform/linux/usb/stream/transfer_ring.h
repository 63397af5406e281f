// SPDX-License-Identifier: MIT
// Keeps transfers of one endpoint under way, one behind the other.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "platform/linux/usb/stream/usb_stream_port.h"
#include "platform/thread_priority.h"

namespace tavelo {

/// Each transfer is submitted again as soon as its packets were taken.  A thread of its own handles events as
/// long as transfers are under way.
///
/// Goes on after damage, and ends by itself where the device is gone, the endpoint has halted, or nothing but
/// damage comes.  Started once; thread-bound except the two calls back, which come on whatever thread
/// handles events, never two at once, and never after stop() has returned.
class TransferRing final : private UsbTransferListener {
public:
    /// Takes the packets of a transfer, valid during the call.
    using Consumer = std::function<void(std::span<const UsbPacket>)>;
    /// Told once, with the reason, where it ends by itself.
    using EndObserver = std::function<void(UsbPortStatus)>;

    /// The port must outlive the ring.
    /// @param priority of the thread that handles events; may be null
    TransferRing(UsbStreamPort& port, Consumer consume, EndObserver ended,
                 std::shared_ptr<ThreadPriority> priority = {});
    ~TransferRing() override;
    TransferRing(const TransferRing&) = delete;
    TransferRing& operator=(const TransferRing&) = delete;

    /// With fewer transfers than wanted where memory does not allow for more.  After a failure nothing is
    /// under way.
    UsbPortStatus start(const UsbTransferShape& shape, std::size_t count);

    /// Cancels all and waits for the end of each.
    void stop();

    static constexpr int mostFaultsInARow = 100;

private:
    void transferEnded(UsbTransfer& transfer, UsbPortStatus status,
                       std::span<const UsbPacket> packets) noexcept override;
    UsbPortStatus judge(UsbPortStatus status);
    void handleEvents();
    bool underWay() const;

    UsbStreamPort& port_;
    const Consumer consume_;
    const EndObserver ended_;
    const std::shared_ptr<ThreadPriority> priority_;
    int faultsInARow_ = 0; // of the threads that call back

    mutable std::mutex mutex_; // guards what follows
    std::vector<std::unique_ptr<UsbTransfer>> transfers_;
    std::size_t underWay_ = 0;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
