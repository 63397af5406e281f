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

TransferRing::TransferRing(UsbHandle& camera, Consumer consume, EndObserver ended,
                           std::shared_ptr<ThreadPriority> priority)
    : camera_(camera),
      consume_(std::move(consume)),
      ended_(std::move(ended)),
      priority_(std::move(priority)) {}

TransferRing::~TransferRing() {
    stop();
}

ErrorCode TransferRing::start(const UsbTransferShape& shape, std::size_t count) {
    ErrorCode status = ErrorCode::failed;
    {
        const std::lock_guard lock(mutex_);
        while (transfers_.size() < count) {
            auto transfer = camera_.makeTransfer(shape, *this);
            status = transfer ? transfer->submit() : ErrorCode::failed;
            if (status != ErrorCode::none) break;
            transfers_.push_back(std::move(transfer));
            ++underWay_;
        }
        const bool enough = transfers_.size() >= fewestTransfers && status != ErrorCode::gone;
        if (enough || count == transfers_.size()) status = ErrorCode::none;
    }
    thread_ = std::thread([this] { handleEvents(); });
    if (status != ErrorCode::none) stop();
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
void TransferRing::transferEnded(UsbTransfer& transfer, ErrorCode status,
                                 std::span<const UsbPacket> packets) noexcept {
    ErrorCode verdict = judge(status);
    if (verdict == ErrorCode::none) consume_(packets);
    const std::lock_guard lock(mutex_);
    if (!stopping_ && verdict == ErrorCode::none) {
        verdict = transfer.submit();
        if (verdict == ErrorCode::none) return;
    }
    if (!std::exchange(stopping_, true)) ended_(verdict);
    --underWay_;
}

// What the result of a transfer means for the ring.
ErrorCode TransferRing::judge(ErrorCode status) {
    if (status == ErrorCode::gone || status == ErrorCode::refused) return status;
    faultsInARow_ = status == ErrorCode::none ? 0 : faultsInARow_ + 1;
    return faultsInARow_ > mostFaultsInARow ? ErrorCode::failed : ErrorCode::none;
}

void TransferRing::handleEvents() {
    pthread_setname_np(pthread_self(), "usb events");
    if (priority_) priority_->raise();
    while (underWay())
        if (camera_.handleEvents(longestWait) != ErrorCode::none)
            std::this_thread::sleep_for(pauseAfterFault);
}

bool TransferRing::underWay() const {
    const std::lock_guard lock(mutex_);
    return underWay_ > 0;
}

} // namespace tavelo
