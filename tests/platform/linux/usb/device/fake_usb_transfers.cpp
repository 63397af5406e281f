// SPDX-License-Identifier: MIT
// The transfers of the fake camera, filled by hand or with its picture.
#include <algorithm>
#include <cstdlib>

#include "fake_usb_camera.h"

namespace tavelo::test {
namespace {

using namespace std::chrono_literals;

constexpr auto longestWait = 10s;
// What the bus takes for a transfer that carries nothing.
constexpr auto busTime = 1ms;

} // namespace

class FakeUsbCamera::Transfer final : public UsbTransfer {
public:
    Transfer(FakeUsbCamera& camera, const UsbTransferShape& wanted, UsbTransferListener& told)
        : shape(wanted),
          listener(told),
          camera_(camera),
          bytes(wanted.length()),
          packets(wanted.isochronous ? wanted.packets : 1) {
        const std::lock_guard lock(camera_.mutex_);
        ++camera_.counts_.transfers;
    }
    ~Transfer() override {
        const std::lock_guard lock(camera_.mutex_);
        --camera_.counts_.transfers;
        if (underWay) std::abort(); // the system would write into memory that is gone
    }

    ErrorCode submit() override { return camera_.submit(*this); }
    void cancel() override { camera_.cancel(*this); }

    // Lays packets of these sizes over the buffer.
    void lay(std::size_t index, std::size_t size, bool damaged) {
        packets[index] = {std::span(bytes).subspan(index * shape.packetSize, size), damaged};
    }

    const UsbTransferShape shape;
    UsbTransferListener& listener;

private:
    FakeUsbCamera& camera_;

public:
    std::vector<std::uint8_t> bytes;
    std::vector<UsbPacket> packets;
    std::size_t filled = 0; // of a bulk transfer
    ErrorCode status = ErrorCode::none;
    bool underWay = false;
    bool cancelled = false;
};

std::unique_ptr<UsbTransfer> FakeUsbCamera::makeTransfer(const UsbTransferShape& shape,
                                                         UsbTransferListener& listener) {
    return std::make_unique<Transfer>(*this, shape, listener);
}

ErrorCode FakeUsbCamera::submit(Transfer& transfer) {
    const std::lock_guard lock(mutex_);
    ++counts_.submitted;
    if (gone_) return ErrorCode::gone;
    const ErrorCode failure = take("submit");
    if (failure != ErrorCode::none) return failure;
    transfer.underWay = true;
    transfer.cancelled = false;
    transfer.filled = 0;
    transfer.status = ErrorCode::none;
    for (std::size_t i = 0; i < transfer.packets.size(); ++i)
        transfer.lay(i, 0, false);
    ++counts_.underWay;
    waiting_.push_back(&transfer);
    changed_.notify_all();
    return ErrorCode::none;
}

void FakeUsbCamera::cancel(Transfer& transfer) {
    const std::lock_guard lock(mutex_);
    transfer.cancelled = true; // if it is being filled
    const auto found = std::ranges::find(waiting_, &transfer);
    if (found == waiting_.end()) return;
    waiting_.erase(found);
    transfer.status = ErrorCode::failed;
    ended_.push_back(&transfer);
    changed_.notify_all();
}

bool FakeUsbCamera::deliver(const std::vector<Bytes>& packets, ErrorCode status) {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return false;
    endFirst(packets, status);
    return true;
}

bool FakeUsbCamera::deliverSoon(const std::vector<Bytes>& packets, ErrorCode status) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, longestWait, [this] { return !waiting_.empty(); })) return false;
    endFirst(packets, status);
    return true;
}

void FakeUsbCamera::endFirst(const std::vector<Bytes>& packets, ErrorCode status) {
    Transfer& transfer = *waiting_.front();
    waiting_.pop_front();
    transfer.status = status;
    for (std::size_t i = 0; i < transfer.packets.size() && i < packets.size(); ++i) {
        std::ranges::copy(packets[i], transfer.bytes.begin() + std::ptrdiff_t(i * transfer.shape.packetSize));
        transfer.lay(i, packets[i].size(), status != ErrorCode::none);
    }
    ended_.push_back(&transfer);
    changed_.notify_all();
}

void FakeUsbCamera::vanish() {
    if (firmware_) firmware_->vanish();
    const std::lock_guard lock(mutex_);
    gone_ = true;
    for (Transfer* transfer : waiting_) {
        transfer->status = ErrorCode::gone;
        ended_.push_back(transfer);
    }
    waiting_.clear();
    changed_.notify_all();
}

// As a host controller does, one transfer's packets after another; a bulk transfer keeps what it has.
bool FakeUsbCamera::fillFromPicture(Transfer& transfer) {
    const std::span bytes(transfer.bytes);
    if (transfer.shape.isochronous) {
        std::size_t total = 0;
        for (std::size_t i = 0; i < transfer.packets.size(); ++i) {
            const auto room = bytes.subspan(i * transfer.shape.packetSize, transfer.shape.packetSize);
            const std::size_t count = gadget_->in(transfer.shape.endpoint, room).value_or(0);
            transfer.lay(i, count, false);
            total += count;
        }
        return total > 0;
    }
    constexpr std::size_t packetSize = 512;
    for (;;) {
        const auto rest = bytes.subspan(transfer.filled);
        const auto room = rest.first(std::min(packetSize, rest.size()));
        const auto count = gadget_->in(transfer.shape.endpoint, room);
        if (!count) return false;
        transfer.filled += *count;
        transfer.lay(0, transfer.filled, false);
        if (*count < room.size() || transfer.filled == bytes.size()) return true;
    }
}

void FakeUsbCamera::handleEvents(std::chrono::milliseconds atMost) {
    const std::lock_guard events(eventsMutex_);
    std::unique_lock lock(mutex_);
    const auto hasWork = [this] { return !ended_.empty() || (gadget_ && !waiting_.empty()); };
    if (!changed_.wait_for(lock, atMost, hasWork)) return;
    if (ended_.empty()) {
        Transfer& transfer = *waiting_.front();
        waiting_.pop_front();
        lock.unlock(); // what follows may take the camera's time
        const bool filled = fillFromPicture(transfer);
        lock.lock();
        if (!filled) changed_.wait_for(lock, busTime, [this] { return !ended_.empty() || gone_; });
        if (gone_) transfer.status = ErrorCode::gone;
        if (filled || transfer.shape.isochronous || gone_ || transfer.cancelled)
            ended_.push_back(&transfer);
        else
            waiting_.push_front(&transfer);
    }
    while (!ended_.empty()) {
        Transfer& transfer = *ended_.front();
        ended_.pop_front();
        transfer.underWay = false;
        lock.unlock();
        transfer.listener.transferEnded(transfer, transfer.status, transfer.packets);
        lock.lock();
        --counts_.underWay; // now that its listener has heard of it
        changed_.notify_all();
    }
}

} // namespace tavelo::test
