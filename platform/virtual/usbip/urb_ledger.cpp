// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/urb_ledger.h"

namespace tavelo::usbip {

bool UrbLedger::open(std::uint32_t sequence) {
    const std::scoped_lock lock(mutex_);
    return !closed_ && waiting_.size() < maxWaiting && waiting_.insert(sequence).second;
}

bool UrbLedger::isOpen(std::uint32_t sequence) const {
    const std::scoped_lock lock(mutex_);
    return waiting_.contains(sequence);
}

void UrbLedger::answer(const SubmitReply& reply, std::span<const std::uint8_t> data,
                       std::span<const std::uint8_t> packets) {
    const UrbHeader header = encodeSubmitReply(reply);
    const std::scoped_lock lock(mutex_);
    if (waiting_.erase(reply.sequence) == 0) return;
    if (!socket_.write({header, data, packets})) socket_.shutdown();
}

void UrbLedger::unlink(const UnlinkCommand& command) {
    const std::scoped_lock lock(mutex_);
    if (closed_) return;
    const bool waited = waiting_.erase(command.target) != 0;
    const UrbHeader header =
        encodeUnlinkReply(command.sequence, waited ? UrbStatus::unlinked : UrbStatus::ok);
    if (!socket_.write({header})) socket_.shutdown();
}

void UrbLedger::close() {
    const std::scoped_lock lock(mutex_);
    closed_ = true;
    waiting_.clear();
}

} // namespace tavelo::usbip
