// SPDX-License-Identifier: MIT
#include "fake_usb_camera.h"

#include <algorithm>
#include <utility>

namespace tavelo::test {
namespace {

constexpr std::uint8_t directionIn = 0x80;
constexpr std::uint8_t toInterface = 0x01;
constexpr std::uint8_t toEndpoint = 0x02;
constexpr std::uint8_t clearFeature = 1;
constexpr std::uint8_t setInterface = 11;

bool isRead(const UsbSetupPacket& setup) {
    return (setup.requestType & directionIn) != 0;
}

std::string requestCall(unsigned code, unsigned selector) {
    return "request " + std::to_string(code) + " " + std::to_string(selector);
}

Error errorOf(ErrorCode code) {
    return {code, code == ErrorCode::none ? "" : "as the test wants it"};
}

} // namespace

class FakeUsbCamera::Handle final : public UsbHandle {
public:
    explicit Handle(FakeUsbCamera& camera) : camera_(camera) {}
    ~Handle() override { camera_.close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    UsbResult request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                      std::chrono::milliseconds patience) override {
        return camera_.request(setup, data, patience);
    }
    Error detachKernelDriver(std::uint8_t interface) override {
        return camera_.change("detach", interface, Holder::driver, Holder::nobody, ErrorCode::invalid);
    }
    Error attachKernelDriver(std::uint8_t interface) override {
        return camera_.change("attach", interface, Holder::nobody, Holder::driver, ErrorCode::busy);
    }
    Error claimInterface(std::uint8_t interface) override {
        return camera_.change("claim", interface, Holder::nobody, Holder::us, ErrorCode::busy);
    }
    void releaseInterface(std::uint8_t interface) override {
        camera_.change("release", interface, Holder::us, Holder::nobody, ErrorCode::invalid);
    }
    ErrorCode setAlternate(std::uint8_t interface, std::uint8_t alternate) override {
        return camera_.setAlternate(interface, alternate);
    }
    ErrorCode clearHalt(std::uint8_t endpoint) override { return camera_.clearHalt(endpoint); }
    std::unique_ptr<UsbTransfer> makeTransfer(const UsbTransferShape& shape,
                                              UsbTransferListener& listener) override {
        return camera_.makeTransfer(shape, listener);
    }
    ErrorCode handleEvents(std::chrono::milliseconds atMost) override {
        camera_.handleEvents(atMost);
        return ErrorCode::none;
    }

private:
    FakeUsbCamera& camera_;
};

FakeUsbCamera::FakeUsbCamera()
    : answer_([](const UsbSetupPacket&, std::span<std::uint8_t> data) {
          return UsbResult{ErrorCode::none, data.size()};
      }) {}

FakeUsbCamera::FakeUsbCamera(const VirtualCameraModel& model, Frames frames)
    : firmware_(std::make_shared<VirtualCameraFirmware>(model)),
      gadget_(frames == Frames::ofItsPicture ? std::make_unique<VirtualCameraGadget>(firmware_) : nullptr),
      answer_([this](const auto& setup, auto data) { return askFirmware(setup, data); }) {}

FakeUsbCamera::~FakeUsbCamera() = default;

std::unique_ptr<UsbHandle> FakeUsbCamera::open(const UsbAddress& address, Error& error) {
    const std::lock_guard lock(mutex_);
    calls_.emplace_back("open");
    ++counts_.opened;
    changed_.notify_all();
    error = errorOf(take("open"));
    if (error.code == ErrorCode::none && gone_) error = errorOf(ErrorCode::gone);
    if (error.code != ErrorCode::none) {
        ++counts_.closed;
        return nullptr;
    }
    openedAddress_ = address;
    mostOpenAtOnce_ = std::max(mostOpenAtOnce_, counts_.opened - counts_.closed);
    return std::make_unique<Handle>(*this);
}

void FakeUsbCamera::close() {
    const std::lock_guard lock(mutex_);
    calls_.emplace_back("close");
    ++counts_.closed;
    changed_.notify_all();
}

FakeUsbCamera::Bytes FakeUsbCamera::configurationDescriptor() const {
    const auto bytes = firmware_->configurationDescriptor();
    return {bytes.begin(), bytes.end()};
}

UsbResult FakeUsbCamera::askFirmware(const UsbSetupPacket& packet, std::span<std::uint8_t> data) {
    const bool in = isRead(packet);
    const auto out = in ? std::span<const std::uint8_t>() : std::span<const std::uint8_t>(data);
    const UsbSetup setup{packet.requestType, packet.request, packet.value, packet.index,
                         static_cast<std::uint16_t>(data.size())};
    const UsbReply reply = gadget_ ? gadget_->control(setup, out) : firmware_->control(setup, out);
    if (reply.kind == UsbReplyKind::stall) return {ErrorCode::refused};
    if (reply.kind == UsbReplyKind::silence) return {ErrorCode::timeout};
    const std::size_t count = in ? std::min(reply.data.size(), data.size()) : data.size();
    if (in) std::copy_n(reply.data.begin(), count, data.begin());
    return {ErrorCode::none, count};
}

UsbResult FakeUsbCamera::ask(const UsbSetupPacket& setup, std::span<std::uint8_t> data) {
    Answer answer;
    {
        const std::lock_guard lock(mutex_);
        if (gone_) return {ErrorCode::gone};
        answer = answer_;
    }
    return answer(setup, data);
}

UsbResult FakeUsbCamera::request(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                                 std::chrono::milliseconds patience) {
    const auto selector = static_cast<std::uint8_t>(setup.value >> 8U);
    std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend;
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back({setup, {data.begin(), data.end()}, patience});
        const ErrorCode failure = take(requestCall(setup.request, selector));
        if (failure != ErrorCode::none) return {failure};
        bend = bend_;
    }
    const UsbResult result = ask(setup, data);
    if (bend && isRead(setup) && result.code == ErrorCode::none) bend(setup.request, selector, data);
    return result;
}

ErrorCode FakeUsbCamera::setAlternate(std::uint8_t interface, std::uint8_t alternate) {
    {
        const std::lock_guard lock(mutex_);
        counts_.alternates.push_back(alternate);
        changed_.notify_all();
        const ErrorCode failure = take("alternate " + std::to_string(alternate));
        if (failure != ErrorCode::none) return failure;
    }
    return ask({toInterface, setInterface, alternate, interface}, {}).code;
}

ErrorCode FakeUsbCamera::clearHalt(std::uint8_t endpoint) {
    {
        const std::lock_guard lock(mutex_);
        ++counts_.clearedHalts;
    }
    return ask({toEndpoint, clearFeature, 0, endpoint}, {}).code;
}

Error FakeUsbCamera::change(const std::string& what, std::uint8_t interface, Holder from, Holder to,
                            ErrorCode otherwise) {
    const std::string call = what + " " + std::to_string(interface);
    std::function<void()> action;
    {
        const std::lock_guard lock(mutex_);
        const auto found = actions_.find(call);
        if (found != actions_.end()) action = found->second;
    }
    if (action) action();
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    const ErrorCode failure = take(call);
    if (failure != ErrorCode::none) return errorOf(failure);
    if (holders_[interface] != from) return errorOf(otherwise);
    holders_[interface] = to;
    changed_.notify_all();
    return {};
}

// With the mutex held.
ErrorCode FakeUsbCamera::take(const std::string& call) {
    const auto isMeant = [&](const Failure& failure) { return failure.call == call && failure.times > 0; };
    const auto found = std::ranges::find_if(failures_, isMeant);
    if (found == failures_.end()) return ErrorCode::none;
    --found->times;
    return found->code;
}

void FakeUsbCamera::fail(const std::string& call, ErrorCode code, int times) {
    const std::lock_guard lock(mutex_);
    failures_.push_back({call, code, times});
}

void FakeUsbCamera::failRequest(std::uint8_t code, std::uint8_t selector, ErrorCode failure, int times) {
    fail(requestCall(code, selector), failure, times);
}

void FakeUsbCamera::before(const std::string& call, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    actions_[call] = std::move(action);
}

void FakeUsbCamera::answer(Answer answer) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
}

void FakeUsbCamera::bend(std::function<void(std::uint8_t, std::uint8_t, std::span<std::uint8_t>)> bend) {
    const std::lock_guard lock(mutex_);
    bend_ = std::move(bend);
}

void FakeUsbCamera::setHolder(std::uint8_t interface, Holder holder) {
    const std::lock_guard lock(mutex_);
    holders_[interface] = holder;
}

FakeUsbCamera::Holder FakeUsbCamera::holder(std::uint8_t interface) const {
    const std::lock_guard lock(mutex_);
    return holders_.at(interface);
}

bool FakeUsbCamera::waitForHolder(std::uint8_t interface, Holder holder) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(1), [&] { return holders_.at(interface) == holder; });
}

std::vector<std::string> FakeUsbCamera::calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

void FakeUsbCamera::note(const std::string& call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
}

std::vector<FakeUsbCamera::Request> FakeUsbCamera::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

UsbAddress FakeUsbCamera::openedAddress() const {
    const std::lock_guard lock(mutex_);
    return openedAddress_;
}

int FakeUsbCamera::mostOpenAtOnce() const {
    const std::lock_guard lock(mutex_);
    return mostOpenAtOnce_;
}

FakeUsbCamera::Counts FakeUsbCamera::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

bool FakeUsbCamera::waitFor(const std::function<bool(const Counts&)>& condition) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return condition(counts_); });
}

} // namespace tavelo::test
