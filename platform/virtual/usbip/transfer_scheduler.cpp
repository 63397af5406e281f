// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/transfer_scheduler.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <utility>

namespace tavelo::usbip {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr microseconds microframe{125};
/// If we are late by more than this, do not catch up: it would only flood a client that is slow already.
constexpr milliseconds maxLag{50};
/// The shortest and the longest pause before a device without bulk data is asked again.
constexpr milliseconds shortestPause{1};
constexpr milliseconds longestPause{4};

} // namespace

TransferScheduler::TransferScheduler(UsbGadget& gadget, const GadgetLayout& layout, UrbLedger& ledger)
    : gadget_(gadget),
      layout_(layout),
      ledger_(ledger),
      thread_([this] { run(); }) {}

TransferScheduler::~TransferScheduler() {
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void TransferScheduler::submit(const SubmitCommand& command, std::vector<IsoPacket> packets) {
    const auto address = static_cast<std::uint8_t>(command.endpoint | (command.in ? 0x80U : 0U));
    const std::optional<Endpoint> endpoint = layout_.find(address);
    if (!endpoint || !command.in) {
        ledger_.answer({.sequence = command.sequence, .status = UrbStatus::stalled});
        return;
    }
    Transfer transfer{command, std::move(packets), 0};
    if (!isSane(transfer, *endpoint)) {
        ledger_.answer({.sequence = command.sequence, .status = UrbStatus::invalid});
        return;
    }
    const std::scoped_lock lock(mutex_);
    Pipe& pipe = pipes_.try_emplace(address, Pipe{*endpoint, {}, {}, {}, {}}).first->second;
    if (pipe.queue.empty()) pipe.clock = std::max(pipe.clock, Clock::now());
    pipe.queue.push_back(std::move(transfer));
    wake_.notify_all();
}

void TransferScheduler::forget(std::uint32_t sequence) {
    const std::scoped_lock lock(mutex_);
    for (auto& [address, pipe] : pipes_)
        std::erase_if(pipe.queue, [&](const Transfer& each) { return each.command.sequence == sequence; });
}

bool TransferScheduler::isSane(const Transfer& transfer, const Endpoint& endpoint) {
    const bool isochronous = endpoint.type == EndpointType::isochronous;
    if (isochronous == transfer.packets.empty()) return false;
    if (!isochronous) return endpoint.packetSize > 0;
    std::uint64_t total = 0;
    for (const IsoPacket& packet : transfer.packets) {
        if (std::uint64_t{packet.offset} + packet.length > transfer.command.bufferLength) return false;
        total += packet.length;
    }
    return total <= transfer.command.bufferLength;
}

TransferScheduler::Clock::duration TransferScheduler::busTime(const Transfer& transfer,
                                                              const Endpoint& endpoint) {
    return microframe * endpoint.interval * static_cast<std::int64_t>(transfer.packets.size());
}

TransferScheduler::Clock::time_point TransferScheduler::due(const Pipe& pipe) {
    return pipe.clock + busTime(pipe.queue.front(), pipe.endpoint);
}

void TransferScheduler::run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        Pipe* pipe = nextPipe();
        if (pipe == nullptr) {
            wake_.wait(lock);
            continue;
        }
        const Clock::time_point time = due(*pipe);
        if (Clock::now() < time)
            wake_.wait_until(lock, time);
        else
            serve(*pipe, lock);
    }
}

TransferScheduler::Pipe* TransferScheduler::nextPipe() {
    Pipe* next = nullptr;
    for (auto& [address, pipe] : pipes_)
        if (!pipe.queue.empty() && (next == nullptr || due(pipe) < due(*next))) next = &pipe;
    return next;
}

// Releases the lock while it asks the device and answers the client, so that the connection can go on
// submitting and unlinking.
void TransferScheduler::serve(Pipe& pipe, std::unique_lock<std::mutex>& lock) {
    Transfer transfer = std::move(pipe.queue.front());
    pipe.queue.pop_front();
    const std::uint32_t sequence = transfer.command.sequence;
    const bool isochronous = pipe.endpoint.type == EndpointType::isochronous;
    const Clock::time_point end = pipe.clock + busTime(transfer, pipe.endpoint);
    lock.unlock();
    bool finished = true;
    if (ledger_.isOpen(sequence)) {
        if (isochronous)
            finishIsochronous(pipe, transfer, end);
        else
            finished = finishOther(pipe, transfer);
    }
    lock.lock();
    if (isochronous)
        pipe.clock = std::max(end, Clock::now() - maxLag);
    else
        pauseOrGoOn(pipe, finished);
    if (!finished && ledger_.isOpen(sequence)) pipe.queue.push_front(std::move(transfer));
}

void TransferScheduler::finishIsochronous(Pipe& pipe, Transfer& transfer, Clock::time_point end) {
    pipe.buffer.resize(std::max<std::size_t>(pipe.buffer.size(), transfer.command.bufferLength));
    packetBytes_.resize(transfer.packets.size() * isoPacketSize);
    std::size_t filled = 0;
    std::size_t at = 0;
    for (IsoPacket& packet : transfer.packets) {
        // Data is sent without gaps; the client moves each packet back to its offset.
        const auto room = std::span(pipe.buffer).subspan(filled, packet.length);
        const std::size_t count = gadget_.in(pipe.endpoint.address, room).value_or(0);
        packet.actualLength = static_cast<std::uint32_t>(std::min(count, room.size()));
        filled += packet.actualLength;
        encodeIsoPacket(packet, std::span(packetBytes_).subspan(at).first<isoPacketSize>());
        at += isoPacketSize;
    }
    ledger_.answer({.sequence = transfer.command.sequence,
                    .actualLength = static_cast<std::uint32_t>(filled),
                    .startFrame = frameNumber(end - busTime(transfer, pipe.endpoint)),
                    .packetCount = static_cast<std::uint32_t>(transfer.packets.size())},
                   std::span(pipe.buffer).first(filled), packetBytes_);
}

bool TransferScheduler::finishOther(Pipe& pipe, Transfer& transfer) {
    const std::size_t length = transfer.command.bufferLength;
    pipe.buffer.resize(std::max(pipe.buffer.size(), length));
    bool complete = length == 0;
    while (!complete) {
        const std::size_t room = std::min<std::size_t>(pipe.endpoint.packetSize, length - transfer.filled);
        const auto packet = std::span(pipe.buffer).subspan(transfer.filled, room);
        const std::optional<std::size_t> count = gadget_.in(pipe.endpoint.address, packet);
        if (!count) return false;
        transfer.filled += std::min(*count, room);
        complete =
            *count < room || transfer.filled == length || pipe.endpoint.type == EndpointType::interrupt;
    }
    ledger_.answer(
        {.sequence = transfer.command.sequence, .actualLength = static_cast<std::uint32_t>(transfer.filled)},
        std::span(pipe.buffer).first(transfer.filled));
    return true;
}

void TransferScheduler::pauseOrGoOn(Pipe& pipe, bool finished) const {
    const Clock::time_point now = Clock::now();
    if (pipe.endpoint.type == EndpointType::interrupt) {
        pipe.clock = now + microframe * pipe.endpoint.interval;
        return;
    }
    pipe.pause = finished ? Clock::duration{0}
                          : std::clamp<Clock::duration>(pipe.pause * 2, shortestPause, longestPause);
    pipe.clock = now + pipe.pause;
}

// The number of the 1 ms frame, in 11 bits as on the bus.
std::uint32_t TransferScheduler::frameNumber(Clock::time_point time) const {
    const auto frames = std::chrono::duration_cast<milliseconds>(time - start_).count();
    return static_cast<std::uint32_t>(std::max<std::int64_t>(frames, 0)) & 0x7FFU;
}

} // namespace tavelo::usbip
