// SPDX-License-Identifier: MIT
// The transfers of one connection that still wait for their answer.
#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <unordered_set>

#include "virtual-camera/usbip/stream_socket.h"
#include "virtual-camera/usbip/usbip_protocol.h"

namespace tavelo::usbip {

/// Sees to it that every transfer is answered exactly once, by its outcome or by being taken back, and that
/// answers reach the wire whole and in the order in which they were decided.  A client takes an answer to a
/// transfer that it no longer knows for a broken connection.
///
/// Thread-safe.  Answering blocks while the client does not read.
class UrbLedger {
public:
    explicit UrbLedger(StreamSocket& socket) : socket_(socket) {}

    /// False where a transfer of that number still waits, or too many do: the client is broken.
    bool open(std::uint32_t sequence);

    /// Whether an answer is still wanted.
    bool isOpen(std::uint32_t sequence) const;

    /// Sends the answer unless the transfer was taken back meanwhile.  A connection that fails is shut down.
    void answer(const SubmitReply& reply, std::span<const std::uint8_t> data = {},
                std::span<const std::uint8_t> packets = {});

    /// Takes a transfer back, if it still waits, and answers the request to do so.
    void unlink(const UnlinkCommand& command);

    /// Forgets every transfer; nothing is sent from now on.
    void close();

private:
    static constexpr std::size_t maxWaiting = 4096;

    StreamSocket& socket_;
    mutable std::mutex mutex_; // guards what follows, and the order of writes
    std::unordered_set<std::uint32_t> waiting_;
    bool closed_ = false;
};

} // namespace tavelo::usbip
