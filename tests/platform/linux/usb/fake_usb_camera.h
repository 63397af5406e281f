// SPDX-License-Identifier: MIT
// A camera on the USB bus that does what a test tells it, and keeps what was done to it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/usb/device/usb_handle.h"

namespace tavelo::test {

/// Opens one camera, whatever the address.  Thread-safe.
class FakeUsbCamera final : public UsbHandleOpener {
public:
    /// Who has an interface.
    enum class Holder { nobody, driver, us, otherProgram };

    struct Transfer {
        UsbSetupPacket setup;
        std::vector<std::uint8_t> data; ///< as the caller gave it
        std::chrono::milliseconds patience{};
    };
    /// Fills the data of a read; returns libusb's result.
    using Answer = std::function<int(const UsbSetupPacket& setup, std::span<std::uint8_t> data)>;

    FakeUsbCamera();

    std::unique_ptr<UsbHandle> open(const UsbAddress& address, int& error) override;
    libusb_context* context() override { return nullptr; }

    /// Every later call of this name ("open", "claim 1", "attach 0") fails so; with LIBUSB_SUCCESS none does.
    void fail(const std::string& call, int error);
    /// Only the next one does.
    void failOnce(const std::string& call, int error);
    void answer(Answer answer);
    /// Called at the start of each later call of this name, on the caller's thread; may block.
    void before(const std::string& call, std::function<void()> action);
    void setHolder(std::uint8_t interface, Holder holder);

    Holder holder(std::uint8_t interface) const;
    /// Waits a minute at most; whether it came to that.
    bool waitForHolder(std::uint8_t interface, Holder holder) const;
    /// "open", "detach 1", "claim 1", ..., "close", in their order.
    std::vector<std::string> calls() const;
    std::vector<Transfer> transfers() const;
    UsbAddress openedAddress() const;
    int mostOpenAtOnce() const;

    /// Adds a line of a test's own to the calls.
    void note(const std::string& call);

private:
    class Handle;

    int change(const std::string& what, std::uint8_t interface, Holder from, Holder to, int otherwise);
    std::optional<int> errorOf(const std::string& call);

    mutable std::mutex mutex_; // guards the rest
    mutable std::condition_variable changed_;
    std::map<std::string, int> errors_;
    std::set<std::string> onceOnly_;
    std::map<std::string, std::function<void()>> actions_;
    std::map<std::uint8_t, Holder> holders_;
    std::vector<std::string> calls_;
    std::vector<Transfer> transfers_;
    Answer answer_;
    UsbAddress openedAddress_;
    int open_ = 0;
    int mostOpenAtOnce_ = 0;
};

} // namespace tavelo::test
