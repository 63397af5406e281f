// SPDX-License-Identifier: MIT
#include "fake_usb_camera.h"

#include <algorithm>
#include <utility>

#include "virtual-camera/firmware/uvc_protocol.h"

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

    UsbPortStatus submit() override { return camera_.submit(*this); }
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
    UsbPortStatus status = UsbPortStatus::ok;
    bool underWay = false;
    bool cancelled = false;
};

class FakeUsbCamera::Port final : public UsbStreamPort {
public:
    explicit Port(FakeUsbCamera& camera) : camera_(camera) {}
    ~Port() override {
        const std::lock_guard lock(camera_.mutex_);
        ++camera_.counts_.disconnected;
        camera_.changed_.notify_all();
    }

    UsbPortStatus request(const UsbStreamRequest& request, std::size_t& done) override {
        return camera_.request(request, done);
    }
    UsbPortStatus setAlternate(std::uint8_t alternate) override { return camera_.setAlternate(alternate); }
    UsbPortStatus clearHalt(std::uint8_t endpoint) override {
        {
            const std::lock_guard lock(camera_.mutex_);
            ++camera_.counts_.clearedHalts;
        }
        std::size_t done = 0;
        return camera_.control({uvc::recipientEndpoint, uvc::clearFeature, 0, endpoint, 0}, {}, done);
    }
    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                              UsbTransferListener& listener) override {
        return std::make_unique<Transfer>(camera_, shape, listener);
    }
    UsbPortStatus handleEvents(std::chrono::milliseconds atMost) override {
        camera_.handleEvents(atMost);
        return UsbPortStatus::ok;
    }

private:
    FakeUsbCamera& camera_;
};

FakeUsbCamera::FakeUsbCamera(const VirtualCameraModel& model, Frames frames)
    : firmware_(std::make_shared<VirtualCameraFirmware>(model)),
      gadget_(frames == Frames::ofItsPicture ? std::make_unique<VirtualCameraGadget>(firmware_) : nullptr) {}

FakeUsbCamera::~FakeUsbCamera() = default;

std::unique_ptr<UsbStreamPort> FakeUsbCamera::connect(Error& error) {
    const std::lock_guard lock(mutex_);
    ++counts_.connected;
    changed_.notify_all();
    if (!connectFailures_.empty()) {
        error = {connectFailures_.back(), "cannot be opened"};
        connectFailures_.pop_back();
    } else if (gone_) {
        error = {ErrorCode::gone, "it is gone"};
    } else {
        return std::make_unique<Port>(*this);
    }
    ++counts_.disconnected;
    return nullptr;
}

FakeUsbCamera::Bytes FakeUsbCamera::configurationDescriptor() const {
    const auto descriptor = firmware_->configurationDescriptor();
    return {descriptor.begin(), descriptor.end()};
}

UsbPortStatus FakeUsbCamera::take(std::vector<Failure>& failures, int code, int selector) {
    for (Failure& failure : failures) {
        if (failure.code != code || failure.selector != selector || failure.times == 0) continue;
        --failure.times;
        return failure.status;
    }
    return UsbPortStatus::ok;
}

UsbPortStatus FakeUsbCamera::control(const UsbSetup& setup, std::span<std::uint8_t> data, std::size_t& done) {
    {
        const std::lock_guard lock(mutex_);
        if (gone_) return UsbPortStatus::gone;
    }
    const bool in = (setup.bmRequestType & uvc::directionIn) != 0;
    const auto out = in ? std::span<const std::uint8_t>() : std::span<const std::uint8_t>(data);
    const UsbReply reply = gadget_ ? gadget_->control(setup, out) : firmware_->control(setup, out);
    if (reply.kind == UsbReplyKind::stall) return UsbPortStatus::stalled;
    if (reply.kind == UsbReplyKind::silence) return UsbPortStatus::timedOut;
    done = in ? std::min(reply.data.size(), data.size()) : data.size();
    if (in) std::copy_n(reply.data.begin(), done, data.begin());
    return UsbPortStatus::ok;
}

UsbPortStatus FakeUsbCamera::request(const UsbStreamRequest& request, std::size_t& done) {
    std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend;
    {
        const std::lock_guard lock(mutex_);
        ++counts_.requests;
        const UsbPortStatus failure = take(requestFailures_, request.code, request.selector);
        if (failure != UsbPortStatus::ok) return failure;
        bend = bend_;
    }
    const bool in = (request.code & uvc::directionIn) != 0;
    const UsbSetup setup{in ? uvc::classInterfaceIn : uvc::classInterfaceOut, request.code,
                         static_cast<std::uint16_t>(request.selector << 8U), uvc::streamingInterface,
                         static_cast<std::uint16_t>(request.data.size())};
    const UsbPortStatus status = control(setup, request.data, done);
    if (in && bend && status == UsbPortStatus::ok) bend(request.code, request.selector, request.data);
    return status;
}

UsbPortStatus FakeUsbCamera::setAlternate(std::uint8_t alternate) {
    {
        const std::lock_guard lock(mutex_);
        counts_.alternates.push_back(alternate);
        changed_.notify_all();
        const UsbPortStatus failure = take(alternateFailures_, alternate, 0);
        if (failure != UsbPortStatus::ok) return failure;
    }
    std::size_t done = 0;
    return control({uvc::recipientInterface, uvc::setInterface, alternate, uvc::streamingInterface, 0}, {},
                   done);
}

UsbPortStatus FakeUsbCamera::submit(Transfer& transfer) {
    const std::lock_guard lock(mutex_);
    ++counts_.submitted;
    if (gone_) return UsbPortStatus::gone;
    const UsbPortStatus failure = take(submitFailures_, 0, 0);
    if (failure != UsbPortStatus::ok) return failure;
    transfer.underWay = true;
    transfer.cancelled = false;
    transfer.filled = 0;
    transfer.status = UsbPortStatus::ok;
    for (std::size_t i = 0; i < transfer.packets.size(); ++i)
        transfer.lay(i, 0, false);
    ++counts_.underWay;
    waiting_.push_back(&transfer);
    changed_.notify_all();
    return UsbPortStatus::ok;
}

void FakeUsbCamera::cancel(Transfer& transfer) {
    const std::lock_guard lock(mutex_);
    transfer.cancelled = true; // where it is being filled
    const auto found = std::ranges::find(waiting_, &transfer);
    if (found == waiting_.end()) return;
    waiting_.erase(found);
    transfer.status = UsbPortStatus::failed;
    ended_.push_back(&transfer);
    changed_.notify_all();
}

bool FakeUsbCamera::deliver(const std::vector<Bytes>& packets, UsbPortStatus status) {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return false;
    endFirst(packets, status);
    return true;
}

bool FakeUsbCamera::deliverSoon(const std::vector<Bytes>& packets, UsbPortStatus status) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, longestWait, [this] { return !waiting_.empty(); })) return false;
    endFirst(packets, status);
    return true;
}

void FakeUsbCamera::endFirst(const std::vector<Bytes>& packets, UsbPortStatus status) {
    Transfer& transfer = *waiting_.front();
    waiting_.pop_front();
    transfer.status = status;
    for (std::size_t i = 0; i < transfer.packets.size() && i < packets.size(); ++i) {
        std::ranges::copy(packets[i], transfer.bytes.begin() + std::ptrdiff_t(i * transfer.shape.packetSize));
        transfer.lay(i, packets[i].size(), status != UsbPortStatus::ok);
    }
    ended_.push_back(&transfer);
    changed_.notify_all();
}

void FakeUsbCamera::vanish() {
    firmware_->vanish();
    const std::lock_guard lock(mutex_);
    gone_ = true;
    for (Transfer* transfer : waiting_) {
        transfer->status = UsbPortStatus::gone;
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
    ++counts_.events;
    const auto hasWork = [this] { return !ended_.empty() || (gadget_ && !waiting_.empty()); };
    if (!changed_.wait_for(lock, atMost, hasWork)) return;
    if (ended_.empty()) {
        Transfer& transfer = *waiting_.front();
        waiting_.pop_front();
        lock.unlock(); // what follows may take the camera's time
        const bool filled = fillFromPicture(transfer);
        lock.lock();
        if (!filled) changed_.wait_for(lock, busTime, [this] { return !ended_.empty() || gone_; });
        if (gone_) transfer.status = UsbPortStatus::gone;
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

void FakeUsbCamera::failConnect(ErrorCode code, int times) {
    const std::lock_guard lock(mutex_);
    connectFailures_.assign(std::size_t(times), code);
}

void FakeUsbCamera::failRequest(std::uint8_t code, std::uint8_t selector, UsbPortStatus status, int times) {
    const std::lock_guard lock(mutex_);
    requestFailures_.push_back({code, selector, status, times});
}

void FakeUsbCamera::failAlternate(int alternate, UsbPortStatus status, int times) {
    const std::lock_guard lock(mutex_);
    alternateFailures_.push_back({alternate, 0, status, times});
}

void FakeUsbCamera::failSubmit(UsbPortStatus status, int times) {
    const std::lock_guard lock(mutex_);
    submitFailures_.push_back({0, 0, status, times});
}

void FakeUsbCamera::bend(std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend) {
    const std::lock_guard lock(mutex_);
    bend_ = std::move(bend);
}

FakeUsbCamera::Counts FakeUsbCamera::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

bool FakeUsbCamera::waitFor(const std::function<bool(const Counts&)>& condition) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, longestWait, [&] { return condition(counts_); });
}

} // namespace tavelo::test
