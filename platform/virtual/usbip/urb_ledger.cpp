// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/urb_ledger.h"

namespace tavelo::usbip {
namespace {

// Numbers grow, and begin again after the largest.
bool isAfter(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b) > 0;
}

} // namespace

bool UrbLedger::open(std::uint32_t sequence) {
    const std::scoped_lock lock(mutex_);
    if (closed_ || waiting_.size() >= maxWaiting) return false;
    newest_ = sequence;
    if (const auto early = earlyUnlinks_.extract(sequence)) {
        answerUnlink(early.mapped(), UrbStatus::unlinked);
        return true;
    }
    return waiting_.insert(sequence).second;
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
    if (waiting_.erase(command.target) != 0)
        answerUnlink(command.sequence, UrbStatus::unlinked);
    else if (!isToCome(command) || !earlyUnlinks_.try_emplace(command.target, command.sequence).second)
        answerUnlink(command.sequence, UrbStatus::ok);
}

// It was numbered before the command, and no later one has come.
bool UrbLedger::isToCome(const UnlinkCommand& command) const {
    return earlyUnlinks_.size() < maxWaiting && isAfter(command.sequence, command.target) &&
           (!newest_ || isAfter(command.target, *newest_));
}

void UrbLedger::answerUnlink(std::uint32_t sequence, UrbStatus status) {
    if (!socket_.write({encodeUnlinkReply(sequence, status)})) socket_.shutdown();
}

void UrbLedger::close() {
    const std::scoped_lock lock(mutex_);
    closed_ = true;
    waiting_.clear();
}

} // namespace tavelo::usbip
