// SPDX-License-Identifier: MIT
// What a client sends to the USB/IP server: operations, commands, control transfers.
//
// Input: the bytes of the connection.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "fuzz_expect.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/usbip/gadget_layout.h"
#include "platform/virtual/usbip/usbip_session.h"

namespace {

using namespace tavelo;
using namespace tavelo::usbip;
using tavelo::fuzz::expect;

// The camera without its pictures.
class Gadget final : public UsbGadget {
public:
    std::span<const std::uint8_t> deviceDescriptor() const override { return camera_.deviceDescriptor(); }
    std::span<const std::uint8_t> configurationDescriptor() const override {
        return camera_.configurationDescriptor();
    }
    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out) override {
        UsbReply reply = camera_.control(setup, out);
        expect(reply.data.size() <= setup.wLength);
        return reply;
    }
    std::optional<std::size_t> in(std::uint8_t /*endpoint*/, std::span<std::uint8_t> packet) override {
        return packet.size() / 2;
    }

private:
    VirtualCameraFirmware camera_{virtualCameraModel(1)};
};

class Directory final : public DeviceDirectory {
public:
    std::vector<ExportedDevice> exportedDevices() const override { return {describe(*gadget_, "1-1")}; }
    Claim claim(const std::string& busId, UsbipSession& /*session*/) override {
        if (busId != "1-1") return {OperationStatus::noDevice, nullptr};
        ++claims_;
        return {OperationStatus::ok, gadget_};
    }
    void release(const std::string& /*busId*/, UsbipSession& /*session*/) override { --claims_; }

    bool isReleased() const { return claims_ == 0; }

private:
    const std::shared_ptr<UsbGadget> gadget_ = std::make_shared<Gadget>();
    int claims_ = 0;
};

// Reads until the server has ended the connection: who does not read stops it.  Ends the client's side once
// the server is quiet, because a control transfer that still waits then never reaches the camera.
void readAnswers(int descriptor) {
    constexpr timespec quiet{0, 200'000};
    std::array<char, 4096> bytes{};
    bool hasEnded = false;
    while (true) {
        pollfd answer{descriptor, POLLIN, 0};
        const int ready = ::ppoll(&answer, 1, hasEnded ? nullptr : &quiet, nullptr);
        if (ready == 0) {
            ::shutdown(descriptor, SHUT_WR);
            hasEnded = true;
        } else if (ready > 0 && ::recv(descriptor, bytes.data(), bytes.size(), 0) <= 0) {
            return;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Directory directory;
    std::array<int, 2> ends{};
    expect(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0);
    const FileDescriptor client(ends[0]);
    UsbipSession session(FileDescriptor(ends[1]), directory);
    // Inputs are shorter than a socket's buffer.
    expect(::send(client.get(), data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size));
    std::thread reader([&client] { readAnswers(client.get()); });
    session.run();
    reader.join();
    expect(directory.isReleased());
    return 0;
}
