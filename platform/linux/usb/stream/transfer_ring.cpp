// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/transfer_ring.h"

#include <pthread.h>

#include <chrono>
#include <utility>

namespace tavelo {
namespace {

constexpr std::size_t fewestTransfers = 2;
// Another thread that handles events may take the last completion from ours; ours notices after this time.
constexpr std::chrono::milliseconds longestWait{100};
constexpr std::chrono::milliseconds pauseAfterFault{10};

} // namespace

TransferRing::TransferRing(UsbStreamPort& port, Consumer consume, EndObserver ended,
                           std::shared_ptr<ThreadPriority> priority)
    : port_(port),
      consume_(std::move(consume)),
      ended_(std::move(ended)),
      priority_(std::move(priority)) {}

TransferRing::~TransferRing() {
    stop();
}

UsbPortStatus TransferRing::start(const UsbTransferShape& shape, std::size_t count) {
    UsbPortStatus status = UsbPortStatus::failed;
    {
        const std::lock_guard lock(mutex_);
        while (transfers_.size() < count) {
            auto transfer = port_.makeTransfer(shape, *this);
            status = transfer ? transfer->submit() : UsbPortStatus::failed;
            if (status != UsbPortStatus::ok) break;
            transfers_.push_back(std::move(transfer));
            ++underWay_;
        }
        const bool enough = transfers_.size() >= fewestTransfers && status != UsbPortStatus::gone;
        if (enough || count == transfers_.size()) status = UsbPortStatus::ok;
    }
    thread_ = std::thread([this] { handleEvents(); });
    if (status != UsbPortStatus::ok) stop();
    return status;
}

void TransferRing::stop() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const auto& transfer : transfers_)
            transfer->cancel();
    }
    thread_.join();
}

// The ring may be destroyed as soon as the lock is released with nothing under way.
void TransferRing::transferEnded(UsbTransfer& transfer, UsbPortStatus status,
                                 std::span<const UsbPacket> packets) noexcept {
    UsbPortStatus verdict = judge(status);
    if (verdict == UsbPortStatus::ok) consume_(packets);
    const std::lock_guard lock(mutex_);
    if (!stopping_ && verdict == UsbPortStatus::ok) {
        verdict = transfer.submit();
        if (verdict == UsbPortStatus::ok) return;
    }
    if (!std::exchange(stopping_, true)) ended_(verdict);
    --underWay_;
}

// What the result of a transfer means for the ring.
UsbPortStatus TransferRing::judge(UsbPortStatus status) {
    if (status == UsbPortStatus::gone || status == UsbPortStatus::stalled) return status;
    faultsInARow_ = status == UsbPortStatus::ok ? 0 : faultsInARow_ + 1;
    return faultsInARow_ > mostFaultsInARow ? UsbPortStatus::failed : UsbPortStatus::ok;
}

void TransferRing::handleEvents() {
    pthread_setname_np(pthread_self(), "usb events");
    if (priority_) priority_->raise();
    while (underWay())
        if (port_.handleEvents(longestWait) != UsbPortStatus::ok)
            std::this_thread::sleep_for(pauseAfterFault);
}

bool TransferRing::underWay() const {
    const std::lock_guard lock(mutex_);
    return underWay_ > 0;
}

} // namespace tavelo
