// SPDX-License-Identifier: MIT
// A fake USB bus.  Its cameras give scripted answers and record every request.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/usb_platform.h"

namespace tavelo {

/// A request as it reached a camera.
struct FakeUsbRequest {
    std::uint8_t bmRequestType = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wValue = 0;
    std::uint16_t wIndex = 0;
    std::uint16_t wLength = 0;
    std::vector<std::uint8_t> data; ///< write: what was sent; read: the buffer before the answer

    std::uint8_t selector() const { return static_cast<std::uint8_t>(wValue >> 8); }
    std::uint8_t entity() const { return static_cast<std::uint8_t>(wIndex >> 8); }

    friend bool operator==(const FakeUsbRequest&, const FakeUsbRequest&) = default;
    friend std::ostream& operator<<(std::ostream& out, const FakeUsbRequest& request) {
        out << std::hex << "{type " << +request.bmRequestType << " code " << +request.bRequest << " value "
            << request.wValue << " index " << request.wIndex << " length " << request.wLength << " data";
        for (const std::uint8_t byte : request.data)
            out << ' ' << +byte;
        return out << '}' << std::dec;
    }
};

/// A camera's answers for one control; an empty answer is a stall.
struct FakeUvcControl {
    using Bytes = std::vector<std::uint8_t>;

    Bytes cur;
    Bytes min;
    Bytes max;
    Bytes def;
    Bytes info{0x03};
};

/// The device side of a control pipe.  Thread-safe.  Reads that are not scripted stall; a write succeeds and
/// becomes the current value.
class FakeUvcCamera {
public:
    explicit FakeUvcCamera(std::uint8_t interfaceNumber = 0) : interfaceNumber_(interfaceNumber) {}

    std::uint8_t interfaceNumber() const {
        if (interfaceNumberAsked) interfaceNumberAsked();
        return interfaceNumber_;
    }

    /// The interface number in the device's descriptors.
    std::uint8_t listedNumber() const { return interfaceNumber_; }

    // Set these before any other thread uses the camera.

    /// Called each time the interface number is read.
    std::function<void()> interfaceNumberAsked;
    /// Called for each request before it is answered.
    std::function<void(const FakeUsbRequest& request)> requestArrived;

    void setControl(std::uint8_t entity, std::uint8_t selector, FakeUvcControl control) {
        const std::lock_guard lock(mutex_);
        controls_[{entity, selector}] = std::move(control);
    }

    /// Every request with this code to this control ends with `status`; success clears this.
    void setFailure(std::uint8_t entity, std::uint8_t selector, std::uint8_t code, ErrorCode status) {
        const std::lock_guard lock(mutex_);
        failures_[{entity, selector, code}] = status;
    }

    /// Whatever is written to this control, the camera stores these bytes and the transport reports them.
    void setTaken(std::uint8_t entity, std::uint8_t selector, FakeUvcControl::Bytes bytes) {
        const std::lock_guard lock(mutex_);
        taken_[{entity, selector}] = std::move(bytes);
    }

    std::vector<FakeUsbRequest> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    std::vector<FakeUsbRequest> writes() const {
        std::vector<FakeUsbRequest> found = requests();
        std::erase_if(found, [](const FakeUsbRequest& request) { return request.bRequest != setCur; });
        return found;
    }

    void forgetRequests() {
        const std::lock_guard lock(mutex_);
        requests_.clear();
    }

    ErrorCode answer(UsbControlRequest& request) {
        const auto payload = request.payload();
        const FakeUsbRequest arrived{request.bmRequestType, request.bRequest,
                                     request.wValue,        request.wIndex,
                                     request.wLength,       {payload.begin(), payload.end()}};
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(arrived);
        }
        if (requestArrived) requestArrived(arrived);

        const std::lock_guard lock(mutex_);
        const auto failure = failures_.find({arrived.entity(), arrived.selector(), arrived.bRequest});
        if (failure != failures_.end() && failure->second != ErrorCode::none) return failure->second;

        const auto control = controls_.find({arrived.entity(), arrived.selector()});
        if (arrived.bRequest == setCur) {
            const auto taken = taken_.find({arrived.entity(), arrived.selector()});
            if (taken != taken_.end()) std::copy_n(taken->second.begin(), request.wLength, request.data);
            if (control != controls_.end()) control->second.cur.assign(payload.begin(), payload.end());
            request.bytesDone = request.wLength;
        } else if (control != controls_.end()) {
            const FakeUvcControl::Bytes& bytes = bytesOf(control->second, arrived.bRequest);
            const std::size_t count = std::min<std::size_t>(bytes.size(), request.wLength);
            std::copy_n(bytes.begin(), count, request.data);
            request.bytesDone = static_cast<std::uint32_t>(count);
        }
        return ErrorCode::none;
    }

    static constexpr std::uint8_t setCur = 0x01;
    static constexpr std::uint8_t getCur = 0x81;
    static constexpr std::uint8_t getMin = 0x82;
    static constexpr std::uint8_t getMax = 0x83;
    static constexpr std::uint8_t getInfo = 0x86;
    static constexpr std::uint8_t getDef = 0x87;

private:
    static const FakeUvcControl::Bytes& bytesOf(const FakeUvcControl& control, std::uint8_t code) {
        static const FakeUvcControl::Bytes none;
        switch (code) {
            case getCur:
                return control.cur;
            case getMin:
                return control.min;
            case getMax:
                return control.max;
            case getDef:
                return control.def;
            case getInfo:
                return control.info;
            default:
                return none;
        }
    }

    const std::uint8_t interfaceNumber_;

    mutable std::mutex mutex_; // guards everything below
    std::map<std::pair<std::uint8_t, std::uint8_t>, FakeUvcControl> controls_;
    std::map<std::pair<std::uint8_t, std::uint8_t>, FakeUvcControl::Bytes> taken_;
    std::map<std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>, ErrorCode> failures_;
    std::vector<FakeUsbRequest> requests_;
};

/// An open control interface of a camera.
class FakeUsbInterface : public UsbInterface {
public:
    explicit FakeUsbInterface(std::shared_ptr<FakeUvcCamera> camera) : camera_(std::move(camera)) {}

    ErrorCode ControlRequest(UsbControlRequest& request) override {
        return closed_ ? ErrorCode::closed : camera_->answer(request);
    }
    void USBInterfaceClose() override { closed_ = true; }
    std::uint8_t GetInterfaceNumber() const override { return camera_->interfaceNumber(); }

    bool isClosed() const { return closed_; }

private:
    const std::shared_ptr<FakeUvcCamera> camera_;
    std::atomic<bool> closed_ = false;
};

/// The step that fails between a listed device and its interface.
enum class FakeUsbFault : std::uint8_t {
    none,
    noPlugIn,
    noDevice,
    noIterator,
    noInterface,
    notOpened, ///< the first interface only
};

/// One device of the bus.
struct FakeUsbDevice {
    std::uint32_t locationID = 0;
    /// One for each video-control interface.
    std::vector<std::shared_ptr<FakeUvcCamera>> cameras;
    FakeUsbFault fault = FakeUsbFault::none;
    /// The match of the most recent interface iterator.
    std::optional<UsbInterfaceMatch> asked;
    int plugInsMade = 0;
};

class FakeListedUsbDevice : public UsbDevice {
public:
    explicit FakeListedUsbDevice(std::shared_ptr<FakeUsbDevice> device) : device_(std::move(device)) {}

    bool CreatePlugInInterface() override {
        ++device_->plugInsMade;
        return device_->fault != FakeUsbFault::noPlugIn;
    }
    bool QueryInterface() override { return device_->fault != FakeUsbFault::noDevice; }
    std::uint32_t GetLocationID() const override { return device_->locationID; }

    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        device_->asked = match;
        if (device_->fault == FakeUsbFault::noIterator) return std::nullopt;
        std::vector<std::uint8_t> numbers;
        if (device_->fault == FakeUsbFault::noInterface) return numbers;
        for (const std::shared_ptr<FakeUvcCamera>& camera : device_->cameras)
            numbers.push_back(camera->listedNumber());
        return numbers;
    }

    std::shared_ptr<UsbInterface> openInterface(std::uint8_t number) override {
        for (const std::shared_ptr<FakeUvcCamera>& camera : device_->cameras) {
            const bool fails =
                device_->fault == FakeUsbFault::notOpened && camera == device_->cameras.front();
            if (camera->listedNumber() == number && !fails) return std::make_shared<FakeUsbInterface>(camera);
        }
        return nullptr;
    }

    std::optional<UsbDeviceFacts> facts() override { return std::nullopt; }
    std::unique_ptr<CameraInspector> openInspector(std::uint8_t /*number*/) override { return nullptr; }

private:
    std::shared_ptr<FakeUsbDevice> device_;
};

/// The calls to a prober; outlives the prober.
struct FakeProberLog {
    int scope = -1;
    BusProberDelegate* delegate = nullptr;
    std::vector<bool> refreshes; ///< the argument of each refreshData()
};

/// The bus and what its prober finds; both may change at any time.
class FakeUsbPlatform : public UsbPlatform {
public:
    using Records = std::vector<std::shared_ptr<const BusProberDevice>>;

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override {
        proberLog.scope = scope;
        proberLog.delegate = delegate;
        return std::make_unique<Prober>(*this);
    }

    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        ++walks;
        if (busAsked) busAsked();
        std::vector<std::unique_ptr<UsbDevice>> listed;
        for (const std::shared_ptr<FakeUsbDevice>& device : devices)
            listed.push_back(std::make_unique<FakeListedUsbDevice>(device));
        return listed;
    }

    /// Plugs in a device with one control interface.  The prober finds it at its next refresh.
    std::shared_ptr<FakeUsbDevice> plugIn(BusProberDevice record, std::shared_ptr<FakeUvcCamera> camera) {
        records.push_back(std::make_shared<BusProberDevice>(record));
        auto device = std::make_shared<FakeUsbDevice>();
        device->locationID = record.locationID;
        device->cameras.push_back(std::move(camera));
        return devices.emplace_back(std::move(device));
    }

    Records records;
    std::vector<std::shared_ptr<FakeUsbDevice>> devices;
    FakeProberLog proberLog;
    int walks = 0;

    /// Called each time the list of devices is read, from the prober or from the operating system.
    std::function<void()> devicesAsked;
    std::function<void()> busAsked;

private:
    class Prober : public BusProber {
    public:
        explicit Prober(FakeUsbPlatform& platform) : platform_(platform) {}

        void refreshData(bool notify) override {
            platform_.proberLog.refreshes.push_back(notify);
            const bool changed = found_ != platform_.records;
            found_ = platform_.records;
            if (notify && changed && platform_.proberLog.delegate != nullptr)
                platform_.proberLog.delegate->busProberInformationDidChange();
        }
        const Records& devicesArray() const override {
            if (platform_.devicesAsked) platform_.devicesAsked();
            return found_;
        }

    private:
        FakeUsbPlatform& platform_;
        Records found_;
    };
};

} // namespace tavelo
