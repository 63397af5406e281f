// SPDX-License-Identifier: MIT
#include "fake_usb_camera.h"

#include <algorithm>

namespace tavelo::test {

class FakeUsbCamera::Handle final : public UsbHandle {
public:
    explicit Handle(FakeUsbCamera& camera) : camera_(camera) {}
    ~Handle() override {
        camera_.note("close");
        const std::lock_guard lock(camera_.mutex_);
        --camera_.open_;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    int controlTransfer(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                        std::chrono::milliseconds patience) override {
        Answer answer;
        {
            const std::lock_guard lock(camera_.mutex_);
            camera_.transfers_.push_back({setup, {data.begin(), data.end()}, patience});
            answer = camera_.answer_;
        }
        return answer(setup, data);
    }
    int detachKernelDriver(std::uint8_t interface) override {
        return camera_.change("detach", interface, Holder::driver, Holder::nobody, LIBUSB_ERROR_NOT_FOUND);
    }
    int attachKernelDriver(std::uint8_t interface) override {
        return camera_.change("attach", interface, Holder::nobody, Holder::driver, LIBUSB_ERROR_BUSY);
    }
    int claimInterface(std::uint8_t interface) override {
        return camera_.change("claim", interface, Holder::nobody, Holder::us, LIBUSB_ERROR_BUSY);
    }
    int releaseInterface(std::uint8_t interface) override {
        return camera_.change("release", interface, Holder::us, Holder::nobody, LIBUSB_ERROR_NOT_FOUND);
    }
    libusb_device_handle* native() override { return nullptr; }

private:
    FakeUsbCamera& camera_;
};

FakeUsbCamera::FakeUsbCamera()
    : holders_{{0, Holder::driver}, {1, Holder::driver}},
      answer_([](const UsbSetupPacket&, std::span<std::uint8_t> data) { return int(data.size()); }) {}

std::unique_ptr<UsbHandle> FakeUsbCamera::open(const UsbAddress& address, int& error) {
    const std::lock_guard lock(mutex_);
    calls_.emplace_back("open");
    error = errorOf("open").value_or(LIBUSB_SUCCESS);
    if (error != LIBUSB_SUCCESS) return nullptr;
    openedAddress_ = address;
    mostOpenAtOnce_ = std::max(mostOpenAtOnce_, ++open_);
    return std::make_unique<Handle>(*this);
}

int FakeUsbCamera::change(const std::string& what, std::uint8_t interface, Holder from, Holder to,
                          int otherwise) {
    std::function<void()> action;
    {
        const std::lock_guard lock(mutex_);
        const auto found = actions_.find(what + " " + std::to_string(interface));
        if (found != actions_.end()) action = found->second;
    }
    if (action) action();
    const std::lock_guard lock(mutex_);
    calls_.push_back(what + " " + std::to_string(interface));
    if (const auto error = errorOf(calls_.back())) return *error;
    if (holders_[interface] != from) return otherwise;
    holders_[interface] = to;
    changed_.notify_all();
    return LIBUSB_SUCCESS;
}

std::optional<int> FakeUsbCamera::errorOf(const std::string& call) {
    const auto found = errors_.find(call);
    if (found == errors_.end()) return std::nullopt;
    const int error = found->second;
    if (onceOnly_.erase(call) > 0) errors_.erase(found);
    return error;
}

void FakeUsbCamera::fail(const std::string& call, int error) {
    const std::lock_guard lock(mutex_);
    if (error == LIBUSB_SUCCESS)
        errors_.erase(call);
    else
        errors_[call] = error;
}

void FakeUsbCamera::failOnce(const std::string& call, int error) {
    const std::lock_guard lock(mutex_);
    errors_[call] = error;
    onceOnly_.insert(call);
}

void FakeUsbCamera::answer(Answer answer) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
}

void FakeUsbCamera::before(const std::string& call, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    actions_[call] = std::move(action);
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

std::vector<FakeUsbCamera::Transfer> FakeUsbCamera::transfers() const {
    const std::lock_guard lock(mutex_);
    return transfers_;
}

UsbAddress FakeUsbCamera::openedAddress() const {
    const std::lock_guard lock(mutex_);
    return openedAddress_;
}

int FakeUsbCamera::mostOpenAtOnce() const {
    const std::lock_guard lock(mutex_);
    return mostOpenAtOnce_;
}

void FakeUsbCamera::note(const std::string& call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
}

} // namespace tavelo::test
