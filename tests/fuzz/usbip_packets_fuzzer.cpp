// SPDX-License-Identifier: MIT
// What a client sends to the USB/IP server: operations, commands, control transfers.
//
// Input: the bytes of the connection.
#include <sys/socket.h>
#include <unistd.h>

#include <array>
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

// Until the server has ended the connection: who does not read stops it.
void discardAnswers(int descriptor) {
    std::array<char, 4096> bytes{};
    while (::recv(descriptor, bytes.data(), bytes.size(), 0) > 0) {
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
    ::shutdown(client.get(), SHUT_WR);
    std::thread reader([&client] { discardAnswers(client.get()); });
    session.run();
    reader.join();
    expect(directory.isReleased());
    return 0;
}
