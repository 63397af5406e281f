// SPDX-License-Identifier: MIT
// The transfers of one connection that are not answered yet.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_set>

#include "platform/virtual/usbip/stream_socket.h"
#include "platform/virtual/usbip/usbip_protocol.h"

namespace tavelo::usbip {

/// Ensures that every transfer is answered exactly once, with its result or because it was unlinked, and that
/// answers are sent whole and in the order in which they were decided.  A client treats an answer to an
/// unknown transfer as a broken connection.
///
/// Linux numbers its commands as they are made, but may send the unlink of a transfer just before the
/// transfer. Such an unlink is answered when its transfer comes, which then is not executed.
///
/// Thread-safe.  Answering blocks while the client does not read.
class UrbLedger {
public:
    explicit UrbLedger(StreamSocket& socket) : socket_(socket) {}

    /// Takes a transfer that was received, which may be unlinked already.
    /// @return false if one with this number is still waiting, or too many are: the client is broken
    bool open(std::uint32_t sequence);

    /// Whether an answer is still wanted.
    bool isOpen(std::uint32_t sequence) const;

    /// Sends the answer unless the transfer was unlinked meanwhile.  Shuts a failing connection down.
    void answer(const SubmitReply& reply, std::span<const std::uint8_t> data = {},
                std::span<const std::uint8_t> packets = {});

    /// Unlinks a transfer if it is still waiting or to come, and answers the unlink command.
    void unlink(const UnlinkCommand& command);

    /// Forgets all transfers; nothing is sent afterwards.
    void close();

private:
    static constexpr std::size_t maxWaiting = 4096;

    bool isToCome(const UnlinkCommand& command) const;
    void answerUnlink(std::uint32_t sequence, UrbStatus status);

    StreamSocket& socket_;
    mutable std::mutex mutex_; // guards the members below and the order of writes
    std::unordered_set<std::uint32_t> waiting_;
    std::map<std::uint32_t, std::uint32_t> earlyUnlinks_; // by the numbers of their transfers
    std::optional<std::uint32_t> newest_;                 // transfer received
    bool closed_ = false;
};

} // namespace tavelo::usbip
