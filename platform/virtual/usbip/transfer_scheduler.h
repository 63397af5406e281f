// SPDX-License-Identifier: MIT
// Executes IN transfers at the pace of a high-speed host controller.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/usbip/gadget_layout.h"
#include "platform/virtual/usbip/urb_ledger.h"

namespace tavelo::usbip {

/// Queues transfers per endpoint and executes them on its own thread.
///
/// Isochronous transfers take as long as their packets take on the bus; transfers of one endpoint follow each
/// other without a gap while the client keeps the queue filled.  A bulk transfer ends when it is full or the
/// device sends a short packet, an interrupt transfer with its first packet; both wait while the device has
/// nothing to send.
///
/// Thread-safe.
class TransferScheduler {
public:
    /// All three must outlive the scheduler.
    TransferScheduler(UsbGadget& gadget, const GadgetLayout& layout, UrbLedger& ledger);
    ~TransferScheduler();

    TransferScheduler(const TransferScheduler&) = delete;
    TransferScheduler& operator=(const TransferScheduler&) = delete;

    /// Queues a transfer that is open in the ledger; an invalid one is answered at once.
    void submit(const SubmitCommand& command, std::vector<IsoPacket> packets);

    /// Drops a transfer that the ledger no longer waits for.
    void forget(std::uint32_t sequence);

private:
    using Clock = std::chrono::steady_clock;

    struct Transfer {
        SubmitCommand command;
        std::vector<IsoPacket> packets;
        std::size_t filled = 0; ///< bytes of the pipe's buffer that are valid
    };

    /// An endpoint in use.
    struct Pipe {
        Endpoint endpoint;
        std::deque<Transfer> queue;
        /// Isochronous: the end of the previous transfer.  Otherwise: when to ask the device again.
        Clock::time_point clock;
        Clock::duration pause{0};         ///< bulk: the last pause before the device was asked again
        std::vector<std::uint8_t> buffer; ///< data of the first transfer
    };

    static bool isSane(const Transfer& transfer, const Endpoint& endpoint);
    static Clock::duration busTime(const Transfer& transfer, const Endpoint& endpoint);
    static Clock::time_point due(const Pipe& pipe);

    void run();
    Pipe* nextPipe();
    void serve(Pipe& pipe, std::unique_lock<std::mutex>& lock);
    void finishIsochronous(Pipe& pipe, Transfer& transfer, Clock::time_point end);
    bool finishOther(Pipe& pipe, Transfer& transfer);
    void pauseOrGoOn(Pipe& pipe, bool finished) const;
    std::uint32_t frameNumber(Clock::time_point time) const;

    UsbGadget& gadget_;
    const GadgetLayout& layout_;
    UrbLedger& ledger_;
    const Clock::time_point start_ = Clock::now();
    std::vector<std::uint8_t> packetBytes_; // encoded descriptors; used by the thread only

    // Guards the members up to the blank line, except the pipes' buffers, which only the thread uses.
    std::mutex mutex_;
    std::condition_variable wake_;
    std::map<std::uint8_t, Pipe> pipes_; // by endpoint address
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo::usbip
